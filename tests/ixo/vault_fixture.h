#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "ixo/vault/vault.h"

namespace custom_bidi::vault {

/// An empty vault for one test. Where the vault is the user's own and not in the test's home, the test's
/// entries are told by their targets and are gone when it ends.
class VaultTest : public testing::Test {
 protected:
  VaultTest();
  ~VaultTest() override;

  /// As `vault::Save`, and the entry goes when the test ends. `bytes` holds one byte in each char.
  DWORD Save(WStringView target, WStringView user, std::string_view bytes);

  /// The bytes of an entry, or "code N".
  static std::string Load(WStringView target, WStringView user);

  /// "yes", "no", or "code N".
  static std::string Present(WStringView target, WStringView user);

  /// The home of the platform layer, where there is one.
  const std::filesystem::path& Home() const { return home_; }

 private:
  void RemoveHome() const;

  const std::filesystem::path home_;
  std::set<std::pair<WString, WString>> used_;
};

}  // namespace custom_bidi::vault
