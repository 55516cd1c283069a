// Texts, and the file that stands for the registry.

#include "base/home_registry.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <tuple>

#include "base/utf.h"
#include "tests/pal/pal_fixture.h"

namespace {

using base::RegistryFile;
using base::RegistryValue;
using Bytes = std::vector<BYTE>;

const char kHeader[] = "Windows Registry Editor Version 5.00\n\n[K]\n";

// The value `name` of the key K that the lines make: its type and its bytes, or type -1.
std::pair<int, Bytes> ValueIn(const std::string& lines, std::u16string_view name = u"v") {
  const RegistryFile registry = RegistryFile::Parse(kHeader + lines);
  const RegistryValue* value = registry.FindValue(u"K", name);
  return value != nullptr ? std::pair(static_cast<int>(value->type), value->data) : std::pair(-1, Bytes());
}

std::pair<int, Bytes> TextValue(std::u16string_view text) {
  return {1, RegistryValue::FromText(text).data};
}

TEST(RegistryFile, ReadsValues) {
  const std::pair<std::string, std::pair<int, Bytes>> cases[] = {
      {"\"v\"=dword:ABCdef01 ; on", {4, {0x01, 0xEF, 0xCD, 0xAB}}},
      {"\"v\"=\"text\"", TextValue(u"text")},
      {R"("v"="\"a\\b\"")", TextValue(u"\"a\\b\"")},
      {R"("v"="C:\temp\x")", TextValue(u"C:\\temp\\x")},
      {R"("v"="a;b" ; c)", TextValue(u"a;b")},
      {"\"v\"=\"\xC3\xA4\xF0\x9F\x98\x80\"", TextValue(u"ä\U0001F600")},
      {"\"v\"=hex:01,ab,FF", {3, {1, 0xAB, 0xFF}}},
      {"\"v\"=hex:01,\\\r\n  02,\\ ; more\n\t03\n\"w\"=\"x\"", {3, {1, 2, 3}}},
      {"\"v\" = hex: 01, 2 ,03,", {3, {1, 2, 3}}},
      {"\"v\"=HEX(B):01,00,00,00,00,00,00,80", {11, {1, 0, 0, 0, 0, 0, 0, 0x80}}},
      {"\"v\"=dword:1\n\"V\"=dword:2", {4, {2, 0, 0, 0}}},
  };
  for (const auto& [lines, value] : cases) {
    EXPECT_EQ(ValueIn(lines), value) << lines;
  }
  for (const char* lines : {"\"v\"=dword:00000001", "\"v\"=-\n\"v\"=dword:1", "\"v\n=\n[\n[K]\n\"v\"=dword:1",
                            ";[L]\n\"v\"=dword:1", "\t \"v\"=dword:1 \r\n"}) {
    EXPECT_EQ(ValueIn(lines), std::pair(4, Bytes{1, 0, 0, 0})) << lines;
  }
  for (const char* lines :
       {"\"v\"=dword:000000001", "\"v\"=dword:0000000g", "\"v\"=\"text", "\"v\"=\"text\" more",
        "\"v\"=\"text\\", "\"v\"=hex:01,\\", "\"v\"=hex:01,,02", "\"v\"=hex:001", "\"v\"=hex():01",
        "\"v\"=hex(1:01", "\"v\" dword:1", "\"v\"=qword:1", "\"v\"=dword:1\n\"V\"=-", "[K\n\"v\"=dword:1"}) {
    EXPECT_EQ(ValueIn(lines).first, -1) << lines;
  }
  const std::pair<const char*, size_t> malformed[] = {{"", 0},
                                                      {"; x\n\"v\"=hex:01,\\\n  02\n[-L]\n\"w\"=-", 0},
                                                      {"\"v\"=hex:01,\\\n  0g\nx\n", 4},
                                                      {"\n[L\n\"v\"", 5},
                                                      {"x", 4}};
  for (const auto& [lines, number] : malformed) {
    EXPECT_EQ(RegistryFile::Parse(kHeader + std::string(lines)).FirstMalformedLine(), number) << lines;
  }
  EXPECT_EQ(ValueIn("@=\"x\"", u""), TextValue(u"x"));
  EXPECT_EQ(ValueIn(R"("a\"b\\c"="x")", u"A\"b\\C"), TextValue(u"x"));
}

TEST(RegistryFile, ReadsKeys) {
  const RegistryFile registry = RegistryFile::Parse(
      "[A\\B\\C]\n[A\\b2]\n\n[A\\Gone\\Below]\n[-a\\GONE]\n[A\\[odd]]  ; "
      "comment\n[\\A]\n[A\\\\D]\n[A\\E\\]\n[]\n");
  EXPECT_EQ(registry.Subkeys(u"A"), (std::vector<std::u16string>{u"B", u"b2", u"[odd]"}));
  const std::pair<const char16_t*, bool> keys[] = {{u"a\\b", true},     {u"A\\B\\c", true},
                                                   {u"A\\Gone", false}, {u"A\\B\\C\\D", false},
                                                   {u"A\\", false},     {u"", false}};
  for (const auto& [key, is_there] : keys) {
    EXPECT_EQ(registry.HasKey(key), is_there) << base::ToUtf8(key);
  }
}

TEST(RegistryFile, ReadsEncodings) {
  const std::u16string text = u"[Schlüssel]\r\n\"v\"=\"\U0001F600\"\r\n";
  const std::string utf8 = base::ToUtf8(text);
  const std::string utf16 =
      "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), 2 * text.size());
  for (const std::string& bytes : {utf8, "\xEF\xBB\xBF" + utf8, utf16, utf16 + "x"}) {
    const RegistryFile registry = RegistryFile::Parse(bytes);
    const RegistryValue* value = registry.FindValue(u"SCHLÜSSEL", u"V");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->Text(), u"\U0001F600");
  }
}

TEST(RegistryFile, TextOfAValueEndsAtItsNul) {
  for (const Bytes& bytes : {Bytes{0x61, 0}, Bytes{0x61, 0, 0x62}, Bytes{0x61, 0, 0, 0, 0x62, 0}}) {
    EXPECT_EQ((RegistryValue{1, bytes}).Text(), u"a") << bytes.size();
  }
  EXPECT_EQ((RegistryValue{1, {}}).Text(), u"");
  EXPECT_EQ((RegistryValue{3, {0x61, 0}}).Text(), std::nullopt);
}

TEST(RegistryFile, ChangesWhatItHolds) {
  RegistryFile registry;
  EXPECT_TRUE(registry.SetValue(u"A\\Queue", u"Port", RegistryValue::FromText(u"p")));
  EXPECT_TRUE(registry.SetValue(u"a\\queue", u"PORT", RegistryValue::FromText(u"q")));
  EXPECT_EQ(registry.FindValue(u"A\\Queue", u"Port")->Text(), u"q");
  EXPECT_EQ(registry.Subkeys(u"A"), std::vector<std::u16string>{u"Queue"});
  EXPECT_TRUE(registry.AddKey(u"A\\Queue\\Below"));
  EXPECT_TRUE(registry.RemoveValue(u"A\\QUEUE", u"port"));
  EXPECT_FALSE(registry.RemoveValue(u"A\\QUEUE", u"port"));
  EXPECT_TRUE(registry.RemoveKey(u"A\\QUEUE"));
  EXPECT_FALSE(registry.HasKey(u"A\\Queue\\Below"));
  EXPECT_FALSE(registry.RemoveKey(u"A\\Queue"));

  for (const char16_t* key : {u"", u"\\A", u"A\\", u"A\\\\B", u"-A", u"A\nB", u"\xD83D"}) {
    EXPECT_FALSE(registry.AddKey(key)) << base::ToUtf8(key);
  }
  EXPECT_FALSE(registry.SetValue(u"A", u"a\nb", RegistryValue::FromDword(1)));
  EXPECT_FALSE(registry.HasKey(u"A")) << "a refused value leaves no key behind";
}

TEST(RegistryFile, WritesWhatItReadsBack) {
  RegistryFile registry;
  const std::pair<std::u16string, RegistryValue> values[] = {
      {u"", RegistryValue::FromText(u"unnamed")},
      {u"quotes \" and \\", RegistryValue::FromText(u"\"C:\\temp\\\" \U0001F600")},
      {u"many lines", RegistryValue::FromText(u"a\r\nb")},
      {u"with a NUL", {1, {0x61, 0, 0, 0, 0x62, 0, 0, 0}}},
      {u"half a pair", {1, {0x3D, 0xD8, 0, 0}}},
      {u"odd", {1, {0x61}}},
      {u"ends in a backslash", RegistryValue::FromText(u"C:\\")},
      {u"dword", RegistryValue::FromDword(0x0000ABCD)},
      {u"short dword", {4, {1, 2}}},
      {u"long", {3, Bytes(1000, 0xAB)}},
      {u"nothing", {0, {}}},
      {u"high type", {0xFFFF0010, {1}}},
  };
  for (const auto& [name, value] : values) {
    ASSERT_TRUE(registry.SetValue(u"A\\[b];c", name, value));
  }
  ASSERT_TRUE(registry.AddKey(u"A\\Empty"));

  const RegistryFile again = RegistryFile::Parse(registry.Serialise());
  for (const auto& [name, value] : values) {
    const RegistryValue* found = again.FindValue(u"A\\[b];c", name);
    ASSERT_NE(found, nullptr) << base::ToUtf8(name);
    EXPECT_EQ(std::pair(found->type, found->data), std::pair(value.type, value.data)) << base::ToUtf8(name);
  }
  EXPECT_TRUE(again.HasKey(u"A\\Empty"));
  EXPECT_EQ(again.Serialise(), registry.Serialise());
}

TEST(Utf, Utf8ToUtf16) {
  const std::pair<std::string_view, std::u16string> cases[] = {
      // "?" stands for U+FFFD
      {"", u""},
      {"az\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"az\u0080\u07FF\u0800\uFFFF"},
      {"\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz", u"\U00010000\U0010FFFFz"},
      {"a\x80\xBFz", u"a??z"},
      {"a\xC3", u"a?"},
      {"\xE2", u"?"},
      {"\xE2\x82", u"?"},
      {"\xF0\x9F\x98", u"?"},
      {"\xC3z\xE2\x82z\xF0\x9F\x98z", u"?z?z?z"},
      {"\xE2\x82\xC3\xA4", u"?ä"},
      {"\xC0\x80\xC1\xBF\xE0\x80\x80\xE0\x9F\xBF\xF0\x80\x80\x80", u"??????????????"},  // overlong
      {"\xED\xA0\x80\xED\xBF\xBF", u"??????"},                                          // surrogates
      {"\xF4\x90\x80\x80\xF5\xF8\xFC\xFE\xFF", u"?????????"},                           // too high
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

using RegistryFileOnDisk = PalTest;

TEST_F(RegistryFileOnDisk, IsSavedInPlaceOrNotAtAll) {
  const auto files_in = [](const auto& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  };
  const auto path = folder_ / "new" / "registry.reg";
  RegistryFile registry;
  ASSERT_EQ(registry.Save(path), 0u);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  registry.SetValue(u"A", u"v", RegistryValue::FromDword(1));
  ASSERT_EQ(registry.Save(path), 0u);
  RegistryFile again;
  ASSERT_EQ(RegistryFile::Load(path, &again), 0u);
  EXPECT_EQ(again.Serialise(), registry.Serialise());
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms{0640});
  EXPECT_EQ(files_in(path.parent_path()), 1) << "nothing else is left";

  EXPECT_EQ(RegistryFile::Load(folder_ / "none" / "registry.reg", &again), 0u);
  EXPECT_FALSE(again.HasKey(u"A")) << "a missing file is empty";
  EXPECT_EQ(RegistryFile::Load(folder_, &again), DWORD{ERROR_ACCESS_DENIED}) << "a folder";
  EXPECT_NE(registry.Save(WriteFileIn("file", "") / "registry.reg"), 0u);
  WriteFileIn("folder/inside", "");
  EXPECT_NE(registry.Save(folder_ / "folder"), 0u);
  EXPECT_EQ(files_in(folder_), 3) << "nothing else is left";
}

}  // namespace
