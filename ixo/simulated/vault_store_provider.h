#pragma once

#include <string>

#include "ixo/simulated/operation.h"
#include "ixo/support/contract_bases.h"
#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::simulated {

/// Acts on one entry of the credential vault. Until both names are set, or when one was refused, it has no
/// entry: there is none present, and every other operation fails with ERROR_INVALID_PARAMETER.
class SimulatedVaultStoreProvider final : public support::VaultStoreProvider {
 public:
  /// `name` is for the log.
  explicit SimulatedVaultStoreProvider(std::string name) : name_(std::move(name)) {}

  const std::string& Name() const { return name_; }

 private:
  DWORD DoSaveTarget(const BYTE* bytes, DWORD length_bytes) override;
  /// The bytes stay until this is called again or the provider goes, and are wiped then. Null when the entry
  /// is empty.
  HRESULT DoGetCertFromVault(BYTE** bytes, DWORD* length_bytes) override;
  DWORD DoDeleteTarget() override;
  /// A vault that cannot be read is neither answer: the reason is raised, a DWORD.
  LONG DoIsTargetPresent() override;
  HRESULT DoSetTargetName(const WCHAR* target) override;
  HRESULT DoSetUserName(const WCHAR* user) override;

  HRESULT SetName(Operation operation, const WCHAR* given, size_t max_chars, WString& name);

  const std::string name_;
  WString target_;
  WString user_;
  vault::SecureBytes handed_out_;
};

}  // namespace custom_bidi::simulated
