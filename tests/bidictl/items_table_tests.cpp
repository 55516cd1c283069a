#include "tools/bidictl/items_table.h"

#include <gtest/gtest.h>

namespace custom_bidi_tools {
namespace {

std::string Text(const std::optional<std::vector<Row>>& rows) {
  if (!rows)
    return "nothing";
  std::string text;
  for (const auto& row : *rows)
    text += row.name + "=" + row.value + ";";
  return text;
}

TEST(ItemRows, SortsAndJoinsLists) {
  const struct {
    const char* name;
    const char* answer;
    const char* rows;
  } cases[] = {
      {"sorted", R"({"b": "2","a": "1","CID": ""})", "CID=;a=1;b=2;"},
      {"list before its item", R"({"M_Value": "a4,a3, a5,","M": "Valid","CID": "X"})",
       "CID=X;M=a4, a3, a5,;"},
      {"list behind its item", R"({"M": "Valid","M_Value": "a,b","CID": "X"})", "CID=X;M=a, b;"},
      {"valid without a list", R"({"M": "Valid","CID": "X"})", "CID=X;M=Valid;"},
      {"list of an item that is not valid", R"({"M": "no","M_Value": "a,b","CID": "X"})",
       "CID=X;M=no;M_Value=a,b;"},
      {"item named CID", R"({"CID": "item","CID": "device"})", "CID=device;"},
      {"a quote in a text", R"({"M": "12" wide","CID": "X"})", "nothing"},
      {"a line end in a text", "{\"M\": \"a\nb\",\"CID\": \"X\"}", "nothing"},
      {"a path in a text", R"({"M": "C:\temp\x","CID": "X"})", "nothing"},
      {"no object", "\"text\"", "nothing"},
  };
  for (const auto& expected : cases)
    EXPECT_EQ(Text(ItemRows(expected.answer)), expected.rows) << expected.name;
}

}  // namespace
}  // namespace custom_bidi_tools
