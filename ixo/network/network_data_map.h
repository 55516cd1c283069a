#pragma once

#include <map>
#include <string>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::network {

/// Where the value of a data item comes from: an attribute of IPP, an SNMP object in dotted decimal, or
/// either, the attribute first; what is empty is not asked.
struct ItemSource {
  std::string ipp;
  std::string oid;
};

/// The data items of a device by their names.
using DataMap = std::map<WString, ItemSource, std::less<>>;

/// Reads a data map: each element `DataItem` below an `IPPDataMap` with a `Name` that says where its value
/// comes from (`ipp`, `oid`). Of items with the same name the first counts; one whose source is nowhere, or
/// is no name of an attribute or OID, is no item. The path is one of Windows. Returns 0, the Win32 code for a
/// file that cannot be opened, or ERROR_INVALID_DATA for one that is not well-formed,
/// or kNotSupported when the machine has no libxml2.
DWORD ReadDataMap(const WCHAR* path, DataMap& map);

/// The names of all attributes, and all objects, each once.
std::vector<std::string> AttributesOf(const DataMap& map);
std::vector<std::string> OidsOf(const DataMap& map);

}  // namespace custom_bidi::network
