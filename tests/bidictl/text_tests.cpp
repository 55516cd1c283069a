#include "tools/bidictl/text.h"

#include <gtest/gtest.h>

#include <string>

namespace custom_bidi_tools {
namespace {

WideString Wide(std::u16string_view text) {
  return WideString(text.begin(), text.end());
}

TEST(Text, ConvertsBothWays) {
  const struct {
    const char* utf8;
    std::u16string_view utf16;
  } cases[] = {{"", u""},
               {"Office", u"Office"},
               {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", u"\u007F\u0080\u07FF\u0800"},
               {"\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\uD7FF\uE000\uFFFF"},
               {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"}};
  for (const auto& [utf8, utf16] : cases) {
    EXPECT_EQ(ToUtf8(Wide(utf16)), utf8);
    ASSERT_TRUE(ToWide(utf8)) << utf8;
    EXPECT_TRUE(*ToWide(utf8) == Wide(utf16)) << utf8;
  }
}

TEST(Text, RefusesWhatIsNotUtf8) {
  const struct {
    const char* name;
    const char* text;
  } cases[] = {{"lone trail byte", "a\x80"},
               {"cut after one", "\xC3"},
               {"cut after two", "\xE2\x82"},
               {"cut after three", "\xF0\x9F\x98"},
               {"broken by ASCII", "\xE2\x82x"},
               {"broken by a lead", "\xC3\xC3\xA9"},
               {"overlong slash", "\xC0\xAF"},
               {"overlong in three", "\xE0\x9F\xBF"},
               {"overlong in four", "\xF0\x8F\xBF\xBF"},
               {"high surrogate", "\xED\xA0\x80"},
               {"low surrogate", "\xED\xBF\xBF"},
               {"beyond the last", "\xF4\x90\x80\x80"},
               {"lead of five", "\xF8\x88\x80\x80\x80"},
               {"never a byte", "\xFF"}};
  for (const auto& [name, text] : cases)
    EXPECT_FALSE(ToWide(text)) << name;
}

TEST(Text, ReplacesHalfSurrogatePairs) {
  const CustomBidiChar high = 0xD83D;
  const CustomBidiChar low = 0xDE00;
  const CustomBidiChar letter = 'x';
  EXPECT_EQ(ToUtf8(WideString{high}), "\xEF\xBF\xBD");
  EXPECT_EQ(ToUtf8(WideString{low, high, letter}), "\xEF\xBF\xBD\xEF\xBF\xBDx");
  EXPECT_EQ(ToUtf8(WideString{high, high, low}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

}  // namespace
}  // namespace custom_bidi_tools
