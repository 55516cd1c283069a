// Passwords and certificates: what is kept for whom, what is read, and what a check makes of the warnings.
// failure_tests.cpp has what goes wrong.

#include <algorithm>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kCreate[] = "CreateCertificateProvider";
constexpr char kDispose[] = "DisposeCertificateProviderPtr";
constexpr char kCreateVault[] = "CreateVaultStoreProvider";
constexpr char kDisposeVault[] = "DisposeVaultStoreProvider";
constexpr char kSetTarget[] = "VaultStoreProvider.SetTargetName";
constexpr char kSetUser[] = "VaultStoreProvider.SetUserName";
constexpr char kIsPresent[] = "VaultStoreProvider.IsTargetPresent";

constexpr uint32_t kDiffers = 1169;
constexpr uint32_t kDatesDoNotHold = 12037;

class SecurityCalls : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    Delete();  // of a run that crashed
    Delete({kUser, kCertificateTarget});
    SetTrace(true);
    TakeTrace();
    TakeCalls();
  }

  void SetWarnings(const Codes& codes) {
    std::string text;
    for (const CustomBidiDword code : codes) {
      text += (text.empty() ? "" : ",") + std::to_string(code);
    }
    printer["certificate"]["warnings"] = Json::Raw("[" + text + "]");
  }
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

class Password : public SecurityCalls {};
class CertificateReading : public SecurityCalls {};
class CertificateCheck : public SecurityCalls {};
class CertificateRecord : public SecurityCalls {};

TEST_F(Password, FromSavingToDeleting) {
  const Lines asked = {kCreateVault, kSetTarget, kSetUser, kIsPresent, kDisposeVault};
  EXPECT_FALSE(IsPresent() || Delete());
  const Lines absent =
      PasswordCall(kTargetNotPresent) + Lines{">>>> Custom Bidi : IXO SEP Target Processing failed!!"};
  ExpectTraced(absent + absent);
  EXPECT_EQ(TakeCalls(), asked + asked);
  EXPECT_TRUE(Save(kPassword));
  EXPECT_EQ(TakeCalls(),
            (Lines{kCreateVault, kSetTarget, kSetUser, "VaultStoreProvider.SaveTarget", kDisposeVault}));
  EXPECT_TRUE(Save("another") && IsPresent() && Delete()) << "in place of the first";
  EXPECT_FALSE(IsPresent());
}

TEST_F(Password, BelongsToItsUserAndTarget) {
  EXPECT_TRUE(Save(kPassword));
  EXPECT_FALSE(IsPresent({"jdoe2"}) || IsPresent({kUser, "CustomBidi test target 2"}) || Delete({"jdoe2"}));
  EXPECT_TRUE(IsPresent({kUser, kTarget, "CustomBidi no queue"})) << "and to no queue";
  // Odd names are kept apart and as they are.
  const PasswordNames odd[] = {{"first.last", "CustomBidi test/\\:*?\"<>|"},
                               {"first", "last.CustomBidi test/\\:*?\"<>|"},
                               {"J\xC3\xBCrgen \xF0\x9F\x96\xA8", "CustomBidi test \xE2\x82\xAC"}};
  for (const PasswordNames& names : odd) {
    EXPECT_TRUE(!IsPresent(names) && Save(kPassword, names)) << *names.target;
  }
  for (const PasswordNames& names : odd) {
    EXPECT_TRUE(Delete(names) && !IsPresent(names)) << *names.target;
  }
}

TEST_F(Password, FirstByteAloneSaysWhetherThereIsOne) {
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

TEST_F(CertificateReading, TakesAnyBytesThatTheDeviceGives) {
  EXPECT_EQ(Read(), Device());
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, "CertificateProvider.GetDeviceCertificate",
                                "CertificateProvider.GetDeviceCertificate",
                                "CertificateProvider.GetCertificateAllSecurityWarnings",
                                "CertificateProvider.GetDeviceUUID", kDispose}))
      << "the vault is not asked";
  for (const std::string& bytes : {Certificate("rsa4096"), std::string("x"), std::string(1, '\0'),
                                   std::string(65536, '\xA5'), Certificate("device") + "more"}) {
    SetDeviceCertificate(bytes);
    EXPECT_EQ(Read(), (Record{kUuid, bytes, {}})) << bytes.size();
  }
}

TEST_F(CertificateReading, TakesUpToNineWarnings) {
  const Lines healthy = CertificateRead();
  const Lines begin = Before(healthy, "[CertificateHandlingWrapper]:No Error");
  for (const Codes& codes :
       {Codes{32}, Codes{0}, Codes{0xFFFFFFFF, 0x80000000, 5, 5}, Codes{1, 2, 3, 4, 5, 6, 7, 8, 9}}) {
    SetWarnings(codes);
    EXPECT_EQ(Read(), Device(codes));
    Lines told = {"Count of Error " + std::to_string(codes.size())};
    for (size_t i = 0; i < codes.size(); ++i) {
      told.push_back("Error[" + std::to_string(i) + "]=" + std::to_string(static_cast<int32_t>(codes[i])));
    }
    ExpectTraced(begin + Wrapper(told) +
                 Lines{"[DeviceCertificate]:Contructed", "[DeviceCertificate]:Initialization Called"} +
                 Wrapper({"Destroyed"}));
  }
  // There is room for ten, yet ten are too many.
  SetWarnings(Codes(10, 1));
  for (const uint32_t count : {10u, 11u, 0xFFFFFFFFu}) {
    printer["certificate"]["warning_count"] = count;
    ExpectNotRead(begin + Wrapper({"Destroyed"}));
  }
}

TEST_F(CertificateReading, TakesAUuidOfUpTo255Characters) {
  for (const std::string& uuid : {std::string("u"), std::string(255, 'u'), std::string("../..\\C:*?\"<>|."),
                                  std::string("\xC3\xBC \xF0\x9F\x96\xA8")}) {
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
  for (const auto& [chars, told] :
       {std::pair{1u, 0u}, {1u, 256u}, {1u, 0xFFFFFFFF}, {300u, 300u}, {0u, 3u}}) {
    SCOPED_TRACE(told);
    printer["certificate"]["uuid_length"] = told;
    expect(chars, {});
  }
}

TEST_F(CertificateReading, NeedsAUserForTheUuid) {
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Read(kFullCheck, user), std::nullopt) << "the UUID is not kept";
    EXPECT_EQ(Read(kWithoutAddress, user), (Record{"", Certificate("device"), {}}));
  }
}

TEST_F(CertificateReading, WithoutAnAddressOneReadIsEnough) {
  const Lines healthy = CertificateRead();
  const Lines begin = Before(healthy, "[CertificateHandlingWrapper]:GetDeviceC");
  const Lines without_warnings = From(healthy, "[CertificateHandlingWrapper]:No certificate");
  const Lines with_warnings = {"[DeviceCertificate]:Contructed", "[DeviceCertificate]:Initialization Called"};
  const Lines judged_good = Wrapper({"No Non Negotiable Error Present", "No certificate present is vault"});
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
  expect(none, {}, {"", Certificate("device"), {}},
         Wrapper({read, "No Error reported"}) + judged_good + without_warnings);
  expect(none, {5, 32}, {"", Certificate("device"), {5, 32}},
         Wrapper({read, "Count of Error 2", "Error[0]=5", "Error[1]=32", "Non negotiable error present"}) +
             with_warnings + Wrapper({"Destroyed"}));
  expect("CertificateProvider.GetDeviceCertificate", {5}, {"", "", {5}},
         Wrapper({"GetDeviceCertificate API Failed", "Count of Error 1", "Error[0]=5",
                  "No certificate retreived from device"}) +
             with_warnings + Lines{"[DeviceCertificate]:Certificate Error"} + Wrapper({"Destroyed"}));
  expect("CertificateProvider.GetCertificateAllSecurityWarnings", {5}, {"", Certificate("device"), {}},
         Wrapper({read, "GetCertificateAllSecurityWarnings API Failed"}) + judged_good + without_warnings);
  Heal();
  printer["addresses"] = {};
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {5}}));
  TakeTrace();
  MakeHealthy();
  for (const uint32_t mode : {2u, 7u, 0xFFFFFFFFu}) {
    TakeCalls();
    ExpectNotRead(begin + Wrapper({"Destroyed"}), mode);
    EXPECT_EQ(TakeCalls(), Lines{}) << "other modes have no provider";
  }
  printer.erase("certificate");
  ExpectNotRead(
      begin + Wrapper({"GetDeviceCertificate API Failed", "GetCertificateAllSecurityWarnings API Failed",
                       "Could not fetch device Certificate. May be connectivity issue", "Destroyed"}),
      kWithoutAddress);
}

TEST_F(CertificateCheck, ByTheVaultsCopyAndTheDates) {
  const std::string device = Certificate("device");
  const std::string expired = Certificate("expired");
  std::string flipped = device;
  flipped[flipped.size() - 5] ^= 1;
  const Codes nine(9, 2);
  const Codes ten(10, 2);
  const Codes nine_and_differs = {2, 2, 2, 2, 2, 2, 2, 2, 2, kDiffers};
  // What is kept, if anything; what is checked; the warnings before and after.
  const std::tuple<std::string, std::string, Codes, Codes> rows[] = {
      {"", device, {}, {}},
      {"", device, {2, 12038}, {2, 12038}},
      {"", expired, {}, {kDatesDoNotHold}},
      {"", Certificate("not_yet_valid"), {2}, {2, kDatesDoNotHold}},
      {"", expired, {kDatesDoNotHold, 2}, {kDatesDoNotHold, 2}},
      {"", expired, ten, ten},
      // The same: all warnings go, also one from an earlier check and one about the dates.
      {"device", device, {}, {}},
      {"device", device, {kDiffers, kDatesDoNotHold}, {}},
      {"expired", expired, {2, kDatesDoNotHold}, {kDatesDoNotHold}},
      // Another: with the same names and key, a bit of its signature flipped, more behind it.
      {"device", Certificate("renewed"), {kDiffers}, {kDiffers, kDiffers}},
      {"device", flipped, {2}, {2, kDiffers}},
      {"device", device + std::string(1, '\0'), {2}, {2, kDiffers}},
      {"device", expired, {2}, {2, kDiffers, kDatesDoNotHold}},
      // Ten are the most.
      {"device", Certificate("renewed"), nine, nine_and_differs},
      {"device", Certificate("renewed"), ten, ten},
      {"device", expired, nine, nine_and_differs},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    const auto& [kept, certificate, before, after] = rows[i];
    Lines compared = Wrapper({"No Non Negotiable Error Present"}) + Lines{kTargetNotPresent} +
                     Wrapper({"No certificate present is vault"});
    if (!kept.empty()) {
      KeepInVault(Certificate(kept));
      compared = CheckCompared(Certificate(kept).size(), certificate == Certificate(kept));
    }
    const bool is_valid = certificate != expired && certificate != Certificate("not_yet_valid");
    ExpectCheck({kUuid, certificate, before}, after,
                CheckBegin(before.size()) + compared +
                    Wrapper({is_valid ? "Certificate is valid" : "Certificate Date is Invalid"}) +
                    CheckEnd(after.size()));
  }
}

TEST_F(CertificateCheck, NonNegotiableWarnings) {
  KeepInVault(Certificate("device"));
  for (const uint32_t code : {0x1u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x00100000u, 0x04000000u}) {
    SCOPED_TRACE(code);
    const Codes warnings = {2, 12038, code};
    ExpectCheck(Device(warnings, "expired"), warnings,
                CheckBegin(3) + Wrapper({"Non negotiable error present"}) + CheckEnd(3));
    EXPECT_EQ(TakeCalls(), (Lines{kCreate, kCreateVault, kSetTarget, kSetUser, kDispose, kDisposeVault}))
        << "neither the vault's entry nor the dates are looked at";
  }
  // Equality counts, not bits.
  for (const uint32_t code : {0u, 2u, 5u, 3u, 0x80u, 0x30u, 0x04000001u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Check(Device({code})), (CheckAnswer{true, {}})) << code;
  }
}

TEST_F(CertificateCheck, NeedsACertificateAUserAndAUuidForTheVault) {
  KeepInVault(Certificate("device"));
  const Lines begin = Before(CheckBegin(1), "[CertStoreVault]");
  const Lines unlooked =
      begin + Wrapper({"No Non Negotiable Error Present", "No certificate present is vault",
                       "Certificate is valid", "Destroyed"});
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, user), (CheckAnswer{true, {2}}));
    ExpectTraced(unlooked);
  }
  TakeCalls();
  ExpectCheck({"", Certificate("renewed"), {2}}, {2}, unlooked);
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, "CertificateProvider.CheckCertificateDate", kDispose}));
  EXPECT_EQ(Check({"other", Certificate("renewed"), {2}}), (CheckAnswer{true, {2}})) << "another printer's";
  EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, "other"), (CheckAnswer{true, {2}})) << "another user's";
  TakeTrace();

  const Lines error = {"[DeviceCertificate]:Certificate Error"};
  const Lines initialised = {"[DeviceCertificate]:Initialization Called"};
  const Lines vault = From(CheckBegin(1), "[CertStoreVault]");
  ExpectCheck({kUuid, "", {2}}, {2},
              SecurityInitialisation() + error + Lines{"[DeviceCertificate]:Number of errors reported"} +
                  Wrapper({"Contructed"}) + initialised + error + vault +
                  Wrapper({"No certificate retreived from device"}) + CheckEnd(1));
  DeviceCertificate null_bytes = {nullptr, 5, nullptr, 0, nullptr};
  EXPECT_TRUE(CheckRaw(&null_bytes));
  TakeTrace();
  EXPECT_FALSE(CheckRaw(nullptr));
  ExpectTraced(SecurityInitialisation());

  TakeCalls();
  EXPECT_EQ(Check(Device({2}, "expired"), kWithoutAddress), (CheckAnswer{true, {2}}));
  ExpectTraced(begin +
               Wrapper({"No Non Negotiable Error Present", "No certificate present is vault", "Destroyed"}));
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, kDispose})) << "without an address only the warnings are judged";
  for (const uint32_t mode : {2u, 7u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Check(Device({2}), mode), (CheckAnswer{false, {2}})) << mode;
    ExpectTraced(begin + Wrapper({"Destroyed"}));
    EXPECT_EQ(TakeCalls(), Lines{});
  }
}

TEST_F(CertificateCheck, EntryIsFoundUnderItsTargetName) {
  for (const auto& [user, uuid] : {std::pair<std::string, std::string>{"jdoe", "0123-ABCD"},
                                   {"DOMAIN\\J\xC3\xBCrgen", "../..\\C:*?\"<>|."}}) {
    const std::string target = "Vexmo.VIB.NQDRV4." + user + "." + uuid;
    SCOPED_TRACE(target);
    const Record record = {uuid, Certificate("device"), {2}};
    ASSERT_TRUE(Save(Certificate("device"), {user, target}));
    EXPECT_EQ(Check(record, kFullCheck, user), (CheckAnswer{true, {}}));
    ASSERT_TRUE(Delete({user, target}));
    EXPECT_EQ(Check(record, kFullCheck, user), (CheckAnswer{true, {2}}));
    // The simulated library sees the very name.
    Fail(kSetTarget, With(kRaise5, "\"only\": " + Json(target).Text()));
    EXPECT_EQ(Check(record, kFullCheck, user), (CheckAnswer{false, {2}}));
    Heal();
  }
}

// What the decoder calls the trouble is its own affair.
TEST_F(CertificateCheck, BytesThatAreNoCertificate) {
  const std::string device = Certificate("device");
  const Lines end = {
      std::string("Failed to create certificate context using crypto CertCreateCertificateContext API : -") +
          kAnything,
      "Exception occured - \n"};
  constexpr size_t kMostThatEachVaultTakes = 2560;
  for (const std::string& bytes :
       {std::string("x"), device.substr(0, device.size() - 1), device.substr(1),
        std::string(kMostThatEachVaultTakes, '\xA5'), std::string(65536, '\x30')}) {
    const auto expect = [&](const std::string& kept, const std::string& checked) {
      SCOPED_TRACE(bytes.size());
      KeepInVault(kept);
      const std::string length = "Vault Certificate lenght = " + std::to_string(kept.size()) + "\n";
      EXPECT_EQ(Check({kUuid, checked, {2}}), (CheckAnswer{false, {2}}));
      ExpectTraced(CheckBegin(1) + Before(CheckCompared(0, true), "Vault Certificate") +
                   (kept == bytes ? Lines{length} : Lines{length, length}) + end +
                   Wrapper({"VerifyCertBlobMatching API Failed", "Certificate Match operation failed"}) +
                   CheckEnd(1));
    };
    if (bytes.size() <= kMostThatEachVaultTakes) {
      expect(bytes, device);
    }
    expect(device, bytes);
  }
}

// Managed callers give back a copy that they have made of the 40 bytes.
TEST_F(CertificateRecord, IsReleasedOnceHoweverOften) {
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

TEST_F(CertificateRecord, MayHaveNoIdentifierAndNoArray) {
  for (const auto& [certificate, before, after] :
       {std::tuple{"device", 0u, 0u}, {"device", 0xFFFFFFFF, 0u}, {"expired", 3u, 1u}}) {
    SCOPED_TRACE(before);
    Record content = {"", Certificate(certificate), {}};
    WString no_text;
    DeviceCertificate record = RawRecord(content, no_text);
    record.identifier = nullptr;
    record.warnings = nullptr;
    record.warning_count = before;
    EXPECT_TRUE(CheckRaw(&record));
    EXPECT_EQ(record.warning_count, after);
    EXPECT_TRUE(record.warnings == nullptr && record.identifier == nullptr);
    const Lines trace = TakeTrace();
    for (const char* line : {"No memory allocated to get Certificate security warnings",
                             "Number of errors reported"}) {  // no list, so none that could be empty
      EXPECT_EQ(std::ranges::count(trace, std::string("[DeviceCertificate]:") + line), 1);
    }
    const Lines asked = TakeCalls();
    EXPECT_EQ(std::ranges::count(asked, kCreateVault), 0);
  }
}

TEST_F(CertificateRecord, OfMoreThanTenWarningsTheFirstTenCount) {
  for (const CustomBidiDword count : {11u, 1000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(count);
    Record content = {"", Certificate("expired"), Codes(12, 2)};
    content.warnings[10] = 32;  // would end the check
    const Codes before = content.warnings;
    WString no_text;
    DeviceCertificate record = RawRecord(content, no_text);
    record.warning_count = count;
    EXPECT_TRUE(CheckRaw(&record));
    EXPECT_EQ(record.warning_count, kWarningRoom);
    EXPECT_EQ(content.warnings, before);
    const Lines trace = TakeTrace();
    EXPECT_EQ(std::ranges::count(trace, Wrapper({"Certificate Date is Invalid"}).front()), 1);
  }
}

}  // namespace
}  // namespace custom_bidi_test
