#pragma once

#include <cstddef>
#include <string_view>

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
extern const OperationTraits kOperations[kOperationCount];

}  // namespace custom_bidi::simulated
