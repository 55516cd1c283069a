#include "ixo/network/keyring/network_vault.h"

#include <utility>

#include "ixo/network/keyring/secret_service.h"
#include "ixo/support/provider_answers.h"
#include "ixo/support/results.h"
#include "ixo/vault/vault.h"

namespace custom_bidi::network::network_vault {

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes) {
  const DWORD code = secret_service::Save(target, user, bytes);
  if (code == kNobodyAnswers) {
    return vault::Save(target, user, bytes);
  }
  if (code == ERROR_SUCCESS) {
    // What the file vault may hold is out of date. It is never read while this entry is there.
    vault::Delete(target, user);
  }
  return code;
}

DWORD Load(WStringView target, WStringView user, vault::SecureBytes& bytes) {
  const DWORD code = secret_service::Load(target, user, bytes);
  return code == kNobodyAnswers || code == ERROR_NOT_FOUND ? vault::Load(target, user, bytes) : code;
}

DWORD Delete(WStringView target, WStringView user) {
  const DWORD code = secret_service::Delete(target, user);
  if (code == kNobodyAnswers || code == ERROR_NOT_FOUND) {
    return vault::Delete(target, user);
  }
  if (code != ERROR_SUCCESS) {
    return code;
  }
  const DWORD vault_code = vault::Delete(target, user);
  return vault_code == ERROR_NOT_FOUND ? DWORD{ERROR_SUCCESS} : vault_code;
}

DWORD IsPresent(WStringView target, WStringView user, bool& present) {
  bool in_keyring = false;
  const DWORD code = secret_service::IsPresent(target, user, in_keyring);
  if (code == kNobodyAnswers || (code == ERROR_SUCCESS && !in_keyring)) {
    return vault::IsPresent(target, user, present);
  }
  if (code == ERROR_SUCCESS) {
    present = true;
  }
  return code;
}

}  // namespace custom_bidi::network::network_vault

namespace custom_bidi::network {

DWORD NetworkVaultStoreProvider::DoSaveTarget(const BYTE* bytes, DWORD length_bytes) {
  return bytes != nullptr ? network_vault::Save(target_, user_, {bytes, length_bytes})
                          : DWORD{ERROR_INVALID_PARAMETER};
}

HRESULT NetworkVaultStoreProvider::DoGetCertFromVault(BYTE** bytes, DWORD* length_bytes) {
  if (bytes == nullptr || length_bytes == nullptr) {
    return E_INVALIDARG;
  }
  *bytes = nullptr;
  *length_bytes = 0;
  vault::SecureBytes loaded;
  if (const DWORD code = network_vault::Load(target_, user_, loaded)) {
    return support::ResultFromWin32(code);
  }
  handed_out_ = std::move(loaded);
  *bytes = handed_out_.data();
  *length_bytes = static_cast<DWORD>(handed_out_.size());
  return S_OK;
}

DWORD NetworkVaultStoreProvider::DoDeleteTarget() {
  return network_vault::Delete(target_, user_);
}

LONG NetworkVaultStoreProvider::DoIsTargetPresent() {
  if (target_.empty() || user_.empty()) {
    return 0;
  }
  bool present = false;
  if (const DWORD code = network_vault::IsPresent(target_, user_, present)) {
    throw code;  // "no" would be taken for an empty vault
  }
  return present ? 1 : 0;
}

HRESULT NetworkVaultStoreProvider::DoSetTargetName(const WCHAR* target) {
  return support::TakeVaultName(target, vault::kMaxTargetChars, target_);
}

HRESULT NetworkVaultStoreProvider::DoSetUserName(const WCHAR* user) {
  return support::TakeVaultName(user, vault::kMaxUserChars, user_);
}

}  // namespace custom_bidi::network
