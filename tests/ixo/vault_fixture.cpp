#include "tests/ixo/vault_fixture.h"

#include "tests/ixo/vault_home.h"

namespace custom_bidi::vault {

VaultTest::VaultTest() : home_(UseOwnHome()) {
  RemoveHome();
}

VaultTest::~VaultTest() {
  for (const auto& [target, user] : used_) {
    vault::Delete(target, user);
  }
  RemoveHome();
}

DWORD VaultTest::Save(WStringView target, WStringView user, std::string_view bytes) {
  used_.emplace(target, user);
  return vault::Save(target, user, {reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()});
}

std::string VaultTest::Load(WStringView target, WStringView user) {
  SecureBytes bytes = {1};
  const DWORD code = vault::Load(target, user, bytes);
  if (code != ERROR_SUCCESS) {
    EXPECT_TRUE(bytes.empty());
    return "code " + std::to_string(code);
  }
  return {bytes.begin(), bytes.end()};
}

std::string VaultTest::Present(WStringView target, WStringView user) {
  bool present = false;
  const DWORD code = vault::IsPresent(target, user, present);
  if (code != ERROR_SUCCESS) {
    return "code " + std::to_string(code);
  }
  return present ? "yes" : "no";
}

void VaultTest::RemoveHome() const {
  if (!home_.empty()) {
    std::filesystem::remove_all(home_);
  }
}

}  // namespace custom_bidi::vault
