#include "base/utf.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(Utf, Utf8ToUtf16) {
  const std::pair<std::string_view, std::u16string> cases[] = {
      // "?" stands for U+FFFD
      {"", u""},
      {"az", u"az"},
      {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
      {"\xE0\xA0\x80\xEF\xBF\xBF", u"\u0800\uFFFF"},
      {"\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
      {"x\xF0\x9F\x98\x80y", u"x\U0001F600y"},
      {"a\x80\xBFz", u"a??z"},
      {"a\xC3", u"a?"},
      {"\xE2", u"?"},
      {"\xE2\x82", u"?"},
      {"\xF0\x9F\x98", u"?"},
      {"\xC3z\xE2\x82z\xF0\x9F\x98z", u"?z?z?z"},
      {"\xE2\x82\xC3\xA4", u"?ä"},
      {"\xC0\x80\xC1\xBF", u"????"},  // overlong
      {"\xE0\x80\x80\xE0\x9F\xBF", u"??????"},
      {"\xF0\x80\x80\x80", u"????"},
      {"\xED\xA0\x80\xED\xBF\xBF", u"??????"},  // surrogates
      {"\xF4\x90\x80\x80", u"????"},            // too high
      {"\xF5\xF8\xFC\xFE\xFF", u"?????"},
  };
  for (auto [utf8, utf16] : cases) {
    std::ranges::replace(utf16, u'?', u'\xFFFD');
    EXPECT_EQ(base::ToUtf16(utf8), utf16) << utf8;
  }
}

TEST(Utf, Utf16ToUtf8) {
  const std::tuple<std::u16string, const char*, bool> cases[] = {
      {u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF",
       "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true},
      {{u'a', 0xD83D}, "a\xEF\xBF\xBD", false},
      {{0xD83D, u'z'}, "\xEF\xBF\xBDz", false},
      {{0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80", false},
      {{0xDE00, u'z'}, "\xEF\xBF\xBDz", false},
      {{0xDE00, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD", false},
  };
  for (const auto& [utf16, utf8, is_valid] : cases) {
    EXPECT_EQ(base::ToUtf8(utf16), utf8);
    EXPECT_EQ(base::IsValidUtf16(utf16), is_valid) << utf8;
  }
}

TEST(Utf, FoldCase) {
  EXPECT_EQ(base::FoldCase(u"Debug Trace_1 Größe ÿ łódź ž ħ"),
            base::FoldCase(u"DEBUG tRACE_1 GRÖßE Ÿ ŁÓDŹ Ž Ħ"));
  EXPECT_EQ(base::FoldCase(u"σμήν принтер ё"), base::FoldCase(u"ΣΜήΝ ПРИНТЕР Ё"));
  EXPECT_EQ(base::FoldCase(u"÷ßı_@{"), u"÷ßı_@{");
}

}  // namespace
