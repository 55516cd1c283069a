#include "ixo/simulated/printer_reader.h"

#include <limits>
#include <utility>

namespace custom_bidi::simulated {
namespace {

constexpr std::pair<std::string_view, VARTYPE> kTypes[] = {
    {"VT_EMPTY", VT_EMPTY}, {"VT_NULL", VT_NULL}, {"VT_I1", VT_I1},    {"VT_I2", VT_I2},
    {"VT_I4", VT_I4},       {"VT_UI1", VT_UI1},   {"VT_UI2", VT_UI2},  {"VT_UI4", VT_UI4},
    {"VT_BOOL", VT_BOOL},   {"VT_R8", VT_R8},     {"VT_BSTR", VT_BSTR}};

VARTYPE TypeFrom(const device::Json& json, const std::string& where) {
  for (const auto& [name, type] : kTypes) {
    if (json == name) {
      return type;
    }
  }
  device::Fail(where, "unknown type " + json.dump());
}

device::Value TypedValue(VARTYPE type, const device::Json& value, const std::string& where) {
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
      if (!value.is_null()) {
        device::Fail(where, "the type has no value");
      }
      return device::Value::Nothing(type);
    case VT_BOOL:
      if (!value.is_boolean()) {
        device::Fail(where, "true or false is expected, not " + value.dump());
      }
      return device::Value::Integer(type, value.get<bool>() ? 1 : 0);
    case VT_R8:
      if (!value.is_number()) {
        device::Fail(where, "a number is expected, not " + value.dump());
      }
      return device::Value::Real(value.get<double>());
    case VT_BSTR:
      return value.is_null() ? device::Value::NullText()
                             : device::Value::Text(device::TextFrom(value, where));
    default: {
      const auto [lowest, highest] = device::RangeOf(type);
      return device::Value::Integer(type, device::IntegerFrom(value, lowest, highest, where));
    }
  }
}

/// The long form, or one of the two short ones.
device::Value ValueFrom(const device::Json& json, const std::string& where) {
  if (json.is_string()) {
    return TypedValue(VT_BSTR, json, where);
  }
  if (json.is_number()) {
    return TypedValue(VT_I4, json, where);
  }
  device::RequireMembers(json, {"type", "value", "fault"}, where);
  if (json.contains("fault") && !json.contains("type") && !json.contains("value")) {
    return device::Value::Nothing(VT_EMPTY);  // An entry that only ever fails needs no value.
  }
  if (!json.contains("type")) {
    device::Fail(where, "\"type\" is missing");
  }
  const VARTYPE type = TypeFrom(json["type"], device::Member(where, "type"));
  if (!json.contains("value") && type != VT_EMPTY && type != VT_NULL) {
    device::Fail(where, "\"value\" is missing");
  }
  return TypedValue(type, json.value("value", device::Json()), device::Member(where, "value"));
}

using Values = std::map<WString, device::Value, std::less<>>;

void AddValues(const device::Json& json,
               Operation operation,
               const std::string& where,
               Values& values,
               Printer& printer) {
  device::RequireObject(json, where);
  for (const auto& [name, entry] : json.items()) {
    const std::string place = device::Member(where, name);
    const WString wide_name = device::Widen(name);
    values.emplace(wide_name, ValueFrom(entry, place));
    if (entry.is_object() && entry.contains("fault")) {
      AddFaults(entry["fault"], operation, &wide_name, device::Member(place, "fault"), printer);
    }
  }
}

std::optional<Address> AddressFrom(const device::Json& json, const std::string& where) {
  if (json.is_null()) {
    return std::nullopt;
  }
  device::RequireMembers(json, {"text", "active"}, where);
  Address address;
  if (json.contains("text")) {
    address.text = device::TextFrom(json["text"], device::Member(where, "text"));
  }
  const device::Json active = json.value("active", device::Json(true));
  if (!active.is_boolean()) {
    device::Fail(device::Member(where, "active"), "true or false is expected, not " + active.dump());
  }
  address.active = active.get<bool>();
  return address;
}

void AddAddresses(const device::Json& json, const std::string& where, Printer& printer) {
  constexpr std::pair<const char*, AddressKind> kKinds[] = {{"queues", AddressKind::kQueue},
                                                            {"ports", AddressKind::kPort},
                                                            {"ip", AddressKind::kIp},
                                                            {"hosts", AddressKind::kHost}};
  device::RequireMembers(json, {"queues", "ports", "ip", "hosts"}, where);
  for (const auto& [kind_name, kind] : kKinds) {
    if (!json.contains(kind_name)) {
      continue;
    }
    const std::string place = device::Member(where, kind_name);
    device::RequireObject(json[kind_name], place);
    for (const auto& [name, entry] : json[kind_name].items()) {
      printer.addresses[static_cast<size_t>(kind)].emplace(device::Widen(name),
                                                           AddressFrom(entry, device::Member(place, name)));
    }
  }
}

/// A text as it stands, or an array of lines, each of which ends in CR LF then.
WString LocaleText(const device::Json& json, const std::string& where) {
  if (!json.is_array()) {
    return device::TextFrom(json, where);
  }
  WString text;
  for (const device::Json& line : json) {
    text += device::TextFrom(line, where);
    text += W("\r\n");
  }
  return text;
}

void AddLocale(const device::Json& json, const std::string& where, Printer& printer) {
  device::RequireObject(json, where);
  for (const auto& [language, text] : json.items()) {
    printer.locale.emplace(device::Widen(language), LocaleText(text, device::Member(where, language)));
  }
}

}  // namespace

Printer ReadPrinter(std::string_view json_text) {
  const device::Json json = device::Json::parse(json_text);
  device::RequireMembers(json, {"addresses", "items", "oids", "locale", "certificate", "faults", "log"},
                         "printer");
  const device::Json none = device::Json::object();
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
