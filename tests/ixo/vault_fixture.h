#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ixo/vault/vault.h"

namespace custom_bidi::vault {

inline std::string InWords(DWORD code) {
  return "code " + std::to_string(code);
}

/// An empty vault for one test, in the home that ctest gives it. Where the vault is the user's own and not in a
/// home, the test's entries are told by their targets and are gone when it ends.
class VaultTest : public testing::Test {
 protected:
  VaultTest() {
    if constexpr (!std::is_same_v<std::filesystem::path::value_type, WCHAR>) {
      home_ = std::getenv("CUSTOMBIDI_HOME");
    }
    std::filesystem::remove_all(home_);
  }
  ~VaultTest() override {
    for (const auto& [target, user] : used_) {
      vault::Delete(target, user);
    }
    std::filesystem::remove_all(home_);
  }

  /// As `vault::Save`, and the entry goes when the test ends. `bytes` holds one byte in each char.
  DWORD Save(WStringView target, WStringView user, std::string_view bytes) {
    used_.emplace(target, user);
    return vault::Save(target, user, {reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()});
  }

  /// The bytes of an entry, or "code N".
  static std::string Load(WStringView target, WStringView user) {
    SecureBytes bytes = {1};
    const DWORD code = vault::Load(target, user, bytes);
    EXPECT_TRUE(code == ERROR_SUCCESS || bytes.empty());
    return code == ERROR_SUCCESS ? std::string(bytes.begin(), bytes.end()) : InWords(code);
  }

  /// "yes", "no", or "code N".
  static std::string Present(WStringView target, WStringView user) {
    bool present = false;
    const DWORD code = vault::IsPresent(target, user, present);
    return code != ERROR_SUCCESS ? InWords(code) : present ? "yes" : "no";
  }

  std::filesystem::path home_;

 private:
  std::set<std::pair<WString, WString>> used_;
};

}  // namespace custom_bidi::vault
