#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "src/platform.h"

namespace custom_bidi::device {

using Json = nlohmann::json;

/// What is wrong with a file of JSON, with the place in it.
class DescriptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws a DescriptionError "where: what".
[[noreturn]] void Fail(const std::string& where, const std::string& what);

/// The place of a member: `where.name`, or the name alone at the top.
std::string Member(const std::string& where, const std::string& name);

/// Fails unless `json` is an object whose members all have one of the known names.
void RequireMembers(const Json& json,
                    std::initializer_list<std::string_view> known,
                    const std::string& where);

/// Fails unless `json` is an object.
void RequireObject(const Json& json, const std::string& where);

/// UTF-8 to UTF-16. The text comes from the JSON parser, which lets no ill-formed UTF-8 through.
WString Widen(std::string_view utf8);

/// A string as UTF-16; fails for anything else.
WString TextFrom(const Json& json, const std::string& where);

/// An integer within a range; fails for anything else.
int64_t IntegerFrom(const Json& json, int64_t lowest, int64_t highest, const std::string& where);

/// A 32-bit code: a number, negative or not, or a text such as "0x80004005".
DWORD CodeFrom(const Json& json, const std::string& where);

}  // namespace custom_bidi::device
