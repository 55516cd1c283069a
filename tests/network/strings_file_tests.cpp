#include "ixo/network/strings_file.h"

#include <gtest/gtest.h>

#include "ixo/network/data_map.h"
#include "pal/path.h"
#include "pal/text.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi::network {
namespace {

std::string Again(std::string_view text) {
  return WriteStrings(ReadStrings(text));
}

TEST(StringsFile, EntriesComeOutAsTheyAreMeant) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},
      {R"("a" = "b";)", "\"a\" = \"b\";\n"},
      {"\xEF\xBB\xBF\"a\"=\"b\";\r\n\"c\"\n=\n\"d\" ;", "\"a\" = \"b\";\n\"c\" = \"d\";\n"},
      {"/* \"x\" = \"y\"; */ \"a\" = \"b\"; // \"c\" = \"d\";\n\"e\" = \"\";",
       "\"a\" = \"b\";\n\"e\" = \"\";\n"},
      {R"("q" = "say \"hi\"\\";)", "\"q\" = \"say \\\"hi\\\"\\\\\";\n"},
      {R"("n" = "1\n2\t3";)", "\"n\" = \"1\\n2\t3\";\n"},
      {R"("u" = "caf\u00e9 \U00C9 \351";)", "\"u\" = \"caf\xC3\xA9 \xC3\x89 \xC3\xA9\";\n"},
      // Broken ones stand for themselves, and never take what follows with them.
      {R"("b" = "\q \u12 \uzzzz \";"; "c" = "d";)", "\"b\" = \"q u12 uzzzz \\\";\";\n\"c\" = \"d\";\n"},
      {R"("z" = "a\0b\u0000c";)", "\"z\" = \"a0bu0000c\";\n"},
      {"nonsense\n\"a\" \"b\";\n\"c\" = d;\n\"\" = \"e\";\n\"f\" = \"g\"\n\"h\" = \"i\";",
       "\"h\" = \"i\";\n"},
      {R"("a" = "b"; "open = "c)", "\"a\" = \"b\";\n"},
      {"\"a\" = \"b\\", ""},
      {"/* never closed \"a\" = \"b\";", ""},
      {"\"bytes\" = \"\xFF\xC3\";", "\"bytes\" = \"\xFF\xC3\";\n"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(Again(text), expected) << text;
  }
}

TEST(StringsFile, WhatIsWrittenReadsTheSame) {
  const StringPairs pairs = {{"a.b", "\\n \" ; = \n end\\"}, {"\xC3\xA9", "tab\there"}};
  EXPECT_EQ(ReadStrings(WriteStrings(pairs)), pairs);
}

TEST(DataMap, ItemsWithASourceAreKept) {
  const custom_bidi_test::TemporaryFolder folder;
  const auto file = folder.WriteFile("map.xml", R"(<DataMap>
    <DataItem Name="Outside" ipp="printer-name"/>
    <IPPDataMap><Group><DataItem Name="Deep" ipp="printer-info"/></Group>
      <DataItem Name="Both" ipp="printer-uuid" oid="1.3.6.1.2.1.1.5.0"/>
      <DataItem Name="Both" ipp="printer-name"/>
      <DataItem Name="NoSource"/>
      <DataItem ipp="printer-name"/>
      <DataItem Name="BadAttribute" ipp="printer name&#10;"/>
      <DataItem Name="BadOids" oid="1.3.6..1"/>
      <DataItem Name="BadOid" oid=".1.3"/>
      <DataItem Name="HugeOid" oid="1.3.99999999999"/>
      <DataItem Name="Ä" oid="1.3"/>
    </IPPDataMap></DataMap>)");
  DataMap map;
  ASSERT_EQ(ReadDataMap(pal::ToWindowsPath(file.string()).c_str(), map), DWORD{ERROR_SUCCESS});
  std::string shown;
  for (const auto& [name, source] : map) {
    shown += pal::ToUtf8(name) + '=' + source.ipp + '|' + source.oid + ' ';
  }
  EXPECT_EQ(shown, "Both=printer-uuid|1.3.6.1.2.1.1.5.0 Deep=printer-info| Ä=|1.3 ");

  const auto broken = folder.WriteFile("broken.xml", "<DataMap><IPPDataMap>");
  EXPECT_EQ(ReadDataMap(pal::ToWindowsPath(broken.string()).c_str(), map), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(ReadDataMap(pal::ToWindowsPath((folder / "none.xml").string()).c_str(), map),
            DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace custom_bidi::network
