// The positions of the device libraries' operations: a foreign library's are called by number.

#include <gtest/gtest.h>

#include <cstring>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::deviceio {
namespace {

/// Where an operation stands in its object's table. Both compilers keep it in the first word of a pointer to
/// a virtual member, as its offset and 1.
template <class Operation>
size_t PositionOf(Operation operation) {
  size_t word = 0;
  std::memcpy(&word, &operation, sizeof(word));
  EXPECT_EQ(word % sizeof(void*), 1u);
  return word / sizeof(void*);
}

TEST(Contract, OperationsStandAtTheirPositions) {
  EXPECT_EQ(PositionOf(&PrinterAddress::IsActive), 0u);
  EXPECT_EQ(PositionOf(&PrinterAddress::GetAddressString), 1u);
  EXPECT_EQ(PositionOf(&DataCollection::GetValue), 5u);
  EXPECT_EQ(PositionOf(&OidProvider::GetValue), 5u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::SaveTarget), 6u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::GetCertFromVault), 7u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::DeleteTarget), 8u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::IsTargetPresent), 9u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::SetTargetName), 10u);
  EXPECT_EQ(PositionOf(&VaultStoreProvider::SetUserName), 11u);
  EXPECT_EQ(PositionOf(&CertificateProvider::GetDeviceUUID), 1u);
  EXPECT_EQ(PositionOf(&CertificateProvider::GetCertificateAllSecurityWarnings), 2u);
  EXPECT_EQ(PositionOf(&CertificateProvider::GetDeviceCertificate), 3u);
  EXPECT_EQ(PositionOf(&CertificateProvider::CheckCertificateDate), 6u);
  EXPECT_EQ(PositionOf(&CertificateProvider::GetLastErrorCode), 8u);
}

}  // namespace
}  // namespace custom_bidi::deviceio
