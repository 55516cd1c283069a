#include "pal/registry_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <random>

#include "pal/text.h"
#include "tests/pal/pal_fixture.h"

namespace {

using pal::RegistryFile;
using pal::RegistryValue;
using Bytes = std::vector<BYTE>;

const char kHeader[] = "Windows Registry Editor Version 5.00\n\n[K]\n";

std::string Utf16Le(const std::u16string& text) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

// The value `name` of the key K that the lines make: its type and its bytes, or type -1.
std::pair<int, Bytes> ValueIn(const std::string& lines, std::u16string_view name = u"v") {
  const RegistryFile registry = RegistryFile::Parse(kHeader + lines);
  const RegistryValue* value = registry.FindValue(u"K", name);
  return value ? std::pair(static_cast<int>(value->type), value->data) : std::pair(-1, Bytes());
}

std::pair<int, Bytes> TextValue(std::u16string_view text) {
  return {1, RegistryValue::FromText(text).data};
}

TEST(RegistryFile, ReadsValues) {
  const std::pair<int, Bytes> none = {-1, {}};
  const struct {
    const char* name;
    std::string lines;
    std::pair<int, Bytes> value;
  } cases[] = {
      {"dword", "\"v\"=dword:00000001", {4, {1, 0, 0, 0}}},
      {"dword with a comment", "\"v\"=dword:ABCdef01 ; on", {4, {0x01, 0xEF, 0xCD, 0xAB}}},
      {"short dword", "\"v\"=dword:1f", {4, {0x1F, 0, 0, 0}}},
      {"long dword", "\"v\"=dword:000000001", none},
      {"dword without digits", "\"v\"=dword:", none},
      {"dword with a letter", "\"v\"=dword:0000000g", none},
      {"text", "\"v\"=\"text\"", TextValue(u"text")},
      {"text with escapes", R"("v"="\"a\\b\"")", TextValue(u"\"a\\b\"")},
      {"text with a single backslash", R"("v"="C:\temp\x")", TextValue(u"C:\\temp\\x")},
      {"text with a semicolon", R"("v"="a;b" ; c)", TextValue(u"a;b")},
      {"empty text", "\"v\"=\"\"", TextValue(u"")},
      {"text from UTF-8", "\"v\"=\"\xC3\xA4\xF0\x9F\x98\x80\"", TextValue(u"ä\U0001F600")},
      {"text without an end", "\"v\"=\"text", none},
      {"text with something behind it", "\"v\"=\"text\" more", none},
      {"text that ends in an escape", "\"v\"=\"text\\", none},
      {"bytes", "\"v\"=hex:01,ab,FF", {3, {1, 0xAB, 0xFF}}},
      {"no bytes", "\"v\"=hex:", {3, {}}},
      {"bytes over three lines", "\"v\"=hex:01,\\\r\n  02,\\ ; more\n\t03\n\"w\"=\"x\"", {3, {1, 2, 3}}},
      {"bytes that go on at the end of the file", "\"v\"=hex:01,\\", none},
      {"bytes with blanks", "\"v\" = hex: 01, 2 ,03,", {3, {1, 2, 3}}},
      {"bytes with a hole", "\"v\"=hex:01,,02", none},
      {"bytes of three digits", "\"v\"=hex:001", none},
      {"text as bytes", "\"v\"=hex(1):31,00", {1, {0x31, 0}}},
      {"expandable text", "\"v\"=hex(2):25,00,00,00", {2, {0x25, 0, 0, 0}}},
      {"several texts", "\"v\"=hex(7):61,00,00,00,00,00", {7, {0x61, 0, 0, 0, 0, 0}}},
      {"quadword", "\"v\"=HEX(B):01,00,00,00,00,00,00,80", {11, {1, 0, 0, 0, 0, 0, 0, 0x80}}},
      {"type without digits", "\"v\"=hex():01", none},
      {"type without an end", "\"v\"=hex(1:01", none},
      {"no data", "\"v\"=", none},
      {"no equals sign", "\"v\" dword:1", none},
      {"unknown kind", "\"v\"=qword:1", none},
      {"the later one counts", "\"v\"=dword:1\n\"V\"=dword:2", {4, {2, 0, 0, 0}}},
      {"removed", "\"v\"=dword:1\n\"V\"=-", none},
      {"removed and set", "\"v\"=-\n\"v\"=dword:1", {4, {1, 0, 0, 0}}},
      {"behind a malformed line", "\"v\n=\n[\n[K]\n\"v\"=dword:1", {4, {1, 0, 0, 0}}},
      {"behind a malformed key", "[K\n\"v\"=dword:1", none},
      {"behind a comment", ";[L]\n\"v\"=dword:1", {4, {1, 0, 0, 0}}},
      {"indented, CR LF", "\t \"v\"=dword:1 \r\n", {4, {1, 0, 0, 0}}},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ValueIn(c.lines), c.value) << c.name;
  EXPECT_EQ(ValueIn("@=\"x\"", u""), TextValue(u"x")) << "the unnamed value";
  EXPECT_EQ(ValueIn(R"("a\"b\\c"="x")", u"A\"b\\C"), TextValue(u"x")) << "a name with escapes";
}

TEST(RegistryFile, ReadsKeys) {
  const RegistryFile registry = RegistryFile::Parse(
      "[A\\B\\C]\n[A\\b2]\n\n[A\\Gone\\Below]\n[-a\\GONE]\n[A\\[odd]]  ; "
      "comment\n[\\A]\n[A\\\\D]\n[A\\E\\]\n[]\n");
  EXPECT_EQ(registry.Subkeys(u"A"), (std::vector<std::u16string>{u"B", u"b2", u"[odd]"}));
  EXPECT_TRUE(registry.HasKey(u"a\\b")) << "there for the one below it";
  EXPECT_TRUE(registry.HasKey(u"A\\B\\c"));
  EXPECT_FALSE(registry.HasKey(u"A\\Gone"));
  EXPECT_FALSE(registry.HasKey(u"A\\B\\C\\D"));
  EXPECT_FALSE(registry.HasKey(u"A\\"));
  EXPECT_FALSE(registry.HasKey(u""));
}

TEST(RegistryFile, ReadsEncodings) {
  const std::u16string text = u"[Schlüssel]\r\n\"v\"=\"\U0001F600\"\r\n";
  for (const std::string& bytes :
       {pal::ToUtf8(text), "\xEF\xBB\xBF" + pal::ToUtf8(text), Utf16Le(text), Utf16Le(text) + "x"}) {
    const RegistryFile registry = RegistryFile::Parse(bytes);
    const RegistryValue* value = registry.FindValue(u"SCHLÜSSEL", u"V");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->Text(), u"\U0001F600");
  }
}

TEST(RegistryFile, TextOfAValue) {
  EXPECT_EQ((RegistryValue{1, {0x61, 0}}).Text(), u"a") << "without its NUL";
  EXPECT_EQ((RegistryValue{1, {0x61, 0, 0x62}}).Text(), u"a") << "an odd number of bytes";
  EXPECT_EQ((RegistryValue{1, {0x61, 0, 0, 0, 0x62, 0}}).Text(), u"a") << "more behind the NUL";
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

  for (const std::u16string& key :
       {std::u16string(), std::u16string(u"\\A"), std::u16string(u"A\\"), std::u16string(u"A\\\\B"),
        std::u16string(u"-A"), std::u16string(u"A\nB"), std::u16string{0xD83D}}) {
    EXPECT_FALSE(registry.AddKey(key)) << pal::ToUtf8(key);
  }
  EXPECT_FALSE(registry.SetValue(u"A", u"a\nb", RegistryValue::FromDword(1)));
  EXPECT_FALSE(registry.HasKey(u"A")) << "a refused value leaves no key behind";
}

TEST(RegistryFile, WritesWhatItReadsBack) {
  RegistryFile registry;
  const std::pair<std::u16string, RegistryValue> values[] = {
      {u"", RegistryValue::FromText(u"unnamed")},
      {u"quotes \" and \\", RegistryValue::FromText(u"\"C:\\temp\\\"")},
      {u"many lines", RegistryValue::FromText(u"a\r\nb")},
      {u"with a NUL", {1, {0x61, 0, 0, 0, 0x62, 0, 0, 0}}},
      {u"half a pair", {1, {0x3D, 0xD8, 0, 0}}},
      {u"odd", {1, {0x61}}},
      {u"ends in a backslash", RegistryValue::FromText(u"C:\\")},
      {u"emoji \U0001F600", RegistryValue::FromText(u"\U0001F600")},
      {u"dword", RegistryValue::FromDword(0x0000ABCD)},
      {u"short dword", {4, {1, 2}}},
      {u"long", {3, Bytes(1000, 0xAB)}},
      {u"nothing", {0, {}}},
      {u"high type", {0xFFFF0010, {1}}},
  };
  for (const auto& [name, value] : values)
    ASSERT_TRUE(registry.SetValue(u"A\\[b];c", name, value));
  ASSERT_TRUE(registry.AddKey(u"A\\Empty"));

  const RegistryFile again = RegistryFile::Parse(registry.Serialise());
  for (const auto& [name, value] : values) {
    const RegistryValue* found = again.FindValue(u"A\\[b];c", name);
    ASSERT_NE(found, nullptr) << pal::ToUtf8(name);
    EXPECT_EQ(found->type, value.type) << pal::ToUtf8(name);
    EXPECT_EQ(found->data, value.data) << pal::ToUtf8(name);
  }
  EXPECT_TRUE(again.HasKey(u"A\\Empty"));
  EXPECT_EQ(again.Serialise(), registry.Serialise());
}

// Lines made of the pieces of the format, in no sensible order.
std::string Garbage(std::mt19937& random) {
  const std::string_view pieces[] = {
      "[",    "]",   "\\",    "\"",    "=",     "@",  "-",  "hex:",        "hex(1):", "dword:",
      ",",    "0",   "ff",    "A",     "b",     ";",  " ",  "\n",          "\r\n",    "\xC3\xA4",
      "\xFF", "[A]", "\"a\"", "=hex:", ",\\\n", "\t", "\r", "\xED\xA0\x80"};
  std::string text = random() % 8 == 0 ? "\xFF\xFE" : "[A]\n";
  for (size_t count = random() % 60; count > 0; --count)
    text += pieces[random() % std::size(pieces)];
  if (random() % 4 == 0)
    text += '\0';
  return text;
}

TEST(RegistryFile, GarbageReadsAsWhatItIsWrittenAs) {
  std::mt19937 random(1);
  for (int round = 0; round < 5000; ++round) {
    const std::string garbage = Garbage(random);
    const std::string once = RegistryFile::Parse(garbage).Serialise();
    ASSERT_EQ(RegistryFile::Parse(once).Serialise(), once) << garbage;
  }
}

TEST(RegistryFile, TimeIsLinear) {
  const auto seconds_for = [](const std::string& text) {
    const auto start = std::chrono::steady_clock::now();
    RegistryFile::Parse(text);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  // 2 to 4 MB each; quadratic work on any of them takes minutes.
  const auto repeated = [](std::string_view piece, size_t count) {
    std::string text = kHeader;
    for (; count > 0; --count)
      text += piece;
    return text;
  };
  for (const std::string& text :
       {repeated("\"v\"=hex:01,\\\n", 200000), "[K]\n\"v\"=hex:" + repeated("01,\\\n", 500000),
        repeated("A\\", 1000000), repeated("[-K]\n[K]\n", 200000), repeated("[", 2000000),
        repeated("\"\\\"", 1000000), "[K\\" + repeated("a\\", 1000000) + "b]"}) {
    EXPECT_LT(seconds_for(text), 20.0) << text.substr(0, 80);
  }
}

class RegistryFileOnDisk : public PalTest {};

TEST_F(RegistryFileOnDisk, SavesInPlace) {
  const auto path = home_ / "new" / "registry.reg";
  RegistryFile registry;
  registry.SetValue(u"A", u"v", RegistryValue::FromDword(1));
  ASSERT_EQ(registry.Save(path), 0u);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  registry.SetValue(u"A", u"v", RegistryValue::FromDword(2));
  ASSERT_EQ(registry.Save(path), 0u);

  RegistryFile again;
  ASSERT_EQ(RegistryFile::Load(path, &again), 0u);
  EXPECT_EQ(again.Serialise(), registry.Serialise());
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1)
      << "nothing else is left";
}

TEST_F(RegistryFileOnDisk, MissingFileIsEmpty) {
  RegistryFile registry;
  registry.AddKey(u"A");
  EXPECT_EQ(RegistryFile::Load(home_ / "none" / "registry.reg", &registry), 0u);
  EXPECT_FALSE(registry.HasKey(u"A"));
  EXPECT_EQ(RegistryFile::Load(home_, &registry), DWORD{ERROR_ACCESS_DENIED}) << "a folder";
}

TEST_F(RegistryFileOnDisk, FailedSaveSaysSo) {
  const auto file = WriteFileIn("file", "");
  RegistryFile registry;
  EXPECT_NE(registry.Save(file / "registry.reg"), 0u);
  std::filesystem::create_directory(home_ / "folder");
  WriteFileIn("folder/inside", "");
  EXPECT_NE(registry.Save(home_ / "folder"), 0u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home_), {}), 2) << "nothing else is left";
}

}  // namespace
