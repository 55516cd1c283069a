#include "src/deviceio/error_state.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/unit/error_state_reference.h"

namespace custom_bidi {
namespace {

DWORD Parse(const std::string& ascii) {
  return ParseErrorState(WString(ascii.begin(), ascii.end()));
}

TEST(ParseErrorState, Table) {
  struct Case {
    const char* text;
    DWORD number;
  };
  const Case cases[] = {
      {"", 0},
      {"0080", 0x80},
      {"0x8000", 0x8000},
      {"0X8000", 0x8000},
      {" \t\r\n\v\f40", 0x40},
      {"+40", 0x40},
      {"-1", 0xFFFFFFFF},
      {"-0x10", 0xFFFFFFF0},
      {"aBcDeF", 0xABCDEF},
      {"40 80", 0x40},
      {"40h", 0x40},
      {"0x", 0},
      {"0xg", 0},
      {"x40", 0},
      {"- 1", 0},
      {"+-1", 0},
      {"0x0x40", 0},
      {"FFFFFFFF", 0xFFFFFFFF},
      {"100000000", 0xFFFFFFFF},
      {"-FFFFFFFF", 1},
      {"-100000000", 0xFFFFFFFF},
      {"00000000000000000080", 0x80},
      {"FFFFFFFFFFFFFFFFFFFFFFFF80", 0xFFFFFFFF},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Parse(c.text), c.number) << '"' << c.text << '"';
    EXPECT_EQ(test::ErrorStateByTheCLibrary(c.text), c.number) << '"' << c.text << '"';
  }
}

TEST(ParseErrorState, StopsAtCharactersThatOnlyLookLikeDigits) {
  EXPECT_EQ(ParseErrorState(W("1\uFF12")), 1u);  // a full-width 2
  EXPECT_EQ(ParseErrorState(W("1\u0131")), 1u);  // whose low byte is the digit 1
  EXPECT_EQ(ParseErrorState(WStringView(W("1\0002"), 3)), 1u);
}

TEST(ParseErrorState, AgreesWithTheCLibrary) {
  constexpr char kUnits[] = " \t+-0xX19aFg";
  std::mt19937 random(1);
  for (int i = 0; i < 50000; ++i) {
    std::string text(random() % 12, ' ');
    for (char& unit : text)
      unit = kUnits[random() % (sizeof(kUnits) - 1)];
    ASSERT_EQ(Parse(text), test::ErrorStateByTheCLibrary(text)) << '"' << text << '"';
  }
}

}  // namespace
}  // namespace custom_bidi
