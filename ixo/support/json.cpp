#include "ixo/support/json.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <system_error>

#include "ixo/support/host_system.h"

namespace custom_bidi::support {
namespace {

/// What the parser reads. It keeps those of the present token in a vector, for messages: they have a type of
/// their own, so that its allocator is one that wipes.
enum class Character : char {};

}  // namespace
}  // namespace custom_bidi::support

template <>
struct std::char_traits<custom_bidi::support::Character> {
  using char_type = custom_bidi::support::Character;
  using int_type = int;
  static constexpr int_type eof() { return -1; }
  static int_type to_int_type(char_type character) { return static_cast<unsigned char>(character); }
  static char_type to_char_type(int_type number) { return static_cast<char_type>(number); }
};

template <>
struct std::allocator<custom_bidi::support::Character> {
  using value_type = custom_bidi::support::Character;
  using Wiping = custom_bidi::support::WipingAllocator<std::underlying_type_t<value_type>>;

  static value_type* allocate(size_t count) {
    return reinterpret_cast<value_type*>(Wiping().allocate(count));
  }
  static void deallocate(value_type* values, size_t count) {
    Wiping().deallocate(reinterpret_cast<std::underlying_type_t<value_type>*>(values), count);
  }
  bool operator==(const allocator& /*other*/) const { return true; }
};

namespace custom_bidi::support {
namespace {

using WipedString = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;
using Parser = nlohmann::basic_json<std::map, std::vector, WipedString>;
using Writer = nlohmann::json;  // of scalars

/// What is nested deeper is refused, so that a document can be taken apart by recursion, which needs no
/// memory.
constexpr size_t kMaxDepth = 100;

/// Builds the document of what the parser comes upon.
class Builder {
 public:
  Json Take() { return std::move(root_); }

  bool null() { return Add(nullptr); }
  bool boolean(bool value) { return Add(value); }
  bool number_integer(int64_t value) { return Add(value); }
  bool number_unsigned(uint64_t value) { return Add(value); }
  bool number_float(double value, const auto& /*as_written*/) { return Add(value); }
  /// The parser keeps a short text within itself, where nothing else wipes it.
  bool string(WipedString& value) {
    Add(SecureText(std::string_view(value)));
    Wipe(value.data(), value.size());
    return true;
  }
  bool binary(Parser::binary_t& /*value*/) { return false; }  // not in JSON's text
  bool start_object(size_t /*size*/) { return Open(Json::Object()); }
  bool start_array(size_t /*size*/) { return Open(Json::Array()); }
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }

  bool key(WipedString& name) {
    name_ = std::string_view(name);
    return true;
  }

  bool parse_error(size_t /*position*/, const std::string& /*token*/, const Parser::exception& error) {
    throw DescriptionError(error.what());
  }

 private:
  /// The new value's place in the document. Of members with one name the last counts.
  Json& Place(Json::Content content) {
    if (open_.empty()) {
      return root_ = Json(std::move(content));
    }
    if (auto* const array = std::get_if<Json::Array>(&open_.back()->content())) {
      return array->emplace_back(std::move(content));
    }
    return std::get<Json::Object>(open_.back()->content())[name_] = Json(std::move(content));
  }

  bool Add(Json::Content content) {
    Place(std::move(content));
    return true;
  }

  bool Open(Json::Content content) {
    if (open_.size() == kMaxDepth) {
      throw DescriptionError("more than " + std::to_string(kMaxDepth) + " values are nested");
    }
    open_.push_back(&Place(std::move(content)));
    return true;
  }

  bool Close() {
    open_.pop_back();
    return true;
  }

  Json root_;
  /// From the outermost to the innermost. An array grows only while none of its elements is open.
  std::vector<Json*> open_;
  std::string name_;
};

/// A value as text. The library writes scalars alone: its containers ask for memory when they are destroyed,
/// and the process ends when there is none.
struct ToText {
  std::string operator()(const SecureText& text) const {
    return Writer(static_cast<const std::string&>(text)).dump();
  }

  template <class Scalar>
  std::string operator()(const Scalar& scalar) const {
    return Writer(scalar).dump();
  }

  std::string operator()(const Json::Array& array) const {
    std::string text;
    for (const Json& element : array) {
      text += (text.empty() ? "" : ",") + element.dump();
    }
    return "[" + text + "]";
  }

  std::string operator()(const Json::Object& object) const {
    std::string text;
    for (const auto& [name, value] : object) {
      text += (text.empty() ? "" : ",") + Writer(name).dump() + ":" + value.dump();
    }
    return "{" + text + "}";
  }
};

}  // namespace

const char* Json::type_name() const {
  constexpr const char* kNames[] = {"null",   "boolean", "number", "number",
                                    "number", "string",  "array",  "object"};
  static_assert(std::size(kNames) == std::variant_size_v<Content>);
  return kNames[content_.index()];
}

std::string Json::dump() const {
  return std::visit(ToText(), content_);
}

bool Json::contains(std::string_view name) const {
  return is_object() && items().contains(name);
}

Json ParseJson(std::string_view text) {
  Builder builder;
  const auto* const begin = reinterpret_cast<const Character*>(text.data());
  Parser::sax_parse(begin, begin + text.size(), &builder);
  return builder.Take();
}

void Fail(const std::string& where, const std::string& what) {
  throw DescriptionError(where + ": " + what);
}

std::string Member(const std::string& where, const std::string& name) {
  return where.empty() ? name : where + "." + name;
}

std::string Element(const std::string& where, size_t index) {
  return where + "[" + std::to_string(index) + "]";
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

WString TextFrom(const Json& json, const std::string& where) {
  if (!json.is_string()) {
    Fail(where, std::string("a text is expected, not ") + json.type_name());
  }
  return Widen(json.string());
}

bool FlagFrom(const Json& json, const std::string& where) {
  if (!json.is_boolean()) {
    Fail(where, "true or false is expected, not " + json.dump());
  }
  return json.boolean();
}

double RealFrom(const Json& json, const std::string& where) {
  const Json::Content& content = json.content();
  if (const auto* const real = std::get_if<double>(&content)) {
    return *real;
  }
  if (const auto* const negative = std::get_if<int64_t>(&content)) {
    return static_cast<double>(*negative);
  }
  if (const auto* const positive = std::get_if<uint64_t>(&content)) {
    return static_cast<double>(*positive);
  }
  Fail(where, "a number is expected, not " + json.dump());
}

int64_t IntegerFrom(const Json& json, int64_t lowest, int64_t highest, const std::string& where) {
  const auto* const negative = std::get_if<int64_t>(&json.content());
  const auto* const positive = std::get_if<uint64_t>(&json.content());
  const bool fits = negative != nullptr ||
                    (positive != nullptr && *positive <= uint64_t{std::numeric_limits<int64_t>::max()});
  const int64_t integer = !fits ? 0 : negative != nullptr ? *negative : static_cast<int64_t>(*positive);
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
  const std::string& text = json.string();
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

}  // namespace custom_bidi::support
