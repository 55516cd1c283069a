// The credential vault of either lane.

#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

#include "tests/ixo/vault_fixture.h"

namespace custom_bidi::vault {
namespace {

constexpr WCHAR kTarget[] = W("vault_tests.target");
constexpr WCHAR kUser[] = W("user");

TEST_F(VaultTest, GivesBackWhatItWasGiven) {
  std::string every_byte(256, '\0');
  std::iota(every_byte.rbegin(), every_byte.rend(), static_cast<char>(0));
  for (const std::string& bytes :
       {std::string(), std::string("\0a\0\0b\0", 6), every_byte, std::string(kMaxEntryBytes, 'M')}) {
    SCOPED_TRACE(bytes.size());
    EXPECT_EQ(Present(kTarget, kUser), "no");
    EXPECT_EQ(Load(kTarget, kUser), "code 1168");
    EXPECT_EQ(Delete(kTarget, kUser), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(Save(kTarget, kUser, bytes), 0u);
    EXPECT_EQ(Save(kTarget, kUser, std::string(kMaxEntryBytes + 1, 'M')), kTooLarge);
    EXPECT_EQ(Present(kTarget, kUser), "yes");
    EXPECT_EQ(Load(kTarget, kUser), bytes);
    EXPECT_EQ(Delete(kTarget, kUser), 0u);
  }
}

TEST_F(VaultTest, TellsNamesApart) {
  // Each target with its user behind it.
  std::vector<WString> names(1);
  for (const char16_t unit :
       std::u16string_view(u"vt.a~b/c~vt.a/b~c~vt.a~b~vt.b~vt.a~vt.a~B~vt.A~b~vt.^a~b~vt.%0041~b~vt.a\\b~c~"
                           "vt.a_b~c~vt.a|b~c~vt.a:b~c~vt.a*~?~vt.a b~ ~vt.a b ~c~vt.\"a'~..~vt.../../a~.~"
                           "vt.\u00e9~\u00fc~vt.\u00c9~\u00fc~vt.e\u0301~\u00fc~vt.\u5370\u5237~\u30d7\u30ea~"
                           "vt.\U0001F600~\U0001F5A8~vt.\r\n\t~\x7f~")) {
    if (unit == u'~') {
      names.emplace_back();
    } else {
      names.back() += static_cast<WCHAR>(unit);
    }
  }
  for (size_t i = 0; i + 1 < names.size(); i += 2) {
    ASSERT_EQ(Save(names[i], names[i + 1], std::to_string(i)), 0u) << i;
  }
  for (size_t i = 0; i + 1 < names.size(); i += 2) {
    EXPECT_EQ(Load(names[i], names[i + 1]), std::to_string(i));
    EXPECT_EQ(Delete(names[i], names[i + 1]), 0u) << i;
    EXPECT_EQ(Present(names[i], names[i + 1]), "no") << i;
  }
}

TEST_F(VaultTest, RefusesNamesThatNameNothing) {
  const WString kNul(W("a\0b"), 3);
  const std::tuple<WString, WString, DWORD> kCases[] = {
      {W(""), kUser, ERROR_INVALID_PARAMETER},
      {kTarget, W(""), ERROR_INVALID_PARAMETER},
      {kNul, kUser, ERROR_INVALID_NAME},
      {kTarget, kNul, ERROR_INVALID_NAME},
      {WString(kMaxTargetChars + 1, W('t')), kUser, ERROR_FILENAME_EXCED_RANGE},
      {kTarget, WString(kMaxUserChars + 1, W('u')), ERROR_FILENAME_EXCED_RANGE},
  };
  for (size_t i = 0; const auto& [target, user, code] : kCases) {
    SCOPED_TRACE(i++);
    EXPECT_EQ(Save(target, user, "x"), code);
    EXPECT_EQ(Load(target, user), InWords(code));
    EXPECT_EQ(Present(target, user), InWords(code));
    EXPECT_EQ(Delete(target, user), code);
  }
}

TEST(SecureBytes, AreWipedBeforeTheyAreGivenBack) {
  std::string memory(32, 'Z');
  Wipe(memory.data(), memory.size() - 1);
  EXPECT_EQ(memory, std::string(31, '\0') + 'Z');
}

}  // namespace
}  // namespace custom_bidi::vault
