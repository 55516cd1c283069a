#pragma once

#include "tests/support/call_test.h"

namespace custom_bidi_test {

using Codes = std::vector<uint32_t>;

/// What a record holds; the caller's own copy.
struct Record {
  std::string identifier;
  std::string certificate;
  Codes warnings;

  bool operator==(const Record&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Record& record);

/// What VerifyCertificateValidity came to: its result, and the warnings that the record then had.
struct CheckAnswer {
  bool ok;
  Codes warnings;

  bool operator==(const CheckAnswer&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const CheckAnswer& answer);

/// Arguments of the password calls.
struct PasswordNames {
  MaybeText user;
  MaybeText target;
  MaybeText queue = CallTest::kQueue;
};

/// A test of whole password and certificate calls. The printer has the certificate "device", a UUID and no
/// warnings. Every call has to give back each provider that it got, exactly once; what the tests save is
/// removed from the vault.
class SecurityTest : public CallTest {
 public:
  static constexpr char kUser[] = "jdoe";
  static constexpr char kTarget[] = "CustomBidi test target";
  static constexpr char kPassword[] = "correct horse \xE2\x82\xAC";
  static constexpr char kUuid[] = "0123-ABCD";
  static constexpr char kCertificateTarget[] = "Vexmo.VIB.NQDRV4.jdoe.0123-ABCD";
  static constexpr uint32_t kFullCheck = 0;
  static constexpr uint32_t kWithoutAddress = 1;
  static constexpr size_t kWarningRoom = 10;

 protected:
  void SetUp() override;
  void TearDown() override;

  /// One of the certificates of the tests, DER-encoded.
  static std::string Certificate(const std::string& name);
  /// Whatever the printer is to give as its certificate.
  void SetDeviceCertificate(const std::string& bytes);

  // Each writes printer.json first, and checks afterwards that nothing is left open.
  bool Save(const MaybeText& password, const PasswordNames& names = {kUser, kTarget});
  bool IsPresent(const PasswordNames& names = {kUser, kTarget});
  bool Delete(const PasswordNames& names = {kUser, kTarget});
  /// Reads the printer's certificate and releases the record.
  std::optional<Record> Read(uint32_t mode = kFullCheck,
                             const MaybeText& user = kUser,
                             const MaybeText& queue = kQueue);
  /// Checks a record of the test's own making.
  CheckAnswer Check(const Record& record, uint32_t mode = kFullCheck, const MaybeText& user = kUser);
  /// The same with a record as it stands.
  bool CheckRaw(DeviceCertificate* record,
                uint32_t mode = kFullCheck,
                const MaybeText& user = kUser,
                const MaybeText& queue = kQueue);

  /// Keeps these bytes as the vault's copy of the printer's certificate.
  void KeepInVault(const std::string& bytes) { ASSERT_TRUE(Save(bytes, {kUser, kCertificateTarget})); }

  /// The certificate library's calls since the last call of this, without the objects' numbers:
  /// "CreateVaultStoreProvider", "VaultStoreProvider.SaveTarget".
  Lines TakeCalls();

  /// Set when the library in use has no entry points to give providers back through.
  bool providers_go_back = true;

 private:
  void FinishCall();

  Lines calls_;
  std::set<std::pair<std::string, std::string>> saved_;
};

}  // namespace custom_bidi_test
