#include "ixo/simulated/printer_reader.h"

#include <limits>
#include <utility>

namespace custom_bidi::simulated {
namespace {

constexpr std::pair<std::string_view, VARTYPE> kTypes[] = {
    {"VT_EMPTY", VT_EMPTY}, {"VT_NULL", VT_NULL}, {"VT_I1", VT_I1},    {"VT_I2", VT_I2},
    {"VT_I4", VT_I4},       {"VT_UI1", VT_UI1},   {"VT_UI2", VT_UI2},  {"VT_UI4", VT_UI4},
    {"VT_BOOL", VT_BOOL},   {"VT_R8", VT_R8},     {"VT_BSTR", VT_BSTR}};

VARTYPE TypeFrom(const Json& json, const std::string& where) {
  for (const auto& [name, type] : kTypes) {
    if (json == name) {
      return type;
    }
  }
  Fail(where, "unknown type " + json.dump());
}

Value TypedValue(VARTYPE type, const Json& value, const std::string& where) {
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
      if (!value.is_null()) {
        Fail(where, "the type has no value");
      }
      return Value::Nothing(type);
    case VT_BOOL:
      if (!value.is_boolean()) {
        Fail(where, "true or false is expected, not " + value.dump());
      }
      return Value::Integer(type, value.get<bool>() ? 1 : 0);
    case VT_R8:
      if (!value.is_number()) {
        Fail(where, "a number is expected, not " + value.dump());
      }
      return Value::Real(value.get<double>());
    case VT_BSTR:
      return value.is_null() ? Value::NullText() : Value::Text(TextFrom(value, where));
    default: {
      const auto [lowest, highest] = RangeOf(type);
      return Value::Integer(type, IntegerFrom(value, lowest, highest, where));
    }
  }
}

/// The long form, or one of the two short ones.
Value ValueFrom(const Json& json, const std::string& where) {
  if (json.is_string()) {
    return TypedValue(VT_BSTR, json, where);
  }
  if (json.is_number()) {
    return TypedValue(VT_I4, json, where);
  }
  RequireMembers(json, {"type", "value", "fault"}, where);
  if (json.contains("fault") && !json.contains("type") && !json.contains("value")) {
    return Value::Nothing(VT_EMPTY);  // An entry that only ever fails needs no value.
  }
  if (!json.contains("type")) {
    Fail(where, "\"type\" is missing");
  }
  const VARTYPE type = TypeFrom(json["type"], Member(where, "type"));
  if (!json.contains("value") && type != VT_EMPTY && type != VT_NULL) {
    Fail(where, "\"value\" is missing");
  }
  return TypedValue(type, json.value("value", Json()), Member(where, "value"));
}

using Values = std::map<WString, Value, std::less<>>;

void AddValues(const Json& json,
               Operation operation,
               const std::string& where,
               Values& values,
               Printer& printer) {
  RequireObject(json, where);
  for (const auto& [name, entry] : json.items()) {
    const std::string place = Member(where, name);
    const WString wide_name = Widen(name);
    values.emplace(wide_name, ValueFrom(entry, place));
    if (entry.is_object() && entry.contains("fault")) {
      AddFaults(entry["fault"], operation, &wide_name, Member(place, "fault"), printer);
    }
  }
}

std::optional<Address> AddressFrom(const Json& json, const std::string& where) {
  if (json.is_null()) {
    return std::nullopt;
  }
  RequireMembers(json, {"text", "active"}, where);
  Address address;
  if (json.contains("text")) {
    address.text = TextFrom(json["text"], Member(where, "text"));
  }
  const Json active = json.value("active", Json(true));
  if (!active.is_boolean()) {
    Fail(Member(where, "active"), "true or false is expected, not " + active.dump());
  }
  address.active = active.get<bool>();
  return address;
}

void AddAddresses(const Json& json, const std::string& where, Printer& printer) {
  constexpr std::pair<const char*, AddressKind> kKinds[] = {{"queues", AddressKind::kQueue},
                                                            {"ports", AddressKind::kPort},
                                                            {"ip", AddressKind::kIp},
                                                            {"hosts", AddressKind::kHost}};
  RequireMembers(json, {"queues", "ports", "ip", "hosts"}, where);
  for (const auto& [kind_name, kind] : kKinds) {
    if (!json.contains(kind_name)) {
      continue;
    }
    const std::string place = Member(where, kind_name);
    RequireObject(json[kind_name], place);
    for (const auto& [name, entry] : json[kind_name].items()) {
      printer.addresses[static_cast<size_t>(kind)].emplace(Widen(name),
                                                           AddressFrom(entry, Member(place, name)));
    }
  }
}

/// A text as it stands, or an array of lines, each of which ends in CR LF then.
WString LocaleText(const Json& json, const std::string& where) {
  if (!json.is_array()) {
    return TextFrom(json, where);
  }
  WString text;
  for (const Json& line : json) {
    text += TextFrom(line, where);
    text += W("\r\n");
  }
  return text;
}

void AddLocale(const Json& json, const std::string& where, Printer& printer) {
  RequireObject(json, where);
  for (const auto& [language, text] : json.items()) {
    printer.locale.emplace(Widen(language), LocaleText(text, Member(where, language)));
  }
}

}  // namespace

Printer ReadPrinter(std::string_view json_text) {
  const Json json = Json::parse(json_text);
  RequireMembers(json, {"addresses", "items", "oids", "locale", "certificate", "faults", "log"}, "printer");
  const Json none = Json::object();
  Printer printer;
  // A fault listed by operation goes before one that stands with an item.
  AddFaultsByOperation(json.value("faults", none), "faults", printer);
  AddAddresses(json.value("addresses", none), "addresses", printer);
  AddValues(json.value("items", none), Operation::kDataCollectionGetValue, "items", printer.items, printer);
  AddValues(json.value("oids", none), Operation::kOidProviderGetValue, "oids", printer.oids, printer);
  AddLocale(json.value("locale", none), "locale", printer);
  if (json.contains("certificate")) {
    AddCertificate(json["certificate"], "certificate", printer);
  }
  if (json.contains("log")) {
    printer.log = FileNameFrom(json["log"], "log");
  }
  return printer;
}

}  // namespace custom_bidi::simulated
