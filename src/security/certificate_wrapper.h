#pragma once

#include <memory>
#include <vector>

#include "src/security/device_certificate.h"
#include "src/security/provider.h"

namespace custom_bidi {

/// How a certificate provider is made, and what is asked of it.
enum ProviderMode : DWORD {
  kFullCheck = 0,       ///< with the device's address when reading; vault and dates are checked
  kWithoutAddress = 1,  ///< only the warnings are judged
};

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
  VaultProvider provider_;
};

/// The device certificate of one export call, with its security warnings and the device's UUID, and the
/// provider they come from. Operations return HRESULTs, E_FAIL for every failure; what the library raises
/// passes through.
class CertificateHandlingWrapper {
 public:
  /// For reading from a device: makes a provider for `address`, which may be null in mode 1 only.
  CertificateHandlingWrapper(PrinterAddress address,
                             HMODULE library,
                             const WCHAR* user,
                             const WCHAR* driver,
                             DWORD mode);
  /// For checking what a record holds: makes a provider without an address.
  CertificateHandlingWrapper(HMODULE library,
                             const WCHAR* user,
                             const WCHAR* driver,
                             DWORD mode,
                             std::span<const BYTE> certificate,
                             const WarningList& warnings,
                             const WCHAR* device_uuid);
  ~CertificateHandlingWrapper();
  CertificateHandlingWrapper(const CertificateHandlingWrapper&) = delete;
  CertificateHandlingWrapper& operator=(const CertificateHandlingWrapper&) = delete;

  /// Reads certificate and warnings. Mode 0 needs both, and the UUID with a user name; mode 1 one of the two,
  /// and judges the warnings.
  HRESULT FetchCertificate();

  /// Judges the certificate: 1169 is added to the warnings when it differs from the vault's copy, 12037 when
  /// its dates do not hold, and all are dropped when it is the vault's copy. Fails only when that could not
  /// be found out.
  HRESULT ValidateCertificate();

  /// Copies the certificate into `buffer` (unless null) and its length; nothing when there is none.
  void CopyCertificate(BYTE* buffer, DWORD* length_bytes) const;

  const WarningList& warnings() const { return warnings_; }
  const WString& device_uuid() const { return device_uuid_; }

 private:
  void MakeProvider(PrinterAddress address, DWORD mode);
  HRESULT GetDeviceUUID(WCHAR* uuid);
  HRESULT GetCertificateAllSecurityWarnings();
  HRESULT GetDeviceCertificate();
  HRESULT FailRead(const WCHAR* line);
  bool IsInVault() const;
  HRESULT CompareWithVault();
  HRESULT CheckDates();

  DeviceCertificateProvider provider_;
  WString user_;
  WarningList warnings_;
  std::vector<BYTE> certificate_;
  std::unique_ptr<CertStoreVault> vault_store_;
  HMODULE library_;  // borrowed
  WString driver_;
  DWORD mode_;
  WString device_uuid_;
};

}  // namespace custom_bidi
