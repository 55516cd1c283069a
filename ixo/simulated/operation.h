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
  /// It tells a length or a number of what it gives.
  bool has_length;
};

/// In the order of `Operation`.
inline constexpr OperationTraits kOperations[kOperationCount] = {
    // name, has_null, has_result, has_subject, has_length
    {deviceio::kCreateAddressFromQueueName, true, false, true, false},
    {deviceio::kCreateAddressFromPortName, true, false, true, false},
    {deviceio::kCreateAddressFromIpAddress, true, false, true, false},
    {deviceio::kCreateAddressFromHostName, true, false, true, false},
    {"PrinterAddress.IsActive", true, true, true, false},
    {"PrinterAddress.GetAddressString", true, false, true, false},
    {deviceio::kCreateDataCollectionFromFile, true, true, true, false},
    {"DataCollection.GetValue", true, true, true, false},
    {deviceio::kCreateOidProvider, true, false, false, false},
    {"OidProvider.GetValue", true, true, true, false},
    {deviceio::kGetDeviceLocaleStrings, true, true, true, true},
    {deviceio::kDisposeStringBuffer, false, false, false, false},
    {deviceio::kCreateVaultStoreProvider, true, false, false, false},
    {deviceio::kDisposeVaultStoreProvider, false, false, false, false},
    {"VaultStoreProvider.SaveTarget", true, true, true, false},
    {"VaultStoreProvider.GetCertFromVault", true, true, true, true},
    {"VaultStoreProvider.DeleteTarget", true, true, true, false},
    {"VaultStoreProvider.IsTargetPresent", true, true, true, false},
    {"VaultStoreProvider.SetTargetName", false, true, true, false},
    {"VaultStoreProvider.SetUserName", false, true, true, false},
    {deviceio::kCreateCertificateProvider, true, false, false, false},
    {deviceio::kDisposeCertificateProvider, false, false, false, false},
    {"CertificateProvider.GetDeviceUUID", true, true, false, true},
    {"CertificateProvider.GetCertificateAllSecurityWarnings", true, true, false, true},
    {"CertificateProvider.GetDeviceCertificate", true, true, false, true},
    {"CertificateProvider.CheckCertificateDate", true, true, false, false},
    {"CertificateProvider.GetLastErrorCode", true, true, false, false},
};

}  // namespace custom_bidi::simulated
