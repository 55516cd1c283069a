// Passwords and certificates: what is kept for whom, what is read, and what a check makes of the warnings.
// failure_tests.cpp has what goes wrong.

#include <algorithm>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr uint32_t kDiffers = 1169;
constexpr uint32_t kDatesDoNotHold = 12037;

const Lines kMade = {"[DeviceCertificate]:Contructed", "[DeviceCertificate]:Initialization Called"};
const Lines kUnlooked = Wrapper({"No Non Negotiable Error Present", "No certificate present is vault"});

class SecurityCalls : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    Delete();  // of a run that crashed
    Delete({kUser, kCertificateTarget});
    SetTrace(true);
  }

  void SetWarnings(const Codes& codes) { printer["certificate"]["warnings"] = codes; }
  Record Device(const Codes& warnings = {}, const std::string& name = "device") {
    return {kUuid, Certificate(name), warnings};
  }
  void ExpectCheck(const Record& record, const Codes& warnings, const Lines& lines) {
    EXPECT_EQ(Check(record), (CheckAnswer{true, warnings}));
    ExpectTraced(lines);
  }
  void ExpectNotRead(const Lines& lines, uint32_t mode = kFullCheck) {
    EXPECT_EQ(Read(mode), std::nullopt);
    ExpectTraced(lines);
  }
};

TEST_F(SecurityCalls, PasswordFromSavingToDeleting) {
  EXPECT_FALSE(IsPresent() || Delete());
  const Lines absent =
      PasswordCall(kTargetNotPresent) + Lines{">>>> Custom Bidi : IXO SEP Target Processing failed!!"};
  ExpectTraced(absent + absent);
  EXPECT_TRUE(Save(kPassword) && Save("another") && IsPresent() && Delete()) << "in place of the first";
  EXPECT_FALSE(IsPresent());
}

TEST_F(SecurityCalls, PasswordBelongsToItsUserAndTarget) {
  EXPECT_TRUE(Save(kPassword));
  EXPECT_TRUE(IsPresent({kUser, kTarget, "CustomBidi no queue"})) << "it belongs to no queue";
  const PasswordNames others[] = {{"jdoe2"},
                                  {kUser, "CustomBidi test target 2"},
                                  {"J\xC3\xBCrgen \xF0\x9F\x96\xA8", "CustomBidi test/\\:*?\"<>|"}};
  for (const PasswordNames& names : others) {
    EXPECT_TRUE(!IsPresent(names) && !Delete(names) && Save(kPassword, names)) << *names.target;
  }
  for (const PasswordNames& names : others) {
    EXPECT_TRUE(Delete(names) && !IsPresent(names)) << *names.target;
  }
}

TEST_F(SecurityCalls, PasswordFirstByteAloneSaysWhetherThereIsOne) {
  for (const MaybeText& none : {MaybeText(), MaybeText(""), MaybeText(std::string("\0secret", 7))}) {
    EXPECT_FALSE(Save(none));
    ExpectTraced(PasswordCall("[IxoWrapper]:Target is empty") +
                 Lines{">>>> Custom Bidi : IXO SEP Target Processing failed!!"});
    EXPECT_FALSE(IsPresent());
    TakeTrace();
  }
  for (const std::string& some : {std::string("s"), std::string("s\0\0x", 4), std::string(2000, '\xFF')}) {
    EXPECT_TRUE(Save(some) && Delete());
  }
}

TEST_F(SecurityCalls, CertificateReadingTakesAnyBytesThatTheDeviceGives) {
  for (const std::string& bytes :
       {Certificate("device"), Certificate("rsa4096"), std::string("x"), std::string(1, '\0'),
        std::string(1 << 20, '\xA5'), Certificate("device") + "more"}) {
    host.Write("certificate.der", bytes);
    EXPECT_EQ(Read(), (Record{kUuid, bytes, {}})) << bytes.size();
  }
}

TEST_F(SecurityCalls, CertificateReadingTakesUpToNineWarnings) {
  const Lines begin = Before(CertificateRead(), "[CertificateHandlingWrapper]:No Error");
  for (const Codes& codes :
       {Codes{0}, Codes{0xFFFFFFFF, 0x80000000, 5, 5}, Codes{1, 2, 3, 4, 5, 6, 7, 8, 9}}) {
    SetWarnings(codes);
    EXPECT_EQ(Read(), Device(codes));
    Lines told = {"Count of Error " + std::to_string(codes.size())};
    for (size_t i = 0; i < codes.size(); ++i) {
      told.push_back("Error[" + std::to_string(i) + "]=" + std::to_string(static_cast<int32_t>(codes[i])));
    }
    ExpectTraced(begin + Wrapper(told) + kMade + Wrapper({"Destroyed"}));
  }
  // There is room for ten, yet ten are too many.
  SetWarnings(Codes(10, 1));
  for (const uint32_t count : {10u, 11u, 0xFFFFFFFFu}) {
    Fail("CertificateProvider.GetCertificateAllSecurityWarnings", Length(count));
    ExpectNotRead(begin + Wrapper({"Destroyed"}));
  }
}

TEST_F(SecurityCalls, CertificateReadingTakesAUuidOfUpTo255Characters) {
  for (const std::string& uuid :
       {std::string(255, 'u'), std::string("\xC3\xBC/\\:*?\"<>|.\xF0\x9F\x96\xA8")}) {
    printer["certificate"]["uuid"] = uuid;
    EXPECT_EQ(Read(), (Record{uuid, Certificate("device"), {}}));
  }
  TakeTrace();
  // Text that fits, with a length that is too much or nothing; more text than fits; a length without a text.
  const Lines begin = Before(CertificateRead(), "[CertificateHandlingWrapper]:No certificate");
  const auto expect = [&](size_t chars, const Lines& lines) {
    printer["certificate"]["uuid"] = std::string(chars, 'u');
    ExpectNotRead(begin + Wrapper(lines + Lines{"Destroyed"}));
  };
  expect(0, {});
  expect(256, {"GetDeviceUUID API Failed"});
  expect(1 << 20, {"GetDeviceUUID API Failed"});
  for (const auto& [chars, told] :
       {std::pair{1u, 0u}, {1u, 256u}, {1u, 0xFFFFFFFF}, {0u, 3u}, {300u, 300u}}) {
    SCOPED_TRACE(told);
    Fail("CertificateProvider.GetDeviceUUID", Length(told));
    expect(chars, {});
  }
  Fail("CertificateProvider.GetDeviceUUID", Length(255));
  EXPECT_EQ(Read()->identifier, std::string(255, 'u')) << "a text without an end";
}

TEST_F(SecurityCalls, CertificateReadingWithoutAnAddressOneReadIsEnough) {
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Read(kFullCheck, user), std::nullopt) << "the UUID is not kept without a user";
    EXPECT_EQ(Read(kWithoutAddress, user), (Record{"", Certificate("device"), {}}));
  }
  TakeTrace();
  const Lines healthy = CertificateRead();
  const Lines begin = Before(healthy, "[CertificateHandlingWrapper]:GetDeviceC");
  const Lines end = From(healthy, "[CertificateHandlingWrapper]:No certificate");
  const char* const read = "GetDeviceCertificate API Succeded";
  const auto expect = [&](const char* operation, const Codes& warnings, const Record& record,
                          const Lines& lines) {
    SCOPED_TRACE(operation);
    Fail(operation, kEFail);
    SetWarnings(warnings);
    EXPECT_EQ(Read(kWithoutAddress), record);
    ExpectTraced(begin + lines);
  };
  const char* const none = "CertificateProvider.GetDeviceUUID";  // which is not asked for
  expect(none, {}, {"", Certificate("device"), {}}, Wrapper({read, "No Error reported"}) + kUnlooked + end);
  const Lines destroyed = Wrapper({"Destroyed"});
  const Lines count = Wrapper({"Count of Error 1", "Error[0]=32"});
  expect(none, {32}, {"", Certificate("device"), {32}},
         Wrapper({read}) + count + Wrapper({"Non negotiable error present"}) + kMade + destroyed);
  expect("CertificateProvider.GetDeviceCertificate", {5}, {"", "", {5}},
         Wrapper({"GetDeviceCertificate API Failed", "Count of Error 1", "Error[0]=5",
                  "No certificate retreived from device"}) +
             kMade + Lines{"[DeviceCertificate]:Certificate Error"} + destroyed);
  expect("CertificateProvider.GetCertificateAllSecurityWarnings", {5}, {"", Certificate("device"), {}},
         Wrapper({read, "GetCertificateAllSecurityWarnings API Failed"}) + kUnlooked + end);
  Heal();
  printer["addresses"] = Json::object();
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {5}}));
  TakeTrace();
  MakeHealthy();
  ExpectNotRead(begin + destroyed, 2);  // other modes have no provider
}

TEST_F(SecurityCalls, CertificateCheckByTheVaultsCopyAndTheDates) {
  const std::string device = Certificate("device");
  const std::string expired = Certificate("expired");
  const std::string renewed = Certificate("renewed");  // with the same names and key
  const Codes nine(9, 2);
  const Codes ten(10, 2);
  const Codes nine_and_differs = {2, 2, 2, 2, 2, 2, 2, 2, 2, kDiffers};
  // What is kept, if anything; what is checked; the warnings before and after.
  const std::tuple<std::string, std::string, Codes, Codes> rows[] = {
      {"", device, {2, 12038}, {2, 12038}},
      {"", expired, {}, {kDatesDoNotHold}},
      {"", expired, {kDatesDoNotHold, 2}, {kDatesDoNotHold, 2}},
      // The same: all warnings go, also one from an earlier check and one about the dates.
      {device, device, {kDiffers, kDatesDoNotHold}, {}},
      {expired, expired, {2, kDatesDoNotHold}, {kDatesDoNotHold}},
      // Another.
      {device, renewed, {kDiffers}, {kDiffers, kDiffers}},
      {device, device + std::string(1, '\0'), {2}, {2, kDiffers}},
      {device, Certificate("not_yet_valid"), {2}, {2, kDiffers, kDatesDoNotHold}},
      // Ten are the most.
      {device, renewed, ten, ten},
      {device, expired, nine, nine_and_differs},
  };
  for (const auto& [kept, certificate, before, after] : rows) {
    SCOPED_TRACE(testing::PrintToString(std::pair(before, after)));
    Lines compared = {kUnlooked[0], kTargetNotPresent, kUnlooked[1]};
    if (!kept.empty()) {
      KeepInVault(kept);
      compared = CheckCompared(kept.size(), certificate == kept);
    }
    const bool is_valid = certificate != expired && certificate != Certificate("not_yet_valid");
    ExpectCheck({kUuid, certificate, before}, after,
                CheckBegin(before.size()) + compared +
                    Wrapper({is_valid ? "Certificate is valid" : "Certificate Date is Invalid"}) +
                    CheckEnd(after.size()));
  }
}

TEST_F(SecurityCalls, CertificateCheckNonNegotiableWarnings) {
  KeepInVault(Certificate("device"));
  // Neither the vault's entry nor the dates are looked at.
  for (const uint32_t code : {0x1u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x00100000u, 0x04000000u}) {
    SCOPED_TRACE(code);
    const Codes warnings = {2, 12038, code};
    ExpectCheck(Device(warnings, "expired"), warnings,
                CheckBegin(3) + Wrapper({"Non negotiable error present"}) + CheckEnd(3));
  }
  // Equality counts, not bits.
  for (const uint32_t code : {0u, 2u, 5u, 0x30u, 0x04000001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Check(Device({code})), (CheckAnswer{true, {}})) << code;
  }
}

TEST_F(SecurityCalls, CertificateCheckNeedsACertificateAUserAndAUuidForTheVault) {
  KeepInVault(Certificate("device"));
  const Lines begin = Before(CheckBegin(1), "[CertStoreVault]");
  const Lines unlooked = begin + kUnlooked + Wrapper({"Certificate is valid", "Destroyed"});
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, user), (CheckAnswer{true, {2}}));
    ExpectTraced(unlooked);
  }
  ExpectCheck({"", Certificate("renewed"), {2}}, {2}, unlooked);
  EXPECT_EQ(Check({"another printer's", Certificate("renewed"), {2}}), (CheckAnswer{true, {2}}));
  EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, "another user"), (CheckAnswer{true, {2}}));
  TakeTrace();

  const Lines error = {"[DeviceCertificate]:Certificate Error"};
  ExpectCheck({kUuid, "", {2}}, {2},
              SecurityInitialisation() + error + Lines{"[DeviceCertificate]:Number of errors reported"} +
                  Wrapper({"Contructed"}) + Lines{kMade[1]} + error +
                  From(CheckBegin(1), "[CertStoreVault]") +
                  Wrapper({"No certificate retreived from device"}) + CheckEnd(1));
  DeviceCertificate null_bytes = {nullptr, 5, nullptr, 0, nullptr};
  EXPECT_TRUE(CheckRaw(&null_bytes));
  TakeTrace();
  EXPECT_FALSE(CheckRaw(nullptr));
  ExpectTraced(SecurityInitialisation());

  // Without an address only the warnings are judged.
  EXPECT_EQ(Check(Device({2}, "expired"), kWithoutAddress), (CheckAnswer{true, {2}}));
  ExpectTraced(begin + kUnlooked + Wrapper({"Destroyed"}));
  EXPECT_EQ(Check(Device({2}), 2), (CheckAnswer{false, {2}}));
  ExpectTraced(begin + Wrapper({"Destroyed"}));  // other modes have no provider
}

// What the decoder calls the trouble is its own affair.
TEST_F(SecurityCalls, CertificateCheckBytesThatAreNoCertificate) {
  const std::string device = Certificate("device");
  const Lines end = {
      std::string("Failed to create certificate context using crypto CertCreateCertificateContext API : -") +
          kAnything,
      "Exception occured - \n"};
  constexpr size_t kMostThatEachVaultTakes = 2560;
  const auto expect = [&](const std::string& kept, const std::string& checked) {
    SCOPED_TRACE(checked.size());
    KeepInVault(kept);
    const Lines length = {"Vault Certificate lenght = " + std::to_string(kept.size()) + "\n"};
    EXPECT_EQ(Check({kUuid, checked, {2}}), (CheckAnswer{false, {2}}));
    ExpectTraced(CheckBegin(1) + Before(CheckCompared(0, true), "Vault Certificate") + length +
                 (kept == device ? length : Lines{}) + end +
                 Wrapper({"VerifyCertBlobMatching API Failed", "Certificate Match operation failed"}) +
                 CheckEnd(1));
  };
  for (const std::string& bytes : {std::string("x"), device.substr(0, device.size() - 1), device.substr(1),
                                   std::string(kMostThatEachVaultTakes, '\xA5')}) {
    expect(bytes, device);
    expect(device, bytes);
  }
  expect(device, std::string(65536, '\x30'));
}

// Managed callers give back a copy that they have made of the 40 bytes.
TEST_F(SecurityCalls, CertificateRecordIsReleasedOnceHoweverOften) {
  WritePrinter();
  DeviceCertificate* const record = StraightCalls().Read();
  ASSERT_NE(record, nullptr);
  DeviceCertificate copy = *record;
  CoTaskMemFree(record);
  DeviceCertificate empty = {};
  for (DeviceCertificate* each : {&copy, &copy, &empty}) {
    EXPECT_TRUE(DeleteDeviceCertificate(each));
    EXPECT_TRUE(each->identifier == nullptr && each->certificate == nullptr && each->warnings == nullptr &&
                each->certificate_length == 0 && each->warning_count == 0);
  }
  EXPECT_TRUE(DeleteDeviceCertificate(nullptr));
}

TEST_F(SecurityCalls, CertificateRecordMayHaveNoIdentifierAndNoArray) {
  Record content = {"", Certificate("expired"), {}};
  WString no_text;
  for (const CustomBidiDword before : {0u, 3u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(before);
    DeviceCertificate record = RawRecord(content, no_text);
    record.identifier = nullptr;
    record.warnings = nullptr;
    record.warning_count = before;
    EXPECT_TRUE(CheckRaw(&record) && record.warning_count == 1);
    EXPECT_TRUE(record.warnings == nullptr && record.identifier == nullptr);
    const Lines trace = TakeTrace();
    From(trace, "[DeviceCertificate]:Number of errors reported");  // no list, so none that could be empty
    From(trace, "[DeviceCertificate]:No memory allocated to get Certificate security warnings");
  }
}

TEST_F(SecurityCalls, CertificateRecordOfMoreThanTenWarningsTheFirstTenCount) {
  Record content = {"", Certificate("expired"), Codes(12, 2)};
  content.warnings[10] = 32;  // would end the check
  const Codes before = content.warnings;
  WString no_text;
  for (const CustomBidiDword count : {11u, 0xFFFFFFFFu}) {
    DeviceCertificate record = RawRecord(content, no_text);
    record.warning_count = count;
    EXPECT_TRUE(CheckRaw(&record) && record.warning_count == kWarningRoom) << count;
    EXPECT_EQ(content.warnings, before);
    From(TakeTrace(), "[CertificateHandlingWrapper]:Certificate Date is Invalid");
  }
}

}  // namespace
}  // namespace custom_bidi_test
