// The vault as a file: who may read it, what damage does to it, what it gives away. Natively alone.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <sstream>

#include "tests/ixo/vault_fixture.h"

namespace custom_bidi::vault {
namespace {

namespace fs = std::filesystem;

constexpr WCHAR kTarget[] = W("target");
constexpr WCHAR kUser[] = W("user");

std::string Read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

void Write(const fs::path& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  ASSERT_TRUE(file.flush());
}

/// With one entry in the vault.
class VaultFile : public VaultTest {
 protected:
  VaultFile() { EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u); }

  fs::path Folder() const { return Home() / "vault"; }
  fs::path File() const { return Folder() / "vault"; }
  fs::path Key() const { return Folder() / "key"; }

  static mode_t ModeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  void ExpectEveryCallToFailWith(DWORD code) {
    const std::string words = "code " + std::to_string(code);
    EXPECT_EQ(Load(kTarget, kUser), words);
    EXPECT_EQ(Present(kTarget, kUser), words);
    EXPECT_EQ(Delete(kTarget, kUser), code);
    EXPECT_EQ(Save(kTarget, kUser, "other"), code);
  }
};

TEST_F(VaultFile, IsTheUsersAloneWhateverTheUmask) {
  for (const mode_t umask_now : {mode_t{0}, mode_t{077}}) {
    fs::remove_all(Home());
    const mode_t before = umask(umask_now);
    EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u);
    umask(before);
    EXPECT_EQ(ModeOf(Folder()), 0700u);
    for (const char* name : {"key", "vault", "lock"}) {
      EXPECT_EQ(ModeOf(Folder() / name), 0600u) << name;
    }
    EXPECT_FALSE(fs::exists(Folder() / "new"));
  }
}

// Wine keeps credentials under registry keys, whose names end at 255.
TEST_F(VaultFile, TakesTheLongestNames) {
  const WString target(kMaxTargetChars, W('T'));
  const WString user(kMaxUserChars, W('%'));
  EXPECT_EQ(Save(target, user, "long"), 0u);
  EXPECT_EQ(Load(target, user), "long");
}

TEST_F(VaultFile, IsNotMadeByAsking) {
  fs::remove_all(Home());
  EXPECT_EQ(Load(kTarget, kUser), "code 1168");
  EXPECT_EQ(Present(kTarget, kUser), "no");
  EXPECT_EQ(Delete(kTarget, kUser), DWORD{ERROR_NOT_FOUND});
  EXPECT_FALSE(fs::exists(Home()));
}

TEST_F(VaultFile, IsRefusedWhenOthersHaveAHandInIt) {
  const fs::path aside = Home() / "aside";
  const auto linked = [&aside](const fs::path& path) {
    fs::rename(path, aside);
    fs::create_symlink(aside, path);
  };
  const auto unlinked = [&aside](const fs::path& path) {
    fs::remove(path);
    fs::rename(aside, path);
  };
  const auto mode = [](const fs::path& path, mode_t bits) {
    return [=] { EXPECT_EQ(chmod(path.c_str(), bits), 0); };
  };
  const auto replaced = [&aside](const fs::path& path, const std::function<void()>& make) {
    return [=] {
      fs::rename(path, aside);
      make();
    };
  };
  const struct {
    const char* name;
    std::function<void()> spoil;
    std::function<void()> mend;
  } kCases[] = {
      {"folder read by the group", mode(Folder(), 0740), mode(Folder(), 0700)},
      {"folder entered by all", mode(Folder(), 0701), mode(Folder(), 0700)},
      {"vault read by the group", mode(File(), 0640), mode(File(), 0600)},
      {"vault written by all", mode(File(), 0602), mode(File(), 0600)},
      {"key read by all", mode(Key(), 0604), mode(Key(), 0600)},
      {"folder linked", [&] { linked(Folder()); }, [&] { unlinked(Folder()); }},
      {"vault linked", [&] { linked(File()); }, [&] { unlinked(File()); }},
      {"key linked", [&] { linked(Key()); }, [&] { unlinked(Key()); }},
      {"vault linked to nothing", replaced(File(), [&] { fs::create_symlink("nothing", File()); }),
       [&] { unlinked(File()); }},
      {"vault is a folder", replaced(File(), [&] { fs::create_directory(File()); }),
       [&] { unlinked(File()); }},
      {"key is a pipe", replaced(Key(), [&] { mkfifo(Key().c_str(), 0600); }), [&] { unlinked(Key()); }},
      {"folder is a file", replaced(Folder(), [&] { Write(Folder(), ""); }), [&] { unlinked(Folder()); }},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    test.spoil();
    ExpectEveryCallToFailWith(ERROR_ACCESS_DENIED);
    test.mend();
    EXPECT_EQ(Load(kTarget, kUser), "secret");
  }
}

TEST_F(VaultFile, IsRefusedWhenItBelongsToSomebodyElse) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  constexpr uid_t kSomebody = 65534;
  for (const fs::path& path : {Folder(), File(), Key()}) {
    SCOPED_TRACE(path);
    ASSERT_EQ(chown(path.c_str(), kSomebody, 0), 0);
    ExpectEveryCallToFailWith(ERROR_ACCESS_DENIED);
    ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
    EXPECT_EQ(Load(kTarget, kUser), "secret");
  }
}

TEST_F(VaultFile, IsNotChangedWithoutItsLock) {
  const fs::path lock = Folder() / "lock";
  fs::remove(lock);
  fs::create_symlink(Home() / "elsewhere", lock);
  EXPECT_EQ(Save(kTarget, kUser, "other"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Delete(kTarget, kUser), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Load(kTarget, kUser), "secret");
  EXPECT_FALSE(fs::exists(Home() / "elsewhere"));
}

TEST_F(VaultFile, ShowsEveryDamage) {
  const std::string whole = Read(File());
  ASSERT_LT(whole.size(), 200u);
  const auto expect_invalid = [&](const std::string& content) {
    Write(File(), content);
    EXPECT_EQ(Load(kTarget, kUser), "code 13");
    EXPECT_EQ(Present(kTarget, kUser), "code 13");
  };
  for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    SCOPED_TRACE(testing::Message() << "bit " << bit);
    std::string flipped = whole;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    expect_invalid(flipped);
  }
  for (size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(testing::Message() << "length " << length);
    expect_invalid(whole.substr(0, length));
  }
  expect_invalid(whole + '\0');
  expect_invalid(whole + whole);
  expect_invalid(std::string(size_t{2} * 1024 * 1024, 'x'));

  const std::string damaged = whole.substr(0, whole.size() - 1);
  Write(File(), damaged);
  ExpectEveryCallToFailWith(ERROR_INVALID_DATA);
  EXPECT_EQ(Read(File()), damaged) << "nothing is written over what cannot be read";
  Write(File(), whole);
  EXPECT_EQ(Load(kTarget, kUser), "secret");
}

TEST_F(VaultFile, NeedsTheKeyItWasMadeWith) {
  const std::string key = Read(Key());
  ASSERT_EQ(key.size(), 32u);
  std::string other = key;
  other[31] = static_cast<char>(other[31] ^ 1);
  for (const std::string& wrong : {other, std::string(), key.substr(1), key + "x"}) {
    SCOPED_TRACE(wrong.size());
    Write(Key(), wrong);
    ExpectEveryCallToFailWith(ERROR_INVALID_DATA);
    EXPECT_EQ(Read(Key()), wrong);
  }
  fs::remove(Key());
  ExpectEveryCallToFailWith(kKeyMissing);
  EXPECT_FALSE(fs::exists(Key())) << "a new key would make the vault unreadable for good";
  Write(Key(), key);
  ASSERT_EQ(chmod(Key().c_str(), 0600), 0);
  EXPECT_EQ(Load(kTarget, kUser), "secret");
}

TEST_F(VaultFile, IsEmptyWithoutItsFileAndKeepsItsKey) {
  const std::string key = Read(Key());
  fs::remove(File());
  EXPECT_EQ(Load(kTarget, kUser), "code 1168");
  EXPECT_EQ(Save(kTarget, kUser, "again"), 0u);
  EXPECT_EQ(Load(kTarget, kUser), "again");
  EXPECT_EQ(Read(Key()), key);
}

TEST_F(VaultFile, HasAKeyOfItsOwnInEveryHome) {
  const std::string key = Read(Key());
  fs::remove_all(Home());
  EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u);
  EXPECT_NE(Read(Key()), key);
}

TEST_F(VaultFile, GivesNothingAway) {
  const std::string kSecret = "a secret that is easily found again";
  EXPECT_EQ(Save(W("telltale-target"), W("telltale-user"), kSecret), 0u);
  const std::string first = Read(File());
  EXPECT_EQ(Save(W("telltale-target"), W("telltale-user"), kSecret), 0u);
  const std::string second = Read(File());
  for (const std::string& content : {first, second}) {
    for (const std::string& part :
         {std::string("secret"), std::string("telltale"), std::string("t\0e\0l\0l", 7), std::string("target"),
          std::string("user")}) {
      EXPECT_EQ(content.find(part), std::string::npos) << part;
    }
  }
  ASSERT_EQ(first.size(), second.size());
  int alike = 0;
  for (size_t i = 8; i < first.size(); ++i) {
    alike += first[i] == second[i] ? 1 : 0;
  }
  EXPECT_LT(alike, 12) << "encrypted anew with each write: of " << first.size() << " bytes";
}

TEST_F(VaultFile, IsNotTakenInByWhatAKilledWriterLeft) {
  const fs::path elsewhere = Home() / "elsewhere";
  Write(elsewhere, "not to be touched");
  fs::create_symlink(elsewhere, Folder() / "new");
  EXPECT_EQ(Save(kTarget, kUser, "newer"), 0u);
  Write(Folder() / "new", "half a vau");
  EXPECT_EQ(Load(kTarget, kUser), "newer");
  EXPECT_EQ(Save(kTarget, kUser, "newest"), 0u);
  EXPECT_EQ(Load(kTarget, kUser), "newest");
  EXPECT_EQ(Read(elsewhere), "not to be touched");
  EXPECT_FALSE(fs::exists(Folder() / "new"));
}

TEST_F(VaultFile, HasAnEnd) {
  const std::string large(kMaxEntryBytes, 'M');
  const auto user = [](int i) { return WString(static_cast<size_t>(i) + 1, W('u')); };
  int kept = 0;
  while (kept < 100 && Save(kTarget, user(kept), large) == 0) {
    ++kept;
  }
  EXPECT_EQ(kept, 7) << "with their names, 8 are more than 1 MiB";
  EXPECT_EQ(Save(kTarget, user(kept), large), kTooLarge);
  EXPECT_EQ(Load(kTarget, kUser), "secret");
  EXPECT_EQ(Load(kTarget, user(kept - 1)), large);
}

/// Runs `body` in a process of its own, which ends with the code that it returns.
int InChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(body());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(VaultFile, OutlivesAFullDisk) {
  const int code = InChild([] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::vector<BYTE> large(1000);
    return static_cast<int>(vault::Save(kTarget, kUser, large));
  });
  EXPECT_EQ(code, ERROR_DISK_FULL);
  EXPECT_EQ(Load(kTarget, kUser), "secret");
  EXPECT_FALSE(fs::exists(Folder() / "new"));
}

TEST_F(VaultFile, LosesNothingOfManyProcesses) {
  constexpr int kProcesses = 5;
  constexpr int kRounds = 12;
  const auto user = [](int process, int round) {
    return WString(static_cast<size_t>(process) + 1, W('p')) +
           WString(static_cast<size_t>(round) + 1, W('r'));
  };
  // The first to write makes the folder and the key, which all others must use, too.
  fs::remove_all(Home());
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process) {
    const pid_t child = fork();
    if (child == 0) {
      DWORD code = 0;
      for (int round = 0; round < kRounds; ++round) {
        const BYTE byte = static_cast<BYTE>(round);
        code |= vault::Save(kTarget, user(process, round), {&byte, 1});
        if (round % 3 == 2) {
          code |= vault::Delete(kTarget, user(process, round));
        }
      }
      _exit(code == 0 ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  for (int process = 0; process < kProcesses; ++process) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(Load(kTarget, user(process, round)),
                round % 3 == 2 ? "code 1168" : std::string(1, static_cast<char>(round)));
    }
  }
}

}  // namespace
}  // namespace custom_bidi::vault
