#include <gtest/gtest.h>

#include <random>

#include "pal/text.h"

namespace {

// "?" stands for U+FFFD in what is expected.
std::u16string WithReplacements(std::u16string text) {
  for (char16_t& unit : text)
    unit = unit == u'?' ? u'\xFFFD' : unit;
  return text;
}

TEST(Text, Utf8ToUtf16) {
  const struct {
    const char* name;
    std::string_view utf8;
    const char16_t* utf16;
  } cases[] = {
      {"empty", "", u""},
      {"plain", "az", u"az"},
      {"two bytes, first and last", "\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
      {"three bytes, first and last", "\xE0\xA0\x80\xEF\xBF\xBF", u"\u0800\uFFFF"},
      {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
      {"four bytes, first and last", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
      {"emoji", "x\xF0\x9F\x98\x80y", u"x\U0001F600y"},
      {"stray trail bytes", "a\x80\xBFz", u"a??z"},
      {"two bytes cut at the end", "a\xC3", u"a?"},
      {"three bytes cut after one", "\xE2", u"?"},
      {"three bytes cut after two", "\xE2\x82", u"?"},
      {"four bytes cut after three", "\xF0\x9F\x98", u"?"},
      {"cut by a letter", "\xC3z\xE2\x82z\xF0\x9F\x98z", u"?z?z?z"},
      {"cut by another lead", "\xE2\x82\xC3\xA4", u"?ä"},
      {"overlong in two bytes", "\xC0\x80\xC1\xBF", u"????"},
      {"overlong in three bytes", "\xE0\x80\x80\xE0\x9F\xBF", u"??????"},
      {"overlong in four bytes", "\xF0\x80\x80\x80", u"????"},
      {"surrogates", "\xED\xA0\x80\xED\xBF\xBF", u"??????"},
      {"too high", "\xF4\x90\x80\x80", u"????"},
      {"no lead bytes", "\xF5\xF8\xFC\xFE\xFF", u"?????"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(pal::ToUtf16(c.utf8), WithReplacements(c.utf16)) << c.name;
}

TEST(Text, Utf16ToUtf8) {
  const struct {
    const char* name;
    std::u16string utf16;
    const char* utf8;
    bool is_valid;
  } cases[] = {
      {"plain", u"az", "az", true},
      {"all lengths", u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF",
       "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true},
      {"lead alone at the end", {u'a', 0xD83D}, "a\xEF\xBF\xBD", false},
      {"lead before a letter", {0xD83D, u'z'}, "\xEF\xBF\xBDz", false},
      {"two leads and a trail", {0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80", false},
      {"trail alone", {0xDE00, u'z'}, "\xEF\xBF\xBDz", false},
      {"the wrong way round", {0xDE00, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(pal::ToUtf8(c.utf16), c.utf8) << c.name;
    EXPECT_EQ(pal::IsValidUtf16(c.utf16), c.is_valid) << c.name;
  }
}

TEST(Text, EveryCodePointSurvives) {
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c == 0xD800)
      c = 0xE000;
    std::u16string text;
    if (c < 0x10000) {
      text = {static_cast<char16_t>(c)};
    } else {
      text = {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
    }
    ASSERT_EQ(pal::ToUtf16(pal::ToUtf8(text)), text) << static_cast<uint32_t>(c);
  }
}

TEST(Text, AnyBytesBecomeValidText) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 40, 0);
    for (char& byte : bytes)
      byte = static_cast<char>(random() % 4 == 0 ? random() : 0x80 | random());
    const std::u16string text = pal::ToUtf16(bytes);
    EXPECT_TRUE(pal::IsValidUtf16(text));
    EXPECT_EQ(pal::ToUtf16(pal::ToUtf8(text)), text);
  }
}

TEST(Text, FoldCase) {
  const std::pair<std::u16string, std::u16string> same[] = {
      {u"Debug Trace_1", u"DEBUG tRACE_1"}, {u"Größe ÿ", u"GRÖßE Ÿ"},
      {u"łódź ž ħ", u"ŁÓDŹ Ž Ħ"},           {u"σμήν", u"ΣΜήΝ"},
      {u"принтер ё", u"ПРИНТЕР Ё"},
  };
  for (const auto& [a, b] : same)
    EXPECT_EQ(pal::FoldCase(a), pal::FoldCase(b)) << pal::ToUtf8(a);
  for (const char16_t* alone : {u"÷", u"ß", u"ı", u"_", u"@", u"{"})
    EXPECT_EQ(pal::FoldCase(alone), alone) << pal::ToUtf8(alone);
}

}  // namespace
