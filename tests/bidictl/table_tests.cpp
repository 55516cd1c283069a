#include "tools/bidictl/table.h"

#include <gtest/gtest.h>

#include "tools/bidictl/text.h"

namespace custom_bidi_tools {
namespace {

using Lines = std::vector<std::string>;

TEST(WrapText, CutsAtBlanksWhereItCan) {
  const struct {
    const char* name;
    const char* text;
    size_t width;
    Lines lines;
  } cases[] = {
      {"empty", "", 5, {""}},
      {"fits exactly", "abcde", 5, {"abcde"}},
      {"blank at the width", "abcde fgh", 5, {"abcde", "fgh"}},
      {"blank before the width", "ab cde", 5, {"ab", "cde"}},
      {"no blank", "abcdefgh", 5, {"abcde", "fgh"}},
      {"blank only at the start", " abcdefg", 5, {" abcd", "efg"}},
      {"several", "aa bb cc dd", 5, {"aa bb", "cc dd"}},
      {"no room", "ab", 0, {"a", "b"}},
      {"whole characters", "\xC3\xBC\xC3\xBC\xF0\x9F\x98\x80", 2, {"\xC3\xBC\xC3\xBC", "\xF0\x9F\x98\x80"}},
      {"control characters", "a\tb\x1B[2J\xC2\x9B", 20, {"a b [2J "}},
      {"not UTF-8", "a\xFF", 20, {"a\xEF\xBF\xBD"}}};
  for (const auto& expected : cases)
    EXPECT_EQ(WrapText(expected.text, expected.width), expected.lines) << expected.name;
}

TEST(LayOut, AlignsValuesAndWrapsThem) {
  EXPECT_EQ(LayOut({{"CID", "VX"},
                    {"Grö\xC3\x9F"
                     "e",
                     "one two three four five six"}},
                   30),
            "CID    VX\n"
            "Grö\xC3\x9F"
            "e  one two three four five\n"
            "       six\n");
}

TEST(LayOut, PutsALongNameOnItsOwnLine) {
  EXPECT_EQ(LayOut({{"CID", "VX"}, {"a-name-of-nearly-all-of-the-width", "value"}}, 40),
            "CID  VX\n"
            "a-name-of-nearly-all-of-the-width\n"
            "     value\n");
}

TEST(LayOut, KeepsToTheWidthWhateverTheText) {
  const std::vector<Row> rows = {{"name", std::string(500, 'x')},
                                 {std::string(19, 'n'), "a b c d e f g h i j k l m"}};
  for (const size_t width : {size_t{42}, size_t{60}, size_t{100}}) {
    std::string text = LayOut(rows, width);
    for (size_t end; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
      EXPECT_LE(end, width) << text.substr(0, end);
  }
}

}  // namespace
}  // namespace custom_bidi_tools
