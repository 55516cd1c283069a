#pragma once

#include <cstddef>
#include <string_view>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

/// Everything that a caller can ask of the libraries, and so everything that can be told to fail.
enum class Operation : size_t {
  kCreateAddressFromQueueName,
  kCreateAddressFromPortName,
  kCreateAddressFromIpAddress,
  kCreateAddressFromHostName,
  kAddressIsActive,
  kAddressGetAddressString,
  kCreateDataCollectionFromFile,
  kDataCollectionGetValue,
  kCreateOidProvider,
  kOidProviderGetValue,
  kGetDeviceLocaleStrings,
  kDisposeStringBuffer,
  kCreateVaultStoreProvider,
  kDisposeVaultStoreProvider,
  kVaultSaveTarget,
  kVaultGetCertFromVault,
  kVaultDeleteTarget,
  kVaultIsTargetPresent,
  kVaultSetTargetName,
  kVaultSetUserName,
  kCreateCertificateProvider,
  kDisposeCertificateProvider,
  kCertificateGetDeviceUuid,
  kCertificateGetAllSecurityWarnings,
  kCertificateGetDeviceCertificate,
  kCertificateCheckDate,
  kCertificateGetLastErrorCode,
};

inline constexpr size_t kOperationCount = 27;

struct OperationTraits {
  /// As the printer's file names it.
  std::string_view name;
  /// There is a null that it could give: an object, a text, a buffer, or the integer 0.
  bool has_null;
  /// It answers with an integer, which can be prescribed.
  bool has_result;
  /// It is asked about something by name: a queue, an item, an OID, a language, a path, a vault's target.
  bool has_subject;
};

/// In the order of `Operation`.
inline constexpr OperationTraits kOperations[kOperationCount] = {
    // name, has_null, has_result, has_subject
    {deviceio::kCreateAddressFromQueueName, true, false, true},
    {deviceio::kCreateAddressFromPortName, true, false, true},
    {deviceio::kCreateAddressFromIpAddress, true, false, true},
    {deviceio::kCreateAddressFromHostName, true, false, true},
    {"PrinterAddress.IsActive", true, true, true},
    {"PrinterAddress.GetAddressString", true, false, true},
    {deviceio::kCreateDataCollectionFromFile, true, true, true},
    {"DataCollection.GetValue", true, true, true},
    {deviceio::kCreateOidProvider, true, false, false},
    {"OidProvider.GetValue", true, true, true},
    {deviceio::kGetDeviceLocaleStrings, true, true, true},
    {deviceio::kDisposeStringBuffer, false, false, false},
    {deviceio::kCreateVaultStoreProvider, true, false, false},
    {deviceio::kDisposeVaultStoreProvider, false, false, false},
    {"VaultStoreProvider.SaveTarget", true, true, true},
    {"VaultStoreProvider.GetCertFromVault", true, true, true},
    {"VaultStoreProvider.DeleteTarget", true, true, true},
    {"VaultStoreProvider.IsTargetPresent", true, true, true},
    {"VaultStoreProvider.SetTargetName", false, true, true},
    {"VaultStoreProvider.SetUserName", false, true, true},
    {deviceio::kCreateCertificateProvider, true, false, false},
    {deviceio::kDisposeCertificateProvider, false, false, false},
    {"CertificateProvider.GetDeviceUUID", true, true, false},
    {"CertificateProvider.GetCertificateAllSecurityWarnings", true, true, false},
    {"CertificateProvider.GetDeviceCertificate", true, true, false},
    {"CertificateProvider.CheckCertificateDate", true, true, false},
    {"CertificateProvider.GetLastErrorCode", true, true, false},
};

}  // namespace custom_bidi::simulated
