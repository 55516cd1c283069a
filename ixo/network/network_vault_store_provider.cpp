#include "ixo/network/network_vault_store_provider.h"

#include <utility>

#include "ixo/network/network_vault.h"
#include "ixo/support/results.h"
#include "ixo/support/vault_names.h"
#include "ixo/vault/vault.h"

namespace custom_bidi::network {

DWORD NetworkVaultStoreProvider::SaveTarget(const BYTE* bytes, DWORD length_bytes) {
  return bytes ? network_vault::Save(target_, user_, {bytes, length_bytes}) : DWORD{ERROR_INVALID_PARAMETER};
}

HRESULT NetworkVaultStoreProvider::GetCertFromVault(BYTE** bytes, DWORD* length_bytes) {
  if (!bytes || !length_bytes) {
    return E_INVALIDARG;
  }
  *bytes = nullptr;
  *length_bytes = 0;
  vault::SecureBytes loaded;
  if (const DWORD code = network_vault::Load(target_, user_, loaded)) {
    return device::ResultFromWin32(code);
  }
  handed_out_ = std::move(loaded);
  *bytes = handed_out_.data();
  *length_bytes = static_cast<DWORD>(handed_out_.size());
  return S_OK;
}

DWORD NetworkVaultStoreProvider::DeleteTarget() {
  return network_vault::Delete(target_, user_);
}

LONG NetworkVaultStoreProvider::IsTargetPresent() {
  if (target_.empty() || user_.empty()) {
    return 0;
  }
  bool present = false;
  const DWORD code = network_vault::IsPresent(target_, user_, present);
  return code != ERROR_SUCCESS || present ? 1 : 0;
}

HRESULT NetworkVaultStoreProvider::SetTargetName(const WCHAR* target) {
  return device::TakeVaultName(target, vault::kMaxTargetChars, target_);
}

HRESULT NetworkVaultStoreProvider::SetUserName(const WCHAR* user) {
  return device::TakeVaultName(user, vault::kMaxUserChars, user_);
}

}  // namespace custom_bidi::network
