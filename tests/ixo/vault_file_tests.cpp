// The vault as a file: who may read it, what damage does to it, what it gives away. Natively alone.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

#include "base/files.h"
#include "tests/ixo/vault_fixture.h"
#include "tests/peers/temporary_folder.h"
#include "tests/support/secret_memory.h"

namespace custom_bidi::vault {
namespace {

namespace fs = std::filesystem;
using custom_bidi_test::CountSecrets;
using custom_bidi_test::ReadWholeFile;
using custom_bidi_test::SecretUnit;

constexpr WCHAR kTarget[] = W("target");
constexpr WCHAR kUser[] = W("user");

void Write(const fs::path& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  ASSERT_TRUE(file.flush());
}

/// Runs `body` in a process of its own, which ends with the code that it returns.
pid_t Start(const std::function<DWORD()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(static_cast<int>(body()));
  }
  return child;
}

int ExitCode(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// With one entry in the vault.
class VaultFile : public VaultTest {
 protected:
  VaultFile() { EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u); }

  void ExpectEveryCallToFailWith(DWORD code) {
    EXPECT_EQ(Load(kTarget, kUser), InWords(code));
    EXPECT_EQ(Present(kTarget, kUser), InWords(code));
    EXPECT_EQ(Delete(kTarget, kUser), code);
    EXPECT_EQ(Save(kTarget, kUser, "other"), code);
  }

  const fs::path folder_ = home_ / "vault";
  const fs::path file_ = folder_ / "vault";
  const fs::path key_ = folder_ / "key";
};

TEST_F(VaultFile, IsTheUsersAloneWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{077}}) {
    fs::remove_all(home_);
    const mode_t before = umask(mask);
    EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u);
    umask(before);
    EXPECT_EQ(fs::status(folder_).permissions(), fs::perms{0700});
    for (const char* name : {"key", "vault", "lock"}) {
      EXPECT_EQ(fs::status(folder_ / name).permissions(), fs::perms{0600}) << name;
    }
  }
}

TEST_F(VaultFile, IsNotMadeByAskingAndTakesTheLongestNames) {
  fs::remove_all(home_);
  // Of these Wine keeps none: its credentials are registry keys, whose names end at 255.
  const WString target(kMaxTargetChars, W('T'));
  const WString user(kMaxUserChars, W('%'));
  EXPECT_EQ(Load(target, user), "code 1168");
  EXPECT_EQ(Present(target, user), "no");
  EXPECT_EQ(Delete(target, user), DWORD{ERROR_NOT_FOUND});
  EXPECT_FALSE(fs::exists(home_));
  EXPECT_EQ(Save(target, user, "long"), 0u);
  EXPECT_EQ(Load(target, user), "long");
}

TEST_F(VaultFile, IsRefusedWhenOthersHaveAHandInIt) {
  const fs::path aside = home_ / "aside";
  const auto link = [&](const fs::path& path) { fs::create_symlink(aside, path); };
  const auto copy = [&](mode_t mode, uid_t owner = geteuid()) {
    return [&aside, mode, owner](const fs::path& path) {
      fs::copy(aside, path, fs::copy_options::recursive);
      ASSERT_EQ(chmod(path.c_str(), mode), 0);
      ASSERT_EQ(chown(path.c_str(), owner, getegid()), 0);
    };
  };
  std::vector<std::pair<fs::path, std::function<void(const fs::path&)>>> cases = {
      {folder_, copy(0740)},
      {folder_, copy(0701)},
      {file_, copy(0640)},
      {file_, copy(0602)},
      {key_, copy(0604)},
      {folder_, link},
      {file_, link},
      {key_, link},
      {file_, [](const fs::path& path) { fs::create_symlink("nothing", path); }},
      {file_, [](const fs::path& path) { fs::create_directory(path); }},
      {key_, [](const fs::path& path) { mkfifo(path.c_str(), 0600); }},
      {folder_, [](const fs::path& path) { Write(path, ""); }},
  };
  if (geteuid() == 0) {  // only root can give a file away
    cases.insert(cases.end(),
                 {{folder_, copy(0700, 65534)}, {file_, copy(0600, 65534)}, {key_, copy(0600, 65534)}});
  }
  for (size_t i = 0; const auto& [path, make] : cases) {
    SCOPED_TRACE(i++);
    fs::rename(path, aside);
    make(path);
    ExpectEveryCallToFailWith(ERROR_ACCESS_DENIED);
    fs::remove_all(path);
    fs::rename(aside, path);
    EXPECT_EQ(Load(kTarget, kUser), "secret");
  }
}

TEST_F(VaultFile, IsNotChangedWithoutItsLock) {
  {
    const base::FileDescriptor lock(open((folder_ / "lock").c_str(), O_RDWR));
    ASSERT_EQ(flock(lock.Get(), LOCK_EX), 0);
    EXPECT_EQ(Save(kTarget, kUser, "other"), DWORD{ERROR_LOCK_VIOLATION});
  }
  fs::remove(folder_ / "lock");
  fs::create_symlink(home_ / "elsewhere", folder_ / "lock");
  EXPECT_EQ(Save(kTarget, kUser, "other"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Delete(kTarget, kUser), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Load(kTarget, kUser), "secret");
  EXPECT_FALSE(fs::exists(home_ / "elsewhere"));
}

TEST_F(VaultFile, ShowsEveryDamage) {
  const std::string whole = ReadWholeFile(file_);
  ASSERT_LT(whole.size(), 200u);
  std::vector<std::string> damaged = {whole + '\0', whole + whole, std::string(size_t{2} * 1024 * 1024, 'x')};
  for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    damaged.push_back(whole);
    damaged.back()[bit / 8] = static_cast<char>(whole[bit / 8] ^ (1 << bit % 8));
  }
  for (size_t length = 0; length < whole.size(); ++length) {
    damaged.push_back(whole.substr(0, length));
  }
  for (size_t i = 0; i < damaged.size(); ++i) {
    Write(file_, damaged[i]);
    EXPECT_EQ(Load(kTarget, kUser), "code 13") << i;
  }
  ExpectEveryCallToFailWith(ERROR_INVALID_DATA);
  EXPECT_EQ(ReadWholeFile(file_), damaged.back()) << "nothing is written over what cannot be read";
}

TEST_F(VaultFile, NeedsTheKeyItWasMadeWith) {
  const std::string key = ReadWholeFile(key_);
  ASSERT_EQ(key.size(), 32u);
  std::string other = key;
  other[31] = static_cast<char>(other[31] ^ 1);
  for (const std::string& wrong : {other, std::string(), key.substr(1), key + "x"}) {
    Write(key_, wrong);
    ExpectEveryCallToFailWith(ERROR_INVALID_DATA);
    EXPECT_EQ(ReadWholeFile(key_), wrong);
  }
  fs::remove(key_);
  ExpectEveryCallToFailWith(kKeyMissing);
  EXPECT_FALSE(fs::exists(key_)) << "a new key would make the vault unreadable for good";
  Write(key_, key);
  ASSERT_EQ(chmod(key_.c_str(), 0600), 0);
  EXPECT_EQ(Load(kTarget, kUser), "secret");

  fs::remove(file_);
  EXPECT_EQ(Save(kTarget, kUser, "again"), 0u);
  EXPECT_EQ(Load(kTarget, kUser), "again");
  EXPECT_EQ(ReadWholeFile(key_), key);
  fs::remove_all(home_);
  EXPECT_EQ(Save(kTarget, kUser, "secret"), 0u);
  EXPECT_NE(ReadWholeFile(key_), key) << "each home has its own";
}

TEST_F(VaultFile, GivesNothingAway) {
  std::string written[2];
  for (std::string& content : written) {
    EXPECT_EQ(Save(W("telltale-target"), W("telltale-user"), "a secret that is easily found again"), 0u);
    content = ReadWholeFile(file_);
    std::string narrow = content;
    std::erase(narrow, '\0');
    for (const char* part : {"secret", "telltale", "target", "user"}) {
      EXPECT_EQ(narrow.find(part), std::string::npos) << part;
    }
  }
  ASSERT_EQ(written[0].size(), written[1].size());
  const int alike = std::inner_product(written[0].begin() + 8, written[0].end(), written[1].begin() + 8, 0,
                                       std::plus(), std::equal_to());
  EXPECT_LT(alike, 12) << "encrypted anew with each write: of " << written[0].size() << " bytes";
}

TEST_F(VaultFile, IsNotTakenInByWhatAKilledWriterLeft) {
  const fs::path elsewhere = home_ / "elsewhere";
  Write(elsewhere, "not to be touched");
  fs::create_symlink(elsewhere, folder_ / "new");
  EXPECT_EQ(Save(kTarget, kUser, "newer"), 0u);
  Write(folder_ / "new", "half a vau");
  EXPECT_EQ(Load(kTarget, kUser), "newer");
  EXPECT_EQ(Save(kTarget, kUser, "newest"), 0u);
  EXPECT_EQ(Load(kTarget, kUser), "newest");
  EXPECT_EQ(ReadWholeFile(elsewhere), "not to be touched");
  EXPECT_FALSE(fs::exists(folder_ / "new"));
}

TEST_F(VaultFile, HasAnEndAndOutlivesAFullDisk) {
  const std::string large(kMaxEntryBytes, 'M');
  const auto user = [](size_t i) { return WString(i + 1, W('u')); };
  for (size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(Save(kTarget, user(i), large), i < 7 ? 0u : kTooLarge) << "8 and their names are above 1 MiB";
  }
  EXPECT_EQ(Load(kTarget, user(6)), large);
  const pid_t child = Start([] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    setrlimit(RLIMIT_FSIZE, &limit);
    return vault::Save(kTarget, kUser, std::vector<BYTE>(1000));
  });
  EXPECT_EQ(ExitCode(child), ERROR_DISK_FULL);
  EXPECT_EQ(Load(kTarget, kUser), "secret");
  EXPECT_FALSE(fs::exists(folder_ / "new"));
}

TEST_F(VaultFile, LosesNothingOfManyProcesses) {
  constexpr size_t kProcesses = 5;
  constexpr size_t kRounds = 12;
  const auto user = [](size_t process, size_t round) {
    return WString(process + 1, W('p')) + WString(round + 1, W('r'));
  };
  // The first to write makes the folder and the key, which all others must use, too.
  fs::remove_all(home_);
  std::vector<pid_t> children;
  for (size_t process = 0; process < kProcesses; ++process) {
    children.push_back(Start([&] {
      DWORD code = 0;
      for (size_t round = 0; round < kRounds; ++round) {
        const BYTE byte = static_cast<BYTE>(round);
        code |= vault::Save(kTarget, user(process, round), {&byte, 1});
        code |= round % 3 == 2 ? vault::Delete(kTarget, user(process, round)) : 0;
      }
      return code;
    }));
  }
  for (const pid_t child : children) {
    EXPECT_EQ(ExitCode(child), 0);
  }
  for (size_t i = 0; i < kProcesses * kRounds; ++i) {
    const size_t round = i % kRounds;
    EXPECT_EQ(Load(kTarget, user(i / kRounds, round)),
              round % 3 == 2 ? "code 1168" : std::string(1, static_cast<char>(round)));
  }
}

TEST_F(VaultFile, KeepsWhatItsWritersWereToldBeforeTheyWereKilled) {
  constexpr size_t kEntries = 60;
  const auto user = [](size_t entry) { return WString(entry + 1, W('u')); };
  // Lengths vary, so that a part would be seen.
  const auto bytes = [](size_t entry, size_t round) {
    return std::string(1 + (entry * 37 + round * 101) % 900, static_cast<char>(entry + round));
  };
  std::vector<std::string> kept(kEntries, "code 1168");
  size_t total = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
  for (size_t round = 0; !HasFailure() && std::chrono::steady_clock::now() < end; ++round) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const base::FileDescriptor told(ends[0]);
    const pid_t child = Start([&] {
      size_t entry = 0;
      while (entry < kEntries && Save(kTarget, user(entry), bytes(entry, round)) == 0 &&
             write(ends[1], "", 1) == 1) {
        ++entry;
      }
      return DWORD{entry < kEntries};
    });
    close(ends[1]);
    // Many lives end within the first few saves; others reach far into the list.
    std::this_thread::sleep_for(std::chrono::microseconds(round * round * 1913 % 70000));
    kill(child, SIGKILL);
    EXPECT_LE(ExitCode(child), 0) << "the writer failed";
    size_t acknowledged = 0;
    for (char word = 0; read(told.Get(), &word, 1) == 1; ++acknowledged) {
      kept[acknowledged] = bytes(acknowledged, round);
    }
    // The one after those may have been saved without word of it.
    if (acknowledged < kEntries && Load(kTarget, user(acknowledged)) == bytes(acknowledged, round)) {
      kept[acknowledged] = bytes(acknowledged, round);
    }
    for (size_t entry = 0; entry < kEntries; ++entry) {
      EXPECT_EQ(Load(kTarget, user(entry)), kept[entry]) << "round " << round << ", entry " << entry;
    }
    total += acknowledged;
  }
  EXPECT_GT(total, 0u) << "no writer lived long enough to save anything";
}

/// Longer than a register, as some registers are left on the stack by the run time.
constexpr size_t kPartBytes = 128;

TEST_F(VaultTest, LeavesNoSecretInMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's memory is too large to be searched";
#endif
  {
    SecureBytes secret(32 * kPartBytes);
    for (size_t i = 0; i < secret.size(); ++i) {
      secret[i] = static_cast<BYTE>(SecretUnit(kPartBytes, i % kPartBytes));
    }
    EXPECT_GE(CountSecrets(kPartBytes), 32) << "the search itself does not work";
    EXPECT_EQ(vault::Save(kTarget, kUser, secret), 0u);
  }
  EXPECT_EQ(CountSecrets(kPartBytes), 0) << "after Save";
  {
    SecureBytes loaded;
    EXPECT_EQ(vault::Load(kTarget, kUser, loaded), 0u);
    EXPECT_EQ(loaded.size(), 32 * kPartBytes);
    EXPECT_EQ(Present(kTarget, kUser), "yes");
  }
  EXPECT_EQ(CountSecrets(kPartBytes), 0) << "after Load";
  EXPECT_EQ(Save(W("other"), kUser, ""), 0u);
  EXPECT_EQ(Delete(kTarget, kUser), 0u);
  EXPECT_EQ(CountSecrets(kPartBytes), 0) << "after Delete";
}

}  // namespace
}  // namespace custom_bidi::vault
