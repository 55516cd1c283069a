#include "tools/bidictl/items_table.h"

#include <map>
#include <nlohmann/json.hpp>

namespace custom_bidi_tools {

namespace {

constexpr char kListSuffix[] = "_Value";

/// The values of a comma-separated list with a blank behind every comma, so that the table can wrap them.
std::string SpacedList(const std::string& list) {
  std::string result;
  for (size_t i = 0; i < list.size(); ++i) {
    result += list[i];
    if (list[i] == ',' && i + 1 < list.size() && list[i + 1] != ' ')
      result += ' ';
  }
  return result;
}

std::map<std::string, std::string> Members(const nlohmann::json& root) {
  std::map<std::string, std::string> members;
  for (const auto& [name, value] : root.items())
    members[name] = value.is_string() ? value.get<std::string>() : value.dump();
  return members;
}

}  // namespace

std::optional<std::vector<Row>> ItemRows(const std::string& answer) {
  const auto root = nlohmann::json::parse(answer, nullptr, /*allow_exceptions=*/false);
  if (!root.is_object())
    return std::nullopt;
  auto members = Members(root);
  for (auto& [name, value] : members) {
    const auto list = members.find(name + kListSuffix);
    if (value != "Valid" || list == members.end())
      continue;
    value = SpacedList(list->second);
    members.erase(list);
  }
  std::vector<Row> rows;
  for (const auto& [name, value] : members)
    rows.push_back({name, value});
  return rows;
}

}  // namespace custom_bidi_tools
