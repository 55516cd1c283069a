#pragma once

#include <span>

#include "ixo/support/contract_bases.h"
#include "ixo/vault/secure_bytes.h"
#include "src/platform.h"

/// Where the user's passwords and certificates for printers are kept: in the keyring of the user's session
/// when somebody answers there (secret_service.h), else in the file vault (ixo/vault/vault.h), with the
/// functions and codes of both.
///
/// An entry that was saved while there was no session is found with one, too, until it is saved anew or
/// deleted. An entry of the keyring is not to be had while there is no session.
namespace custom_bidi::network::network_vault {

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes);
DWORD Load(WStringView target, WStringView user, vault::SecureBytes& bytes);
/// From both; ERROR_NOT_FOUND when it was in neither.
DWORD Delete(WStringView target, WStringView user);
DWORD IsPresent(WStringView target, WStringView user, bool& present);

}  // namespace custom_bidi::network::network_vault

namespace custom_bidi::network {

/// Acts on one entry of the user's keyring or vault (above). Until both names are set, or when one
/// was refused, it has no entry: there is none present, and every other operation fails with
/// ERROR_INVALID_PARAMETER.
class NetworkVaultStoreProvider final : public support::VaultStoreProvider {
  DWORD DoSaveTarget(const BYTE* bytes, DWORD length_bytes) override;
  /// The bytes stay until this is called again or the provider goes, and are wiped then. Null when the entry
  /// is empty.
  HRESULT DoGetCertFromVault(BYTE** bytes, DWORD* length_bytes) override;
  DWORD DoDeleteTarget() override;
  /// A vault that cannot be read is neither answer: the reason is raised, a DWORD.
  LONG DoIsTargetPresent() override;
  HRESULT DoSetTargetName(const WCHAR* target) override;
  HRESULT DoSetUserName(const WCHAR* user) override;

  WString target_;
  WString user_;
  vault::SecureBytes handed_out_;
};

}  // namespace custom_bidi::network
