#pragma once

/// Files of JSON: the document, and how its parts are read with words for what is wrong with them.

#include <cstdint>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "ixo/support/secure_text.h"
#include "src/platform.h"

namespace custom_bidi::support {

/// A value of a JSON document with all that is in it, whose texts may be secrets. Its names are those of a
/// container.
class Json {
 public:
  using Array = std::vector<Json>;
  /// By name, so that what is wrong is told in the same order, however the file is arranged.
  using Object = std::map<std::string, Json, std::less<>>;
  /// A number without fraction is an int64_t when it is negative, else a uint64_t.
  using Content = std::variant<std::nullptr_t, bool, int64_t, uint64_t, double, SecureText, Array, Object>;

  Json() = default;
  explicit Json(Content content) : content_(std::move(content)) {}
  Json(Json&&) noexcept = default;
  Json& operator=(Json&&) noexcept = default;
  Json(const Json&) = delete;
  Json& operator=(const Json&) = delete;
  ~Json() = default;

  bool is_null() const { return Is<std::nullptr_t>(); }
  bool is_boolean() const { return Is<bool>(); }
  bool is_number() const { return is_integer() || Is<double>(); }
  bool is_integer() const { return Is<int64_t>() || Is<uint64_t>(); }
  bool is_string() const { return Is<SecureText>(); }
  bool is_array() const { return Is<Array>(); }
  bool is_object() const { return Is<Object>(); }
  /// What it is, for messages: "null", "boolean", "number", "string", "array" or "object".
  const char* type_name() const;
  /// The value as JSON without blanks, for messages.
  std::string dump() const;

  /// Of an array, an object, a boolean or a string only.
  const Array& elements() const { return std::get<Array>(content_); }
  const Object& items() const { return std::get<Object>(content_); }
  bool boolean() const { return std::get<bool>(content_); }
  const std::string& string() const { return std::get<SecureText>(content_); }

  /// Whether it is an object that has such a member.
  bool contains(std::string_view name) const;
  /// A member that is there.
  const Json& operator[](std::string_view name) const { return items().find(name)->second; }

  Content& content() { return content_; }
  const Content& content() const { return content_; }

 private:
  template <class Type>
  bool Is() const {
    return std::holds_alternative<Type>(content_);
  }

  Content content_;
};

/// What is wrong with a file of JSON, with the place in it.
class DescriptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws a DescriptionError, with the line and column, for what is no JSON. Of a text's values nothing stays
/// in memory but in the document.
Json ParseJson(std::string_view text);

/// Throws a DescriptionError "where: what".
[[noreturn]] void Fail(const std::string& where, const std::string& what);

/// The place of a member: `where.name`, or the name alone at the top.
std::string Member(const std::string& where, const std::string& name);

/// The place of an array's element: `where[index]`.
std::string Element(const std::string& where, size_t index);

/// Fails unless `json` is an object whose members all have one of the known names.
void RequireMembers(const Json& json,
                    std::initializer_list<std::string_view> known,
                    const std::string& where);

/// Fails unless `json` is an object.
void RequireObject(const Json& json, const std::string& where);

/// A string as UTF-16; fails for anything else.
WString TextFrom(const Json& json, const std::string& where);

/// Fails for anything but true and false.
bool FlagFrom(const Json& json, const std::string& where);

/// Any number; fails for anything else.
double RealFrom(const Json& json, const std::string& where);

/// An integer within a range; fails for anything else.
int64_t IntegerFrom(const Json& json, int64_t lowest, int64_t highest, const std::string& where);

/// A 32-bit code: a number, negative or not, or a text such as "0x80004005".
DWORD CodeFrom(const Json& json, const std::string& where);

}  // namespace custom_bidi::support
