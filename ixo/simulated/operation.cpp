#include "ixo/simulated/operation.h"

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

const OperationTraits kOperations[kOperationCount] = {
    // name, has_null, has_result, has_subject
    {ixo::kCreateAddressFromQueueName, true, false, true},
    {ixo::kCreateAddressFromPortName, true, false, true},
    {ixo::kCreateAddressFromIpAddress, true, false, true},
    {ixo::kCreateAddressFromHostName, true, false, true},
    {"PrinterAddress.IsActive", true, true, true},
    {"PrinterAddress.GetAddressString", true, false, true},
    {ixo::kCreateDataCollectionFromFile, true, true, true},
    {"DataCollection.GetValue", true, true, true},
    {ixo::kCreateOidProvider, true, false, false},
    {"OidProvider.GetValue", true, true, true},
    {ixo::kGetDeviceLocaleStrings, true, true, true},
    {ixo::kDisposeStringBuffer, false, false, false},
    {ixo::kCreateVaultStoreProvider, true, false, false},
    {ixo::kDisposeVaultStoreProvider, false, false, false},
    {"VaultStoreProvider.SaveTarget", true, true, true},
    {"VaultStoreProvider.GetCertFromVault", true, true, true},
    {"VaultStoreProvider.DeleteTarget", true, true, true},
    {"VaultStoreProvider.IsTargetPresent", true, true, true},
    {"VaultStoreProvider.SetTargetName", false, true, true},
    {"VaultStoreProvider.SetUserName", false, true, true},
    {ixo::kCreateCertificateProvider, true, false, false},
    {ixo::kDisposeCertificateProvider, false, false, false},
    {"CertificateProvider.GetDeviceUUID", true, true, false},
    {"CertificateProvider.GetCertificateAllSecurityWarnings", true, true, false},
    {"CertificateProvider.GetDeviceCertificate", true, true, false},
    {"CertificateProvider.CheckCertificateDate", true, true, false},
    {"CertificateProvider.GetLastErrorCode", true, true, false},
};

}  // namespace custom_bidi::simulated
