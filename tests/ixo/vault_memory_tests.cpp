// What an entry leaves behind in the memory of the process. Natively alone, as it reads /proc/self.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/ixo/vault_fixture.h"

namespace custom_bidi::vault {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsMemoryOfItsOwn = true;
#else
constexpr bool kKeepsMemoryOfItsOwn = false;
#endif

constexpr size_t kSecretBytes = 4096;
/// Longer than what a register holds: some registers are left on the stack by the run time.
constexpr size_t kPartBytes = 128;

/// The secret is nowhere in the program: it is worked out byte by byte.
BYTE SecretByte(size_t i) {
  return static_cast<BYTE>((i * 2654435761u + 97) >> 7);
}

bool IsPartAt(const std::vector<BYTE>& block, size_t at, size_t part) {
  for (size_t i = 0; i < kPartBytes; ++i) {
    if (block[at + i] != SecretByte(part + i)) {
      return false;
    }
  }
  return true;
}

/// Whether some part of the secret lies in a stretch of memory.
bool HoldsSecret(const std::vector<BYTE>& block, size_t size) {
  for (size_t at = 0; at + kPartBytes <= size; ++at) {
    for (const size_t part : {size_t{0}, kSecretBytes / 2, kSecretBytes - kPartBytes}) {
      if (IsPartAt(block, at, part)) {
        return true;
      }
    }
  }
  return false;
}

/// The first stretch of writable memory, as the system lists it, that holds a part of the secret.
std::string WhereTheSecretIs() {
  constexpr size_t kBlockBytes = size_t{1} << 20;
  static std::vector<BYTE> block(kBlockBytes);
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  EXPECT_GE(memory, 0);
  std::ifstream maps("/proc/self/maps");
  std::string found;
  for (std::string line; found.empty() && std::getline(maps, line);) {
    std::istringstream fields(line);
    uint64_t begin = 0;
    uint64_t end = 0;
    char dash = 0;
    std::string rights;
    fields >> std::hex >> begin >> dash >> end >> rights;
    if (!rights.starts_with("rw")) {
      continue;
    }
    // Blocks overlap, so that none of the parts is cut in two.
    for (uint64_t at = begin; at < end && found.empty(); at += kBlockBytes - kPartBytes) {
      const size_t wanted = std::min<uint64_t>(kBlockBytes, end - at);
      const ssize_t got = pread(memory, block.data(), wanted, static_cast<off_t>(at));
      if (got > 0 && HoldsSecret(block, static_cast<size_t>(got))) {
        found = line;
      }
    }
  }
  close(memory);
  std::fill(block.begin(), block.end(), BYTE{});
  return found;
}

SecureBytes MakeSecret() {
  SecureBytes secret(kSecretBytes);
  for (size_t i = 0; i < secret.size(); ++i) {
    secret[i] = SecretByte(i);
  }
  return secret;
}

TEST_F(VaultTest, LeavesNoSecretInMemory) {
  if (kKeepsMemoryOfItsOwn) {
    GTEST_SKIP() << "a sanitizer's memory is too large to be searched";
  }
  {
    const SecureBytes secret = MakeSecret();
    EXPECT_NE(WhereTheSecretIs(), "") << "the search itself does not work";
    EXPECT_EQ(vault::Save(W("target"), W("user"), secret), 0u);
  }
  EXPECT_EQ(WhereTheSecretIs(), "") << "after Save";
  {
    SecureBytes loaded;
    EXPECT_EQ(vault::Load(W("target"), W("user"), loaded), 0u);
    EXPECT_EQ(loaded.size(), kSecretBytes);
    bool present = false;
    EXPECT_EQ(vault::IsPresent(W("target"), W("user"), present), 0u);
  }
  EXPECT_EQ(WhereTheSecretIs(), "") << "after Load";
  EXPECT_EQ(vault::Save(W("other"), W("user"), {}), 0u);
  EXPECT_EQ(vault::Delete(W("target"), W("user")), 0u);
  EXPECT_EQ(WhereTheSecretIs(), "") << "after Delete";
}

}  // namespace
}  // namespace custom_bidi::vault
