#include "ixo/simulated/printer_reader.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "ixo/support/host_system.h"

namespace custom_bidi::simulated {
namespace {

using NamedType = std::pair<std::string_view, VARTYPE>;
constexpr NamedType kTypes[] = {{"VT_EMPTY", VT_EMPTY}, {"VT_NULL", VT_NULL}, {"VT_I1", VT_I1},
                                {"VT_I2", VT_I2},       {"VT_I4", VT_I4},     {"VT_UI1", VT_UI1},
                                {"VT_UI2", VT_UI2},     {"VT_UI4", VT_UI4},   {"VT_BOOL", VT_BOOL},
                                {"VT_R8", VT_R8},       {"VT_BSTR", VT_BSTR}};

VARTYPE TypeFrom(const support::Json& json, const std::string& where) {
  const auto* const found =
      json.is_string() ? std::ranges::find(kTypes, json.string(), &NamedType::first) : std::end(kTypes);
  if (found != std::end(kTypes)) {
    return found->second;
  }
  if (json.is_integer()) {
    return static_cast<VARTYPE>(support::IntegerFrom(json, 0, std::numeric_limits<VARTYPE>::max(), where));
  }
  support::Fail(where, "unknown type " + json.dump());
}

/// Of a type that is no integer any bits can be the payload.
std::pair<int64_t, int64_t> RangeFor(VARTYPE type) {
  const auto range = support::RangeOf(type);
  using Bits = std::numeric_limits<int64_t>;
  return range.first <= range.second ? range : std::pair(Bits::min(), Bits::max());
}

support::Value TypedValue(VARTYPE type, const support::Json& value, const std::string& where) {
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
      if (!value.is_null()) {
        support::Fail(where, "the type has no value");
      }
      return support::Value::Nothing(type);
    case VT_BOOL:
      return support::Value::Integer(type, support::FlagFrom(value, where) ? 1 : 0);
    case VT_R8:
      return support::Value::Real(support::RealFrom(value, where));
    case VT_BSTR:
      return value.is_null() ? support::Value::NullText()
                             : support::Value::Text(support::TextFrom(value, where));
    default: {
      const auto [lowest, highest] = RangeFor(type);
      return support::Value::Integer(type, support::IntegerFrom(value, lowest, highest, where));
    }
  }
}

/// The long form, or one of the two short ones.
support::Value ValueFrom(const support::Json& json, const std::string& where) {
  if (json.is_string()) {
    return TypedValue(VT_BSTR, json, where);
  }
  if (json.is_number()) {
    return TypedValue(VT_I4, json, where);
  }
  support::RequireMembers(json, {"type", "value", "fault"}, where);
  if (json.contains("fault") && !json.contains("type") && !json.contains("value")) {
    return support::Value::Nothing(VT_EMPTY);  // An entry that only ever fails needs no value.
  }
  if (!json.contains("type")) {
    support::Fail(where, "\"type\" is missing");
  }
  const VARTYPE type = TypeFrom(json["type"], support::Member(where, "type"));
  if (!json.contains("value") && type != VT_EMPTY && type != VT_NULL) {
    support::Fail(where, "\"value\" is missing");
  }
  const support::Json none;
  return TypedValue(type, json.contains("value") ? json["value"] : none, support::Member(where, "value"));
}

using Values = std::map<WString, support::Value, std::less<>>;

void AddValues(const support::Json& json,
               Operation operation,
               const std::string& where,
               Values& values,
               Printer& printer) {
  support::RequireObject(json, where);
  for (const auto& [name, entry] : json.items()) {
    const std::string place = support::Member(where, name);
    const WString wide_name = support::Widen(name);
    values.emplace(wide_name, ValueFrom(entry, place));
    if (entry.is_object() && entry.contains("fault")) {
      AddFaults(entry["fault"], operation, &wide_name, support::Member(place, "fault"), printer);
    }
  }
}

std::optional<Address> AddressFrom(const support::Json& json, const std::string& where) {
  if (json.is_null()) {
    return std::nullopt;
  }
  support::RequireMembers(json, {"text", "active"}, where);
  Address address;
  if (json.contains("text")) {
    address.text = support::TextFrom(json["text"], support::Member(where, "text"));
  }
  if (json.contains("active")) {
    address.active = support::FlagFrom(json["active"], support::Member(where, "active"));
  }
  return address;
}

void AddAddresses(const support::Json& json, const std::string& where, Printer& printer) {
  constexpr std::pair<const char*, AddressKind> kKinds[] = {{"queues", AddressKind::kQueue},
                                                            {"ports", AddressKind::kPort},
                                                            {"ip", AddressKind::kIp},
                                                            {"hosts", AddressKind::kHost}};
  support::RequireMembers(json, {"queues", "ports", "ip", "hosts"}, where);
  for (const auto& [kind_name, kind] : kKinds) {
    if (!json.contains(kind_name)) {
      continue;
    }
    const std::string place = support::Member(where, kind_name);
    support::RequireObject(json[kind_name], place);
    for (const auto& [name, entry] : json[kind_name].items()) {
      printer.addresses[static_cast<size_t>(kind)].emplace(support::Widen(name),
                                                           AddressFrom(entry, support::Member(place, name)));
    }
  }
}

/// A text as it stands, or an array of lines, each of which ends in CR LF then.
WString LocaleText(const support::Json& json, const std::string& where) {
  if (!json.is_array()) {
    return support::TextFrom(json, where);
  }
  WString text;
  for (const support::Json& line : json.elements()) {
    text += support::TextFrom(line, where);
    text += W("\r\n");
  }
  return text;
}

void AddLocale(const support::Json& json, const std::string& where, Printer& printer) {
  support::RequireObject(json, where);
  for (const auto& [language, text] : json.items()) {
    printer.locale.emplace(support::Widen(language), LocaleText(text, support::Member(where, language)));
  }
}

}  // namespace

Printer ReadPrinter(std::string_view json_text) {
  const support::Json json = support::ParseJson(json_text);
  support::RequireMembers(json, {"addresses", "items", "oids", "locale", "certificate", "faults", "log"},
                          "printer");
  Printer printer;
  // A fault listed by operation goes before one that stands with an item.
  if (json.contains("faults")) {
    AddFaultsByOperation(json["faults"], "faults", printer);
  }
  if (json.contains("addresses")) {
    AddAddresses(json["addresses"], "addresses", printer);
  }
  if (json.contains("items")) {
    AddValues(json["items"], Operation::kDataCollectionGetValue, "items", printer.items, printer);
  }
  if (json.contains("oids")) {
    AddValues(json["oids"], Operation::kOidProviderGetValue, "oids", printer.oids, printer);
  }
  if (json.contains("locale")) {
    AddLocale(json["locale"], "locale", printer);
  }
  if (json.contains("certificate")) {
    AddCertificate(json["certificate"], "certificate", printer);
  }
  if (json.contains("log")) {
    printer.log = FileNameFrom(json["log"], "log");
  }
  return printer;
}

}  // namespace custom_bidi::simulated
