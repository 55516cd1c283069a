#pragma once

#include "src/security/provider.h"

namespace custom_bidi {

/// The vault's entry for one printer's certificate and one user.
class CertStoreVault {
 public:
  /// Makes a vault store provider from the certificate library (borrowed) and sets the entry's names on it.
  /// That a name is refused is traced only.
  CertStoreVault(HMODULE library, const WString& device_uuid, const WString& user, const WString& driver);
  ~CertStoreVault();
  CertStoreVault(const CertStoreVault&) = delete;
  CertStoreVault& operator=(const CertStoreVault&) = delete;

  /// Null (false) when the library made none.
  const VaultProvider& provider() const { return provider_; }

 private:
  WString BuildTargetName() const;

  HMODULE library_;  // borrowed
  WString device_uuid_;
  WString user_;
  WString driver_;
  WString target_name_;
  VaultProvider provider_;
};

}  // namespace custom_bidi
