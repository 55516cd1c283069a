#pragma once

#include <list>
#include <map>
#include <string>
#include <vector>

#include "ixo/network/data_map.h"
#include "ixo/network/device_oids.h"
#include "ixo/network/ipp_message.h"
#include "ixo/support/objects.h"

namespace custom_bidi::network {

/// One device during one call of the library: what it was asked and what it said, each at most once. Any
/// thread may call; the others wait meanwhile.
class Device {
 public:
  Device(DeviceAddress& address, const Settings& settings)
      : address_(address), settings_(settings), oids_(address, settings) {}

  /// The items that are going to be read. What was said before is forgotten.
  void Describe(DataMap map);

  /// An item of the map, or "DeviceID"; kElementNotFound when the device has none.
  HRESULT ReadItem(WStringView name, VARIANT* value);

  /// For the OID provider.
  DeviceOids& Oids() { return oids_; }

  /// The printer's own strings in the language (two letters of ISO 639), as lines `"key" = "value";`. Returns
  /// 0, ERROR_NOT_FOUND for a printer that has none, or the code of what went wrong.
  DWORD ReadStrings(WStringView language, WString& text);

 private:
  const device::Value* FindItem(WStringView name);
  const device::Value* FindAttribute(const std::string& name);
  void AskForAttributes();
  DWORD FindStringsUri(const std::string& language, std::string& uri);

  DeviceAddress& address_;
  const Settings& settings_;
  DeviceOids oids_;

  SRWLOCK lock_ = SRWLOCK_INIT;
  DataMap map_;
  bool speaks_ipp_ = false;  // according to the map
  bool asked_ = false;
  DWORD code_ = ERROR_SUCCESS;  // of the asking
  std::string language_;        // that was asked in
  std::string strings_uri_;
  /// What was handed out stays, so each description has an answer of its own; the last is the present one.
  std::list<std::map<std::string, device::Value, std::less<>>> answers_{1};
};

}  // namespace custom_bidi::network
