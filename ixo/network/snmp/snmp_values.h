#pragma once

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ixo/network/snmp/snmp.h"

/// Object identifiers and values, as net-snmp has them.
namespace custom_bidi::network {

using Oid = std::vector<oid>;

/// "1.3.6.1.2.1.1.1.0"; nothing for a text that is no object identifier.
std::optional<Oid> ParseOid(std::string_view text);
std::string OidToText(std::span<const oid> numbers);

/// What it costs to ask for the object in a request, in bytes of BER.
size_t EncodedBytes(const Oid& object);

/// Nothing for a value that says that there is none, or that is of a type which the standards do not know.
std::optional<SnmpValue> ValueOf(const netsnmp_variable_list& variable);

}  // namespace custom_bidi::network
