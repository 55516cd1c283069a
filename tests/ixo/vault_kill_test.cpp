// Kills a process that writes entries, again and again, at whatever moment: what it was told is kept must be
// there afterwards, whole, and the vault must still take new entries.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ixo/vault/vault.h"

namespace {

using custom_bidi::WString;
namespace vault = custom_bidi::vault;
using Clock = std::chrono::steady_clock;

constexpr int kEntries = 200;
constexpr std::chrono::seconds kTimeToSpend(8);
constexpr int kEnoughRounds = 300;
constexpr WCHAR kTarget[] = W("target");

void Require(bool holds, const std::string& what) {
  if (!holds) {
    std::fprintf(stderr, "vault_kill_test: %s\n", what.c_str());
    std::exit(1);
  }
}

WString UserOf(int entry) {
  const std::string digits = std::to_string(entry);
  return {digits.begin(), digits.end()};
}

/// What an entry holds after a round; lengths vary, so that a part would be seen.
std::vector<BYTE> BytesOf(int entry, int round) {
  const auto length = static_cast<size_t>(1 + (entry * 37 + round * 101) % 900);
  return std::vector<BYTE>(length, static_cast<BYTE>(entry + round));
}

/// The child: saves entries and says so after each, until it is killed.
[[noreturn]] void WriteEntries(int round, int pipe_end) {
  for (int entry = 0; entry < kEntries; ++entry) {
    if (vault::Save(kTarget, UserOf(entry), BytesOf(entry, round)) != 0) {
      _exit(1);
    }
    const char done = 1;
    if (write(pipe_end, &done, 1) != 1) {
      _exit(1);
    }
  }
  _exit(0);
}

/// Runs one writer and kills it after `life`; how many entries it said it had saved.
int KillWriter(int round, std::chrono::microseconds life) {
  int ends[2];
  Require(pipe2(ends, O_CLOEXEC) == 0, "no pipe");
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    WriteEntries(round, ends[1]);
  }
  close(ends[1]);
  std::this_thread::sleep_for(life);
  kill(child, SIGKILL);
  int status = 0;
  Require(waitpid(child, &status, 0) == child, "no child");
  Require(!WIFEXITED(status) || WEXITSTATUS(status) == 0, "the writer failed");
  int acknowledged = 0;
  char done = 0;
  while (read(ends[0], &done, 1) == 1) {
    ++acknowledged;
  }
  close(ends[0]);
  return acknowledged;
}

/// Checks every entry against the round in which it was last acknowledged. The one entry after those may
/// have been saved without word of it.
void CheckEntries(std::vector<int>& last_round, int acknowledged, int round) {
  for (int entry = 0; entry < kEntries; ++entry) {
    const auto at = static_cast<size_t>(entry);
    if (entry < acknowledged) {
      last_round[at] = round;
    }
    vault::SecureBytes bytes;
    const DWORD code = vault::Load(kTarget, UserOf(entry), bytes);
    const std::vector<BYTE> found(bytes.begin(), bytes.end());
    if (entry == acknowledged && code == 0 && found == BytesOf(entry, round)) {
      last_round[at] = round;
    }
    const std::string place = "round " + std::to_string(round) + ", entry " + std::to_string(entry);
    if (last_round[at] < 0) {
      Require(code == DWORD{ERROR_NOT_FOUND}, place + " should not be there, code " + std::to_string(code));
    } else {
      Require(code == 0, place + " is lost, code " + std::to_string(code));
      Require(found == BytesOf(entry, last_round[at]), place + " is not what was saved");
    }
  }
}

}  // namespace

int main() {
  const std::filesystem::path home =
      std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vault kill home";
  std::filesystem::remove_all(home);
  setenv("CUSTOMBIDI_HOME", home.c_str(), 1);

  std::random_device seed;
  const unsigned seeded_with = seed();
  std::printf("seed %u\n", seeded_with);
  std::mt19937 random(seeded_with);
  // Most lives end within the first few saves; a few in ten reach far into the list.
  std::exponential_distribution<double> life_ms(1.0 / 25);

  std::vector<int> last_round(kEntries, -1);
  const Clock::time_point end = Clock::now() + kTimeToSpend;
  int round = 0;
  int total = 0;
  for (; round < kEnoughRounds && Clock::now() < end; ++round) {
    const std::chrono::duration<double, std::milli> life(life_ms(random));
    const int acknowledged = KillWriter(round, std::chrono::duration_cast<std::chrono::microseconds>(life));
    CheckEntries(last_round, acknowledged, round);
    total += acknowledged;
  }
  Require(total > 0, "no writer lived long enough to save anything");
  std::printf("%d writers killed, %d entries acknowledged, none lost\n", round, total);
  std::filesystem::remove_all(home);
  return 0;
}
