#include "ixo/network/snmp/snmp_values.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace custom_bidi::network {
namespace {

/// RFC 2578, section 3.5.
constexpr size_t kMinNumbers = 2;
constexpr size_t kMaxNumbers = 128;

/// The first two numbers are encoded as one (X.690, section 8.19.4).
bool AreFirstNumbersValid(const Oid& object) {
  return object[0] < 2 ? object[1] < 40 : object[0] == 2;
}

size_t EncodedNumberBytes(oid number) {
  size_t bytes = 1;
  while (number >>= 7) {
    ++bytes;
  }
  return bytes;
}

/// With the type and the length in front.
size_t WithHeader(size_t content_bytes) {
  return content_bytes + (content_bytes < 128 ? 2 : content_bytes < 256 ? 3 : 4);
}

SnmpValue Integer(long integer) {
  return {.kind = SnmpValue::Kind::kInteger, .integer = static_cast<int32_t>(integer)};
}

SnmpValue Unsigned(long number) {
  return {.kind = SnmpValue::Kind::kUnsigned, .number = static_cast<uint32_t>(number)};
}

SnmpValue Octets(const u_char* bytes, size_t length) {
  return {.kind = SnmpValue::Kind::kOctets, .bytes = {bytes, bytes + length}};
}

SnmpValue Text(std::string text) {
  return {.kind = SnmpValue::Kind::kText, .bytes = std::move(text)};
}

std::string Counter64ToText(const counter64& counter) {
  return std::to_string(uint64_t{counter.high} << 32 | (counter.low & 0xFFFFFFFF));
}

template <class Number>
std::string JoinByDots(std::span<const Number> numbers) {
  std::string text;
  for (const Number number : numbers) {
    text += (text.empty() ? "" : ".") + std::to_string(number);
  }
  return text;
}

}  // namespace

std::optional<Oid> ParseOid(std::string_view text) {
  Oid object;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    uint32_t number = 0;
    const auto [after, error] = std::from_chars(at, end, number);
    if (error != std::errc() || object.size() == kMaxNumbers) {
      return std::nullopt;
    }
    object.push_back(number);
    if (after == end) {
      break;
    }
    if (*after != '.') {
      return std::nullopt;
    }
    at = after + 1;
  }
  if (object.size() < kMinNumbers || !AreFirstNumbersValid(object)) {
    return std::nullopt;
  }
  return object;
}

std::string OidToText(std::span<const oid> numbers) {
  return JoinByDots(numbers);
}

size_t EncodedBytes(const Oid& object) {
  constexpr size_t kNull = 2;  // which stands where the value will be
  const size_t name =
      WithHeader(std::accumulate(object.begin() + 1, object.end(), size_t{0}, [](size_t bytes, oid number) {
        return bytes + EncodedNumberBytes(number);
      }));
  return WithHeader(name + kNull);
}

std::optional<SnmpValue> ValueOf(const netsnmp_variable_list& variable) {
  switch (variable.type) {
    case ASN_INTEGER:
      return Integer(*variable.val.integer);
    case ASN_COUNTER:
    case ASN_GAUGE:
    case ASN_TIMETICKS:
    case ASN_UINTEGER:
      return Unsigned(*variable.val.integer);
    case ASN_OCTET_STR:
    case ASN_OPAQUE:
    case ASN_NSAP:
    case ASN_BIT_STR:
      return Octets(variable.val.string, variable.val_len);
    case ASN_OBJECT_ID:
      return Text(OidToText({variable.val.objid, variable.val_len / sizeof(oid)}));
    case ASN_IPADDRESS:
      return Text(JoinByDots(std::span<const u_char>(variable.val.string, variable.val_len)));
    case ASN_COUNTER64:
      return Text(Counter64ToText(*variable.val.counter64));
    default:
      return std::nullopt;
  }
}

}  // namespace custom_bidi::network
