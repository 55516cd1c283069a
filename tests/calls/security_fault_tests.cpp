// The password and certificate calls with every single acquisition failing once. Native tests: the injectors
// are.

#include <algorithm>

#include "tests/calls/fault_injection.h"
#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

class SecurityFaults : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    printer["certificate"]["warnings"] = Codes{2};
    printer.erase("log");  // a provider stays out when the way back is not found
    KeepInVault(Certificate("device"));
    SetTrace(true);
    WritePrinter();
  }

  void SavesOrRefuses(const Injector& injector);
  void FindsOrRefuses(const Injector& injector);
  void DeletesOrRefuses(const Injector& injector);
  void ReadsARecordOrNone(const Injector& injector);
  void ChecksOrLeavesTheWarnings(const Injector& injector);

  void RunAll(const Injector& injector) {
    SavesOrRefuses(injector);
    FindsOrRefuses(injector);
    DeletesOrRefuses(injector);
    ReadsARecordOrNone(injector);
    ChecksOrLeavesTheWarnings(injector);
  }

  const WString user_ = ToWide(kUser);
  const WString target_ = ToWide(kTarget);
  const WString queue_ = ToWide(kQueue);
};

// What looks saved is saved; a refusal may have come too late.
void SecurityFaults::SavesOrRefuses(const Injector& injector) {
  const uint8_t password[] = {'s', 'e', 'c', 'r', 'e', 't'};
  FailEach(
      injector,
      [&] {
        return SavePassword(password, sizeof password, user_.c_str(), target_.c_str(), queue_.c_str()) != 0;
      },
      [&](bool ok) {
        const bool is_there = Delete();
        EXPECT_TRUE(is_there || !ok);
      });
}

void SecurityFaults::FindsOrRefuses(const Injector& injector) {
  ASSERT_TRUE(Save(kPassword));
  FailEach(
      injector, [&] { return IsPasswordPresent(user_.c_str(), target_.c_str(), queue_.c_str()) != 0; },
      [](bool) {});
  ASSERT_TRUE(Delete());
}

void SecurityFaults::DeletesOrRefuses(const Injector& injector) {
  ASSERT_TRUE(Save(kPassword));
  FailEach(
      injector, [&] { return DeletePassword(user_.c_str(), target_.c_str(), queue_.c_str()) != 0; },
      [&](bool ok) {
        EXPECT_EQ(IsPresent(), !ok);
        Save(kPassword);
      });
  Delete();
}

void SecurityFaults::ReadsARecordOrNone(const Injector& injector) {
  const std::string certificate = Certificate("device");
  DeviceCertificate* record = nullptr;
  FailEach(
      injector,
      [&] {
        record = GetDeviceCertificate(user_.c_str(), queue_.c_str(), kFullCheck);
        return record != nullptr;
      },
      [&](bool ok) {
        if (!ok)
          return;
        const bool has_certificate = std::ranges::equal(
            std::span(record->certificate, record->certificate_length),
            std::span(reinterpret_cast<const uint8_t*>(certificate.data()), certificate.size()));
        EXPECT_TRUE(has_certificate);
        EXPECT_EQ(Codes(record->warnings, record->warnings + record->warning_count), Codes{2});
        // Null when it could not be allocated.
        EXPECT_EQ(record->identifier != nullptr ? ToUtf8(record->identifier) : kUuid, kUuid);
        DeleteDeviceCertificate(record);
        CoTaskMemFree(record);
      });
}

void SecurityFaults::ChecksOrLeavesTheWarnings(const Injector& injector) {
  std::string certificate = Certificate("device");
  WString uuid = ToWide(kUuid);
  CustomBidiDword codes[kWarningRoom];
  DeviceCertificate record = {};
  FailEach(
      injector,
      [&] {
        std::ranges::fill(codes, 0);
        codes[0] = 2;
        record = {uuid.data(), static_cast<CustomBidiDword>(certificate.size()),
                  reinterpret_cast<uint8_t*>(certificate.data()), 1, codes};
        return VerifyCertificateValidity(user_.c_str(), queue_.c_str(), kFullCheck, &record) != 0;
      },
      [&](bool ok) {
        const Codes warnings(codes, codes + record.warning_count);
        const bool is_untouched = warnings == Codes{2};
        EXPECT_TRUE(is_untouched || (ok && warnings.empty())) << testing::PrintToString(warnings);
      });
}

TEST_F(SecurityFaults, EachCallOfThePlatformFailsOnce) {
  RunAll(kPlatform);
}

TEST_F(SecurityFaults, EachAllocationFailsOnce) {
  testing::internal::CaptureStderr();  // where the simulated printer says that it ran out of memory
  RunAll(kMemory);
  testing::internal::GetCapturedStderr();
  const Lines trace = TakeTrace();
  EXPECT_EQ(std::ranges::count(trace, "[CertificateHandlingWrapper]:CertificateStore vault not created"), 1);
}

}  // namespace
}  // namespace custom_bidi_test
