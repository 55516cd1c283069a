#include "ixo/support/json_parts.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace custom_bidi::device {
namespace {

/// The number of bytes of the sequence that `lead` starts.
size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (lead < 0xE0) {
    return 2;
  }
  return lead < 0xF0 ? 3 : 4;
}

}  // namespace

void Fail(const std::string& where, const std::string& what) {
  throw DescriptionError(where + ": " + what);
}

std::string Member(const std::string& where, const std::string& name) {
  return where.empty() ? name : where + "." + name;
}

void RequireObject(const Json& json, const std::string& where) {
  if (!json.is_object()) {
    Fail(where, std::string("an object is expected, not ") + json.type_name());
  }
}

void RequireMembers(const Json& json,
                    std::initializer_list<std::string_view> known,
                    const std::string& where) {
  RequireObject(json, where);
  for (const auto& [name, value] : json.items()) {
    if (std::ranges::find(known, name) == known.end()) {
      Fail(where, "unknown member " + Json(name).dump());
    }
  }
}

WString Widen(std::string_view utf8) {
  WString wide;
  wide.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[at]);
    const size_t length = SequenceLength(lead);
    char32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
      point = point << 6 | (static_cast<unsigned char>(utf8[at + i]) & 0x3Fu);
    }
    at += length;
    if (point >= 0x10000) {
      point -= 0x10000;
      wide += static_cast<WCHAR>(0xD800 + (point >> 10));
      point = 0xDC00 + (point & 0x3FF);
    }
    wide += static_cast<WCHAR>(point);
  }
  return wide;
}

WString TextFrom(const Json& json, const std::string& where) {
  if (!json.is_string()) {
    Fail(where, std::string("a text is expected, not ") + json.type_name());
  }
  return Widen(json.get_ref<const std::string&>());
}

int64_t IntegerFrom(const Json& json, int64_t lowest, int64_t highest, const std::string& where) {
  const bool fits =
      json.is_number_integer() &&
      (!json.is_number_unsigned() || json.get<uint64_t>() <= uint64_t{std::numeric_limits<int64_t>::max()});
  const int64_t integer = fits ? json.get<int64_t>() : 0;
  if (!fits || integer < lowest || integer > highest) {
    Fail(where, "an integer from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                    " is expected, not " + json.dump());
  }
  return integer;
}

DWORD CodeFrom(const Json& json, const std::string& where) {
  if (!json.is_string()) {
    return static_cast<DWORD>(
        IntegerFrom(json, std::numeric_limits<int32_t>::min(), std::numeric_limits<uint32_t>::max(), where));
  }
  const std::string& text = json.get_ref<const std::string&>();
  const char* const end = text.data() + text.size();
  uint32_t code = 0;
  if (text.starts_with("0x")) {
    const auto [rest, error] = std::from_chars(text.data() + 2, end, code, 16);
    if (error == std::errc() && rest == end) {
      return code;
    }
  }
  Fail(where, "a 32-bit code such as \"0x80004005\" is expected, not " + json.dump());
}

}  // namespace custom_bidi::device
