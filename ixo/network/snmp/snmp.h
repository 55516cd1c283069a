#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ixo/network/exchange.h"
#include "ixo/network/settings.h"

namespace custom_bidi::network {

/// The value of an SNMP object.
struct SnmpValue {
  enum class Kind {
    kInteger,   // INTEGER
    kUnsigned,  // Counter32, Gauge32, TimeTicks
    kOctets,    // OCTET STRING, and anything else that is bytes
    kText,      // OBJECT IDENTIFIER, IpAddress and Counter64 as text
  };

  Kind kind = Kind::kInteger;
  int32_t integer = 0;
  uint32_t number = 0;
  std::string bytes = {};  // kOctets, and kText as ASCII
};

/// Asks the host for all objects (dotted decimal) in as few requests as fit. On success, 0, `values` has one
/// entry for each, empty where the device does not know the object. kTimeout, kConnectionRefused,
/// kHostUnknown, kBadAnswer for an answer that is an error or is not about these objects;
/// ERROR_INVALID_PARAMETER for an OID that is none.
DWORD GetObjects(const std::string& host,
                 const SnmpSettings& settings,
                 std::span<const std::string> oids,
                 Deadline deadline,
                 std::vector<std::optional<SnmpValue>>& values);

}  // namespace custom_bidi::network
