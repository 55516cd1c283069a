// The record that crosses the boundary: from the library, from a caller's own memory, and its release.

#include <algorithm>
#include <array>

#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

constexpr CustomBidiDword kPoison = 0xA5A5A5A5;

class CertificateRecord : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    Delete({kUser, kCertificateTarget});  // of a run that crashed
    SetTrace(true);
    TakeTrace();
    WritePrinter();
  }

  /// A record from the library, whose release is the test's affair.
  static DeviceCertificate* NewRecord() {
    return GetDeviceCertificate(ToWide(kUser).c_str(), ToWide(kQueue).c_str(), kFullCheck);
  }
};

bool HoldsNothing(const DeviceCertificate& record) {
  return record.identifier == nullptr && record.certificate == nullptr && record.warnings == nullptr &&
         record.certificate_length == 0 && record.warning_count == 0;
}

TEST_F(CertificateRecord, ReleaseEmptiesItAndASecondOneDoesNoHarm) {
  DeviceCertificate* const record = NewRecord();
  ASSERT_NE(record, nullptr);
  EXPECT_TRUE(DeleteDeviceCertificate(record));
  EXPECT_TRUE(HoldsNothing(*record));
  EXPECT_TRUE(DeleteDeviceCertificate(record));
  EXPECT_TRUE(HoldsNothing(*record));
  CoTaskMemFree(record);
  EXPECT_TRUE(DeleteDeviceCertificate(nullptr));
  DeviceCertificate empty = {};
  EXPECT_TRUE(DeleteDeviceCertificate(&empty));
  EXPECT_TRUE(HoldsNothing(empty));
}

// Managed callers give back a copy that they have made of the 40 bytes.
TEST_F(CertificateRecord, CopyOfItIsReleasedAsWell) {
  DeviceCertificate* const record = NewRecord();
  ASSERT_NE(record, nullptr);
  DeviceCertificate copy = *record;
  CoTaskMemFree(record);
  EXPECT_TRUE(DeleteDeviceCertificate(&copy));
  EXPECT_TRUE(HoldsNothing(copy));
}

TEST_F(CertificateRecord, OneRecordThroughSeveralChecks) {
  printer["certificate"]["warnings"] = Codes{2};
  WritePrinter();
  DeviceCertificate* const record = NewRecord();
  ASSERT_NE(record, nullptr);
  const DeviceCertificate before = *record;
  const auto warnings = [record] {
    return Codes(record->warnings, record->warnings + record->warning_count);
  };
  const auto check = [&] {
    return VerifyCertificateValidity(ToWide(kUser).c_str(), ToWide(kQueue).c_str(), kFullCheck, record) != 0;
  };
  EXPECT_TRUE(check());
  EXPECT_EQ(warnings(), Codes{2});
  // Straight, for while a record is out something is left open.
  EXPECT_EQ(SavePassword(reinterpret_cast<const uint8_t*>(Certificate("renewed").c_str()),
                         static_cast<CustomBidiDword>(Certificate("renewed").size()), ToWide(kUser).c_str(),
                         ToWide(kCertificateTarget).c_str(), ToWide(kQueue).c_str()),
            1);
  EXPECT_TRUE(check());
  EXPECT_EQ(warnings(), (Codes{2, 1169}));
  EXPECT_TRUE(check());
  EXPECT_EQ(warnings(), (Codes{2, 1169, 1169})) << "each check adds its own";
  EXPECT_EQ(SavePassword(record->certificate, record->certificate_length, ToWide(kUser).c_str(),
                         ToWide(kCertificateTarget).c_str(), ToWide(kQueue).c_str()),
            1);
  EXPECT_TRUE(check());
  EXPECT_EQ(warnings(), Codes{});
  EXPECT_EQ(record->identifier, before.identifier);
  EXPECT_EQ(record->certificate, before.certificate);
  EXPECT_EQ(record->certificate_length, before.certificate_length);
  EXPECT_EQ(record->warnings, before.warnings);
  EXPECT_TRUE(DeleteDeviceCertificate(record));
  CoTaskMemFree(record);
  EXPECT_TRUE(Delete({kUser, kCertificateTarget}));
}

TEST_F(CertificateRecord, WithoutAnIdentifierThereIsNoVault) {
  KeepInVault(Certificate("device"));
  std::string bytes = Certificate("renewed");
  std::array<CustomBidiDword, kWarningRoom> codes{2};
  DeviceCertificate record = {};
  record.certificate = reinterpret_cast<uint8_t*>(bytes.data());
  record.certificate_length = static_cast<CustomBidiDword>(bytes.size());
  record.warnings = codes.data();
  record.warning_count = 1;
  TakeCalls();
  EXPECT_TRUE(CheckRaw(&record));
  EXPECT_EQ(record.warning_count, 1U);
  EXPECT_EQ(codes[0], 2U);
  EXPECT_EQ(record.identifier, nullptr);
  const Lines calls = TakeCalls();
  EXPECT_EQ(std::ranges::count(calls, "CreateVaultStoreProvider"), 0);
}

TEST_F(CertificateRecord, WithoutAnArrayTheCountAloneIsWritten) {
  const std::string no_memory =
      "[DeviceCertificate]:No memory allocated to get Certificate security warnings";
  const struct {
    const char* certificate;
    CustomBidiDword before;
    CustomBidiDword after;
  } rows[] = {{"device", 0, 0}, {"device", 5, 0}, {"device", 0xFFFFFFFF, 0}, {"expired", 3, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    std::string bytes = Certificate(row.certificate);
    DeviceCertificate record = {};
    record.certificate = reinterpret_cast<uint8_t*>(bytes.data());
    record.certificate_length = static_cast<CustomBidiDword>(bytes.size());
    record.warning_count = row.before;
    EXPECT_TRUE(CheckRaw(&record));
    EXPECT_EQ(record.warning_count, row.after);
    EXPECT_EQ(record.warnings, nullptr);
    const Lines trace = TakeTrace();
    EXPECT_EQ(std::ranges::count(trace, no_memory), 1);
    // No list, so none that could be empty.
    EXPECT_EQ(std::ranges::count(trace, "[DeviceCertificate]:Number of errors reported"), 1);
  }
}

TEST_F(CertificateRecord, OfMoreThanTenWarningsTheFirstTenCount) {
  std::string bytes = Certificate("expired");
  for (const CustomBidiDword count : {11u, 12u, 1000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(count);
    std::array<CustomBidiDword, 12> codes;
    codes.fill(2);
    codes[10] = 32;  // would end the check
    codes[11] = kPoison;
    DeviceCertificate record = {};
    record.certificate = reinterpret_cast<uint8_t*>(bytes.data());
    record.certificate_length = static_cast<CustomBidiDword>(bytes.size());
    record.warnings = codes.data();
    record.warning_count = count;
    EXPECT_TRUE(CheckRaw(&record));
    EXPECT_EQ(record.warning_count, kWarningRoom);
    EXPECT_TRUE(std::all_of(codes.begin(), codes.begin() + 10, [](auto code) { return code == 2; }));
    EXPECT_TRUE(codes[10] == 32 && codes[11] == kPoison) << "beyond the room";
    const Lines trace = TakeTrace();
    EXPECT_EQ(std::ranges::count(trace, "[CertificateHandlingWrapper]:Certificate Date is Invalid"), 1);
  }
}

TEST_F(CertificateRecord, ManyRecordsLeaveNothing) {
  // Entries that are there: Wine's CredReadW keeps a handle whenever it finds nothing.
  KeepInVault(Certificate("device"));
  ASSERT_TRUE(Save(kPassword));
  const auto read_and_check = [this](int rounds) {
    for (int i = 0; i < rounds; ++i) {
      EXPECT_NE(Read(), std::nullopt);
      EXPECT_TRUE(Check({kUuid, Certificate("device"), {2}}).ok);
      EXPECT_TRUE(IsPresent());
      printer["faults"] = {{"CertificateProvider.GetDeviceCertificate", {{"hresult", 31}}}};
      EXPECT_EQ(Read(), std::nullopt);
      printer["faults"] = Json::object();
    }
  };
  read_and_check(4);  // what the platform itself makes once and keeps
  const long before = CountOpenHandles();
  read_and_check(40);
  EXPECT_LE(CountOpenHandles(), before);
}

}  // namespace
}  // namespace custom_bidi_test
