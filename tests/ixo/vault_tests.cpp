// The credential vault of either lane.

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/ixo/vault_fixture.h"

namespace custom_bidi::vault {
namespace {

constexpr WCHAR kTarget[] = W("vault_tests.target");
constexpr WCHAR kUser[] = W("user");

std::string EveryByte() {
  std::string bytes;
  for (int byte = 255; byte >= 0; --byte) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

TEST_F(VaultTest, GivesBackWhatItWasGiven) {
  const std::string kCases[] = {"x",         std::string(1, '\0'),   std::string("\0a\0\0b\0", 6),
                                EveryByte(), std::string(2560, 'm'), std::string(kMaxEntryBytes, 'M')};
  for (const std::string& bytes : kCases) {
    SCOPED_TRACE(bytes.size());
    EXPECT_EQ(Save(kTarget, kUser, bytes), 0u);
    EXPECT_EQ(Present(kTarget, kUser), "yes");
    EXPECT_EQ(Load(kTarget, kUser), bytes);
  }
}

TEST_F(VaultTest, KeepsAnEntryWithoutBytes) {
  EXPECT_EQ(Save(kTarget, kUser, ""), 0u);
  EXPECT_EQ(Present(kTarget, kUser), "yes");
  EXPECT_EQ(Load(kTarget, kUser), "");
}

TEST_F(VaultTest, KeepsTheOldBytesWhenTheNewAreTooMany) {
  EXPECT_EQ(Save(kTarget, kUser, "old"), 0u);
  EXPECT_EQ(Save(kTarget, kUser, std::string(kMaxEntryBytes + 1, 'M')), kTooLarge);
  EXPECT_EQ(Load(kTarget, kUser), "old");
}

TEST_F(VaultTest, KnowsNothingOfWhatIsNotThere) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Load(kTarget, kUser), "code 1168");
    EXPECT_EQ(Present(kTarget, kUser), "no");
    EXPECT_EQ(Delete(kTarget, kUser), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(Save(kTarget, kUser, "once"), 0u);
    EXPECT_EQ(Delete(kTarget, kUser), 0u);
  }
}

TEST_F(VaultTest, TellsNamesApart) {
  const std::pair<WString, WString> kNames[] = {
      {W("vt.a"), W("b/c")},
      {W("vt.a/b"), W("c")},
      {W("vt.a"), W("b")},
      {W("vt.b"), W("vt.a")},
      {W("vt.a"), W("B")},
      {W("vt.A"), W("b")},
      {W("vt.^a"), W("b")},
      {W("vt.%0041"), W("b")},
      {W("vt.a\\b"), W("c")},
      {W("vt.a_b"), W("c")},
      {W("vt.a|b"), W("c")},
      {W("vt.a:b"), W("c")},
      {W("vt.a*"), W("?")},
      {W("vt.a b"), W(" ")},
      {W("vt.a b "), W("c")},
      {W("vt.\"a'"), W("..")},
      {W("vt.../../a"), W(".")},
      {W("vt.\u00e9"), W("\u00fc")},
      {W("vt.\u00c9"), W("\u00fc")},
      {W("vt.e\u0301"), W("\u00fc")},
      {W("vt.\u5370\u5237"), W("\u30d7\u30ea\u30f3\u30bf")},
      {W("vt.\U0001F600"), W("\U0001F5A8")},
      {W("vt.\r\n\t"), W("\x7f")},
  };
  const auto own = [](size_t i) { return "bytes of " + std::to_string(i); };
  for (size_t i = 0; i < std::size(kNames); ++i) {
    ASSERT_EQ(Save(kNames[i].first, kNames[i].second, own(i)), 0u) << i;
  }
  for (size_t gone = 0; gone < std::size(kNames); ++gone) {
    EXPECT_EQ(Load(kNames[gone].first, kNames[gone].second), own(gone)) << gone;
    EXPECT_EQ(Delete(kNames[gone].first, kNames[gone].second), 0u) << gone;
    EXPECT_EQ(Present(kNames[gone].first, kNames[gone].second), "no") << gone;
  }
}

TEST_F(VaultTest, RefusesNamesThatNameNothing) {
  const WString kNul(W("a\0b"), 3);
  const struct {
    const char* name;
    WString target;
    WString user;
    DWORD code;
  } kCases[] = {
      {"no target", W(""), kUser, ERROR_INVALID_PARAMETER},
      {"no user", kTarget, W(""), ERROR_INVALID_PARAMETER},
      {"NUL in the target", kNul, kUser, ERROR_INVALID_NAME},
      {"NUL in the user", kTarget, kNul, ERROR_INVALID_NAME},
      {"long target", WString(kMaxTargetChars + 1, W('t')), kUser, ERROR_FILENAME_EXCED_RANGE},
      {"long user", kTarget, WString(kMaxUserChars + 1, W('u')), ERROR_FILENAME_EXCED_RANGE},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    const std::string code = "code " + std::to_string(test.code);
    EXPECT_EQ(Save(test.target, test.user, "x"), test.code);
    EXPECT_EQ(Load(test.target, test.user), code);
    EXPECT_EQ(Present(test.target, test.user), code);
    EXPECT_EQ(Delete(test.target, test.user), test.code);
  }
}

/// Runs the program that is another process with the same vault; its exit code.
int Visit(const std::string& arguments) {
  // cmd.exe takes away the outer quotes.
  const std::string command = "\"" VAULT_VISITOR "\" " + arguments;
  return std::system(
      (std::filesystem::path::preferred_separator == '\\' ? "\"" + command + "\"" : command).c_str());
}

TEST_F(VaultTest, IsTheSameInEveryProcess) {
  EXPECT_EQ(Save(W("vt.mine"), W("u"), "first"), 0u);
  EXPECT_EQ(Visit("load vt.mine u first"), 0);
  EXPECT_EQ(Visit("save vt.mine u second"), 0);
  EXPECT_EQ(Visit("load vt.mine u second"), 0);
  EXPECT_EQ(Load(W("vt.mine"), W("u")), "second");
  EXPECT_EQ(Visit("delete vt.mine u"), 0);
  EXPECT_EQ(Present(W("vt.mine"), W("u")), "no");
}

TEST_F(VaultTest, LosesNothingOfManyThreads) {
  constexpr int kThreads = 6;
  constexpr int kRounds = 8;
  const auto user = [](int thread, int round) {
    return WString(static_cast<size_t>(thread) + 1, W('t')) + WString(static_cast<size_t>(round) + 1, W('r'));
  };
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int round = 0; round < kRounds; ++round) {
      ASSERT_EQ(Save(kTarget, user(thread, round), "old"), 0u);
    }
  }
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      constexpr BYTE kNew[] = {'n', 'e', 'w'};
      for (int round = 0; round < kRounds; ++round) {
        const WString mine = user(thread, round);
        EXPECT_EQ(vault::Save(kTarget, mine, kNew), 0u);
        EXPECT_EQ(Load(kTarget, mine), "new");
        if (round % 2 == 0) {
          EXPECT_EQ(Delete(kTarget, mine), 0u);
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(Load(kTarget, user(thread, round)), round % 2 == 0 ? "code 1168" : "new");
    }
  }
}

TEST(SecureBytes, AreWipedBeforeTheyAreGivenBack) {
  BYTE memory[32];
  std::fill(std::begin(memory), std::end(memory), BYTE{0x5A});
  Wipe(memory, sizeof(memory) - 1);
  EXPECT_EQ(std::count(std::begin(memory), std::end(memory), 0), 31);
  EXPECT_EQ(memory[31], 0x5A);
}

}  // namespace
}  // namespace custom_bidi::vault
