#include "tools/bidictl/text/printer_answers.h"

#include <array>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <type_traits>

namespace custom_bidi_tools {

namespace {

constexpr char kListSuffix[] = "_Value";

/// The values of a comma-separated list with a blank behind every comma, so that the table can wrap them.
std::string SpacedList(const std::string& list) {
  std::string result;
  for (size_t i = 0; i < list.size(); ++i) {
    result += list[i];
    if (list[i] == ',' && i + 1 < list.size() && list[i + 1] != ' ') {
      result += ' ';
    }
  }
  return result;
}

std::map<std::string, std::string> Members(const nlohmann::json& root) {
  std::map<std::string, std::string> members;
  for (const auto& [name, value] : root.items()) {
    members[name] = value.is_string() ? value.get<std::string>() : value.dump();
  }
  return members;
}

// hrPrinterDetectedErrorState, bit 0 first: the most significant bit of the first byte.
constexpr std::array kErrorNames = {"lowPaper",
                                    "noPaper",
                                    "lowToner",
                                    "noToner",
                                    "doorOpen",
                                    "jammed",
                                    "offline",
                                    "serviceRequested",
                                    "inputTrayMissing",
                                    "outputTrayMissing",
                                    "markerSupplyMissing",
                                    "outputNearFull",
                                    "outputFull",
                                    "inputTrayEmpty",
                                    "overduePreventMaint"};

constexpr int64_t kNotRead = 1;

struct ErrorBytes {
  uint32_t bits;  // the first two bytes; the second is 0 when there is none
  bool has_more;  // something is set behind them
};

ErrorBytes FirstTwoBytes(uint32_t status_code) {
  if (status_code <= 0xFF) {
    return {status_code << 8, false};
  }
  if (status_code <= 0xFFFF) {
    return {status_code, false};
  }
  if (status_code <= 0xFFFFFF) {
    return {status_code >> 8, (status_code & 0xFF) != 0};
  }
  return {status_code >> 16, (status_code & 0xFFFF) != 0};
}

std::string Quoted(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string Hexadecimal(uint32_t value) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase << std::setfill('0') << std::setw(value <= 0xFF ? 2 : 4)
       << value;
  return text.str();
}

}  // namespace

std::optional<std::vector<Row>> ItemRows(const std::string& answer) {
  const auto root = nlohmann::json::parse(answer, nullptr, /*allow_exceptions=*/false);
  if (!root.is_object()) {
    return std::nullopt;
  }
  auto members = Members(root);
  for (auto& [name, value] : members) {
    const auto list = members.find(name + kListSuffix);
    if (value != "Valid" || list == members.end()) {
      continue;
    }
    value = SpacedList(list->second);
    members.erase(list);
  }
  std::vector<Row> rows;
  for (const auto& [name, value] : members) {
    rows.push_back({name, value});
  }
  return rows;
}

bool TryParseStatus(const std::string& json, StatusAnswer& answer) {
  const auto root = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
  if (!root.is_object()) {
    return false;
  }
  const auto read = [&root](const char* name, auto& value) {
    const auto member = root.find(name);
    if (member == root.end() || !member->is_number_integer()) {
      return false;
    }
    value = member->get<std::remove_reference_t<decltype(value)>>();
    return true;
  };
  return read("printerState", answer.printer_state) && read("responseCode", answer.response_code) &&
         read("statusCode", answer.status_code);
}

std::string PrinterStateName(int64_t state) {
  constexpr std::array kNames = {"no value", "other", "unknown", "idle", "printing", "warmup"};
  if (state < 0 || state >= static_cast<int64_t>(kNames.size())) {
    return "not a known state";
  }
  return kNames[static_cast<size_t>(state)];
}

std::string ResponseCodeText(int64_t code) {
  switch (code) {
    case 0:
      return "the device is in service";
    case kNotRead:
      return "the printer could not be read";
    case 2:
      return "the device is testing itself, or is down and neither idle nor printing";
    default:
      return "not a known code";
  }
}

ErrorState ReadErrorState(uint32_t status_code) {
  const auto [bits, has_more] = FirstTwoBytes(status_code);
  ErrorState state;
  for (size_t i = 0; i < kErrorNames.size(); ++i) {
    if (bits & (0x8000U >> i)) {
      state.names.emplace_back(kErrorNames[i]);
    }
  }
  state.has_unknown_bits = has_more || (bits & 1U) != 0;
  return state;
}

JsonObject& JsonObject::Add(const std::string& name, const std::string& text) {
  return AddValue(name, Quoted(text));
}

JsonObject& JsonObject::Add(const std::string& name, int64_t number) {
  return AddValue(name, std::to_string(number));
}

JsonObject& JsonObject::Add(const std::string& name, const std::vector<JsonObject>& list) {
  return AddValue(name, JsonList(list));
}

JsonObject& JsonObject::AddValue(const std::string& name, const std::string& value) {
  members_ += (members_.empty() ? "" : ",") + Quoted(name) + ':' + value;
  return *this;
}

std::string JsonList(const std::vector<JsonObject>& list) {
  std::string text;
  for (const JsonObject& object : list) {
    text += (text.empty() ? "" : ",") + object.ToText();
  }
  return '[' + text + ']';
}

std::vector<Row> ExplainStatus(const StatusAnswer& answer) {
  if (!answer.WasRead()) {
    return {{ResponseCodeText(kNotRead), ""}};
  }
  const ErrorState state = ReadErrorState(answer.status_code);
  std::string errors;
  for (const auto& name : state.names) {
    errors += (errors.empty() ? "" : ", ") + name;
  }
  if (state.has_unknown_bits) {
    errors += std::string(errors.empty() ? "" : ", ") + "bits without a name";
  }
  if (errors.empty()) {
    errors = "none";
  }

  const auto with = [](const std::string& words, const std::string& number) {
    return words + " (" + number + ")";
  };
  return {
      {"printer state", with(PrinterStateName(answer.printer_state), std::to_string(answer.printer_state))},
      {"response code", with(ResponseCodeText(answer.response_code), std::to_string(answer.response_code))},
      {"error state", with(errors, Hexadecimal(answer.status_code))}};
}

}  // namespace custom_bidi_tools
