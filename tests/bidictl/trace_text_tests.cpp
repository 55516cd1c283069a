#include "tools/bidictl/trace_text.h"

#include <gtest/gtest.h>

namespace custom_bidi_tools {
namespace {

std::string FileBytes(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

TEST(TraceDecoder, IsTheSameForEveryCutOfTheFile) {
  const std::string bytes = FileBytes(u"[09:05:03.007]  Größe \U0001F600\r\nr\ralone\r\n\nend\r\n");
  const std::string expected =
      "[09:05:03.007]  Gr\xC3\xB6\xC3\x9F"
      "e \xF0\x9F\x98\x80\nr\ralone\n\nend\n";
  for (size_t first = 0; first <= bytes.size(); ++first) {
    for (size_t second = first; second <= bytes.size(); ++second) {
      TraceDecoder decoder;
      std::string text = decoder.Decode(bytes.substr(0, first));
      text += decoder.Decode(bytes.substr(first, second - first));
      text += decoder.Decode(bytes.substr(second));
      EXPECT_EQ(text + decoder.Finish(), expected) << first << ", " << second;
    }
  }
}

TEST(TraceDecoder, TellsWhatIsNoCharacter) {
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  const struct {
    const char* name;
    std::string bytes;
    const char* text;
  } cases[] = {
      {"odd byte at the end", FileBytes(u"a") + "b", "a\xEF\xBF\xBD"},
      {"high surrogate at the end", FileBytes(std::u16string{u'a', high}), "a\xEF\xBF\xBD"},
      {"high surrogate and an odd byte", FileBytes(std::u16string{high}) + "b", "\xEF\xBF\xBD"},
      {"low surrogate alone", FileBytes(std::u16string{low, u'a'}),
       "\xEF\xBF\xBD"
       "a"},
      {"two high surrogates", FileBytes(std::u16string{high, high, low}), "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
      {"high surrogate before a line end", FileBytes(std::u16string{high, u'\r', u'\n'}), "\xEF\xBF\xBD\n"},
      {"carriage return at the end", FileBytes(u"a\r"), "a\r"}};
  for (const auto& expected : cases) {
    TraceDecoder decoder;
    const std::string text = decoder.Decode(expected.bytes);
    EXPECT_EQ(text + decoder.Finish(), expected.text) << expected.name;
    EXPECT_EQ(decoder.Decode(FileBytes(u"new")), "new") << expected.name;
  }
}

}  // namespace
}  // namespace custom_bidi_tools
