#include "ixo/network/network_vault.h"

#include "ixo/network/secret_service.h"
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
