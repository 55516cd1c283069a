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

  DWORD SaveTarget(const BYTE* bytes, DWORD length_bytes) override;
  /// The bytes stay until this is called again or the provider goes, and are wiped then. Null when the entry
  /// is empty.
  HRESULT GetCertFromVault(BYTE** bytes, DWORD* length_bytes) override;
  DWORD DeleteTarget() override;
  /// A vault that cannot be read is neither answer: the reason is raised, a DWORD.
  LONG IsTargetPresent() override;
  HRESULT SetTargetName(const WCHAR* target) override;
  HRESULT SetUserName(const WCHAR* user) override;

 private:
  HRESULT SetName(Operation operation, const WCHAR* given, size_t max_chars, WString& name);

  const std::string name_;
  WString target_;
  WString user_;
  vault::SecureBytes handed_out_;
};

}  // namespace custom_bidi::simulated
