// VerifyCertificateValidity: the verdict in the record's warnings, and exactly these lines on the way to it.

#include <algorithm>

#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kCreate[] = "CreateCertificateProvider";
constexpr char kDispose[] = "DisposeCertificateProviderPtr";
constexpr char kCheckDate[] = "CertificateProvider.CheckCertificateDate";
constexpr char kCreateVault[] = "CreateVaultStoreProvider";
constexpr char kDisposeVault[] = "DisposeVaultStoreProvider";
constexpr char kSetTarget[] = "VaultStoreProvider.SetTargetName";
constexpr char kSetUser[] = "VaultStoreProvider.SetUserName";
constexpr char kIsPresent[] = "VaultStoreProvider.IsTargetPresent";
constexpr char kGetFromVault[] = "VaultStoreProvider.GetCertFromVault";

constexpr char kNothingInVault[] = "No certificate present is vault";
constexpr char kValid[] = "Certificate is valid";
constexpr char kDateInvalid[] = "Certificate Date is Invalid";
constexpr char kNonNegotiable[] = "Non negotiable error present";
constexpr char kGoOn[] = "No Non Negotiable Error Present";

constexpr uint32_t kDiffers = 1169;
constexpr uint32_t kDatesDoNotHold = 12037;

Lines Wrapper(const Lines& lines) {
  Lines named;
  for (const std::string& line : lines)
    named.push_back("[CertificateHandlingWrapper]:" + line);
  return named;
}

Lines RecordLine(const std::string& line) {
  return {"[DeviceCertificate]:" + line};
}

/// From the start to the wrapper that holds the record's certificate and that many warnings.
Lines Constructed(size_t warnings, bool has_certificate = true) {
  const Lines none = RecordLine("No certificate security warnings to report");
  Lines lines = SecurityInitialisation();
  if (!has_certificate)
    lines = lines + RecordLine("Certificate Error");
  lines = lines + (warnings == 0 ? none : RecordLine("Number of errors reported")) + Wrapper({"Contructed"}) +
          RecordLine("Initialization Called");
  if (!has_certificate)
    lines = lines + RecordLine("Certificate Error");
  return warnings == 0 ? lines + none : lines;
}

Lines WroteBack(size_t warnings) {
  if (warnings != 0)
    return {};
  return Wrapper({"No certificate security warnings to report"}) +
         RecordLine("No certificate security warnings to report");
}

const Lines kVaultMade = {"[CertStoreVault]:Contructed", "[IxoWrapper]:Target Name Created",
                          "[IxoWrapper]:USER Name Created"};
const Lines kVaultGone = {"[CertStoreVault]:Destroyed"};
const Lines kTargetPresent = {"[IxoWrapper]:Target present"};
const Lines kTargetNotPresent = {"[IxoWrapper]:Target NOT present"};
const Lines kTaken = {"[IxoWrapper]:GetCertFromVault returned success"};

Lines Destroyed() {
  return Wrapper({"Destroyed"});
}

Lines LengthLine(size_t length) {
  return {"Vault Certificate lenght = " + std::to_string(length) + "\n"};
}

Lines Compared(size_t vault_length, bool match) {
  Lines lines = LengthLine(vault_length) + LengthLine(vault_length);
  if (match)
    lines = lines + Lines{"Vault Certificate and device certificate thumbprint are matching"};
  else
    lines = lines + Lines{"Device certificate is changed"};
  lines = lines + Wrapper({"VerifyCertBlobMatching API Succeded"});
  return match ? lines + Wrapper({"Certificate matched with Vault"}) : lines;
}

const Lines kComparisonFailed =
    Wrapper({"VerifyCertBlobMatching API Failed", "Certificate Match operation failed"});

class CertificateCheck : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    Delete({kUser, kCertificateTarget});  // of a run that crashed
    SetTrace(true);
    TakeTrace();
    TakeCalls();
  }

  Record Device(const Codes& warnings = {}, const std::string& name = "device") {
    return {kUuid, Certificate(name), warnings};
  }
  void Keep(const std::string& bytes) {
    KeepInVault(bytes);
    TakeTrace();
    TakeCalls();
  }
  void ExpectCheck(const Record& record, const CheckAnswer& answer, const Lines& lines) {
    EXPECT_EQ(Check(record), answer);
    ExpectTrace(lines, TakeTrace());
  }
  static CheckAnswer NotRun(const Codes& warnings = {}) { return {false, warnings}; }
};

TEST_F(CertificateCheck, NothingInTheVault) {
  const Lines start = kVaultMade + Wrapper({kGoOn}) + kTargetNotPresent + Wrapper({kNothingInVault});
  const Lines end = Destroyed() + kVaultGone;
  ExpectCheck(Device(), {true, {}}, Constructed(0) + start + Wrapper({kValid}) + WroteBack(0) + end);
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, kCreateVault, kSetTarget, kSetUser, kIsPresent, kCheckDate, kDispose,
                                kDisposeVault}));
  ExpectCheck(Device({2, 12038}), {true, {2, 12038}}, Constructed(2) + start + Wrapper({kValid}) + end);
  for (const char* name : {"expired", "not_yet_valid"}) {
    SCOPED_TRACE(name);
    ExpectCheck(Device({}, name), {true, {kDatesDoNotHold}},
                Constructed(0) + start + Wrapper({kDateInvalid}) + end);
    ExpectCheck(Device({2}, name), {true, {2, kDatesDoNotHold}},
                Constructed(1) + start + Wrapper({kDateInvalid}) + end);
    EXPECT_EQ(Check(Device({kDatesDoNotHold, 2}, name)), (CheckAnswer{true, {kDatesDoNotHold, 2}}))
        << "once is enough";
    TakeTrace();
  }
}

TEST_F(CertificateCheck, TheVaultsCopy) {
  Keep(Certificate("device"));
  const size_t length = Certificate("device").size();
  const Lines before = kVaultMade + Wrapper({kGoOn}) + kTargetPresent + kTaken;
  const Lines after = Destroyed() + kVaultGone;
  // The same: all warnings go, also one from an earlier check and one about the dates.
  for (const Codes& warnings : {Codes{}, Codes{2}, Codes{kDiffers, kDatesDoNotHold}, Codes(9, 12038)}) {
    ExpectCheck(Device(warnings), {true, {}},
                Constructed(warnings.size()) + before + Compared(length, true) + Wrapper({kValid}) +
                    WroteBack(0) + after);
  }
  EXPECT_EQ(std::ranges::count(TakeCalls(), std::string(kGetFromVault)), 4);
  // Another: with the same names and key, with another key, with a bit of its signature flipped, with more
  // behind it.
  std::string flipped = Certificate("device");
  flipped[flipped.size() - 5] ^= 1;
  for (const std::string& other : {Certificate("renewed"), Certificate("rsa4096"), Certificate("chained"),
                                   flipped, Certificate("device") + std::string(1, '\0')}) {
    ExpectCheck({kUuid, other, {2}}, {true, {2, kDiffers}},
                Constructed(1) + before + Compared(length, false) + Wrapper({kValid}) + after);
  }
  ExpectCheck(Device({kDiffers}, "renewed"), {true, {kDiffers, kDiffers}},
              Constructed(1) + before + Compared(length, false) + Wrapper({kValid}) + after);
  ExpectCheck(Device({2}, "expired"), {true, {2, kDiffers, kDatesDoNotHold}},
              Constructed(1) + before + Compared(length, false) + Wrapper({kDateInvalid}) + after);
}

TEST_F(CertificateCheck, TheVaultsCopyWithDatesThatDoNotHold) {
  for (const char* name : {"expired", "not_yet_valid"}) {
    Keep(Certificate(name));
    ExpectCheck(Device({2, kDatesDoNotHold}, name), {true, {kDatesDoNotHold}},
                Constructed(2) + kVaultMade + Wrapper({kGoOn}) + kTargetPresent + kTaken +
                    Compared(Certificate(name).size(), true) + Wrapper({kDateInvalid}) + Destroyed() +
                    kVaultGone);
  }
}

TEST_F(CertificateCheck, AtMostTenWarnings) {
  const Codes nine(9, 2);
  const Codes ten(10, 2);
  Codes nine_and_dates = nine;
  nine_and_dates.push_back(kDatesDoNotHold);
  EXPECT_EQ(Check(Device(nine, "expired")), (CheckAnswer{true, nine_and_dates}));
  EXPECT_EQ(Check(Device(ten, "expired")), (CheckAnswer{true, ten}));
  Keep(Certificate("device"));
  Codes nine_and_differs = nine;
  nine_and_differs.push_back(kDiffers);
  EXPECT_EQ(Check(Device(nine, "renewed")), (CheckAnswer{true, nine_and_differs}));
  TakeTrace();
  ExpectCheck(Device(nine, "expired"), {true, nine_and_differs},
              Constructed(9) + kVaultMade + Wrapper({kGoOn}) + kTargetPresent + kTaken +
                  Compared(Certificate("device").size(), false) + Wrapper({kDateInvalid}) + Destroyed() +
                  kVaultGone);
  EXPECT_EQ(Check(Device(ten, "renewed")), (CheckAnswer{true, ten}));
}

TEST_F(CertificateCheck, NonNegotiableWarnings) {
  Keep(Certificate("device"));
  for (const uint32_t code : {0x1u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x00100000u, 0x04000000u}) {
    SCOPED_TRACE(code);
    for (const Codes& warnings : {Codes{code}, Codes{2, 12038, code}}) {
      ExpectCheck(
          Device(warnings, "expired"), {true, warnings},
          Constructed(warnings.size()) + kVaultMade + Wrapper({kNonNegotiable, "Destroyed"}) + kVaultGone);
      EXPECT_EQ(TakeCalls(), (Lines{kCreate, kCreateVault, kSetTarget, kSetUser, kDispose, kDisposeVault}))
          << "neither the vault's entry nor the dates are looked at";
    }
  }
  // Equality counts, not bits.
  for (const uint32_t code : {0u, 2u, 5u, 3u, 0x80u, 0x30u, 0x04000001u, 0x80000000u, 0xFFFFFFFFu})
    EXPECT_EQ(Check(Device({code})), (CheckAnswer{true, {}})) << code;
}

TEST_F(CertificateCheck, RecordWithoutACertificate) {
  Keep(Certificate("device"));
  ExpectCheck({kUuid, "", {2}}, {true, {2}},
              Constructed(1, false) + kVaultMade +
                  Wrapper({"No certificate retreived from device", "Destroyed"}) + kVaultGone);
  DeviceCertificate null_bytes = {};
  null_bytes.certificate_length = 5;
  EXPECT_TRUE(CheckRaw(&null_bytes));
  uint8_t bytes[] = {0x30};
  DeviceCertificate no_length = {};
  no_length.certificate = bytes;
  EXPECT_TRUE(CheckRaw(&no_length));
}

TEST_F(CertificateCheck, NoVaultWithoutUserOrUuid) {
  Keep(Certificate("device"));
  const Lines lines = Constructed(1) + Wrapper({kGoOn, kNothingInVault, kValid, "Destroyed"});
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, user), (CheckAnswer{true, {2}}));
    ExpectTrace(lines, TakeTrace());
    EXPECT_EQ(TakeCalls(), (Lines{kCreate, kCheckDate, kDispose}));
  }
  ExpectCheck({"", Certificate("renewed"), {2}}, {true, {2}}, lines);
  EXPECT_EQ(Check({"other", Certificate("renewed"), {2}}), (CheckAnswer{true, {2}})) << "another printer's";
  EXPECT_EQ(Check(Device({2}, "renewed"), kFullCheck, "other"), (CheckAnswer{true, {2}})) << "another user's";
}

TEST_F(CertificateCheck, EntryIsFoundUnderItsTargetName) {
  const struct {
    const char* user;
    const char* uuid;
    const char* target;
  } rows[] = {
      {"jdoe", "0123-ABCD", "Vexmo.VIB.NQDRV4.jdoe.0123-ABCD"},
      {"j.doe", "u", "Vexmo.VIB.NQDRV4.j.doe.u"},
      {"DOMAIN\\J\xC3\xBCrgen", "../..\\C:*?\"<>|.",
       "Vexmo.VIB.NQDRV4.DOMAIN\\J\xC3\xBCrgen.../..\\C:*?\"<>|."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.target);
    const Record record = {row.uuid, Certificate("device"), {2}};
    ASSERT_TRUE(Save(Certificate("device"), {row.user, row.target}));
    EXPECT_EQ(Check(record, kFullCheck, row.user), (CheckAnswer{true, {}}));
    ASSERT_TRUE(Save(Certificate("renewed"), {row.user, row.target}));
    EXPECT_EQ(Check(record, kFullCheck, row.user), (CheckAnswer{true, {2, kDiffers}}));
    ASSERT_TRUE(Delete({row.user, row.target}));
    EXPECT_EQ(Check(record, kFullCheck, row.user), (CheckAnswer{true, {2}}));
    // The simulated library sees the very name.
    printer["faults"] = {{kSetTarget, {{"raise", 5}, {"only", row.target}}}};
    EXPECT_EQ(Check(record, kFullCheck, row.user), NotRun({2}));
    printer["faults"] = Json::object();
  }
}

TEST_F(CertificateCheck, WithoutAnAddressOnlyTheWarningsAreJudged) {
  Keep(Certificate("device"));
  EXPECT_EQ(Check(Device({2}, "expired"), kWithoutAddress), (CheckAnswer{true, {2}}));
  ExpectTrace(Constructed(1) + Wrapper({kGoOn, kNothingInVault, "Destroyed"}), TakeTrace());
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, kDispose}));
  EXPECT_EQ(Check(Device({32}), kWithoutAddress), (CheckAnswer{true, {32}}));
  ExpectTrace(Constructed(1) + Wrapper({kNonNegotiable, "Destroyed"}), TakeTrace());
  EXPECT_EQ(Check({"", "", {}}, kWithoutAddress), (CheckAnswer{true, {}}));
  ExpectTrace(
      Constructed(0, false) + Wrapper({"No certificate retreived from device"}) + WroteBack(0) + Destroyed(),
      TakeTrace());
}

TEST_F(CertificateCheck, OtherModesCannotBeRun) {
  for (const uint32_t mode : {2u, 7u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Check(Device({2}), mode), NotRun({2})) << mode;
    ExpectTrace(Constructed(1) + Destroyed(), TakeTrace());
    EXPECT_EQ(TakeCalls(), Lines{});
  }
}

TEST_F(CertificateCheck, MissingArguments) {
  EXPECT_FALSE(CheckRaw(nullptr));
  ExpectTrace(SecurityInitialisation(), TakeTrace());
  DeviceCertificate record = {};
  for (const MaybeText& queue : {MaybeText(), MaybeText("")}) {
    for (const uint32_t mode : {0u, 1u, 7u}) {
      EXPECT_FALSE(CheckRaw(&record, mode, kUser, queue));
      EXPECT_FALSE(CheckRaw(nullptr, mode, std::nullopt, queue));
    }
  }
  ExpectTrace({}, TakeTrace());
  EXPECT_EQ(TakeCalls(), Lines{});
  host.Remove("vexmobixocert.dll");
  EXPECT_EQ(Check(Device({2})), NotRun({2}));
  ExpectTrace(UpTo(SecurityInitialisation(), "IXOCert_DLL: [") +
                  ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO Cert DLL") +
                  Lines{">>>>>Custom Bidi : Init IO fail!!!",
                        ">>>> Custom Bidi : InitIOWrapper Initialization failed!!"},
              TakeTrace());
}

// What the decoder calls the trouble is its own affair.
TEST_F(CertificateCheck, BytesThatAreNoCertificate) {
  const std::string device = Certificate("device");
  const Lines start = Constructed(1) + kVaultMade + Wrapper({kGoOn}) + kTargetPresent + kTaken;
  const Lines no_context = {
      std::string("Failed to create certificate context using crypto CertCreateCertificateContext API : -") +
          kAnything,
      "Exception occured - \n"};
  const Lines end = kComparisonFailed + Destroyed() + kVaultGone;
  constexpr size_t kMostThatEachVaultTakes = 2560;
  const std::string no_certificates[] = {"x",
                                         device.substr(0, 1),
                                         device.substr(0, device.size() - 1),
                                         device.substr(1),
                                         "\x30\x82",
                                         std::string(kMostThatEachVaultTakes, '\xA5'),
                                         std::string(65536, '\x30')};
  for (const std::string& bytes : no_certificates) {
    SCOPED_TRACE(bytes.size());
    if (bytes.size() <= kMostThatEachVaultTakes) {
      Keep(bytes);
      ExpectCheck(Device({2}), NotRun({2}), start + LengthLine(bytes.size()) + no_context + end);
    }
    Keep(device);
    ExpectCheck({kUuid, bytes, {2}}, NotRun({2}),
                start + LengthLine(device.size()) + LengthLine(device.size()) + no_context + end);
  }
}

TEST_F(CertificateCheck, VaultThatCannotBeRead) {
  Keep(Certificate("device"));
  const size_t length = Certificate("device").size();
  const Lines start = Constructed(1) + kVaultMade + Wrapper({kGoOn}) + kTargetPresent;
  const Lines end = Destroyed() + kVaultGone;
  const Lines not_taken = {"[IxoWrapper]:GetCertFromVault returned failure"};
  printer["faults"] = {{kGetFromVault, {{"hresult", "0x80070005"}}}};
  ExpectCheck(Device({2}), NotRun({2}),
              start + not_taken + Wrapper({"GetCertificateFromVault Failed"}) + end);
  // Bytes that come with a failure are bytes all the same.
  printer["faults"] = {{kGetFromVault, {{"hresult", "0x80070005"}, {"deliver", true}}}};
  ExpectCheck(Device({2}), {true, {}},
              start + not_taken + Compared(length, true) + Wrapper({kValid}) + WroteBack(0) + end);
  // A success without bytes is one without a certificate.
  printer["faults"] = {{kGetFromVault, "null"}};
  ExpectCheck(Device({2}), NotRun({2}),
              start + kTaken + Lines{"Exception occured - Invalid arguments\n\n"} + kComparisonFailed + end);
}

TEST_F(CertificateCheck, NamesThatTheVaultRefuses) {
  Keep(Certificate("device"));
  const Json refused = {{"hresult", "0x80004005"}};
  const Lines rest =
      Wrapper({kGoOn}) + kTargetNotPresent + Wrapper({kNothingInVault, kValid, "Destroyed"}) + kVaultGone;
  printer["faults"] = {{kSetTarget, refused}};
  ExpectCheck(Device({2}), {true, {2}},
              Constructed(1) +
                  Lines{"[CertStoreVault]:Contructed", "[IxoWrapper]: Failed to SetTargetName()",
                        "[IxoWrapper]:USER Name Created"} +
                  rest);
  printer["faults"] = {{kSetUser, refused}};
  ExpectCheck(Device({2}), {true, {2}},
              Constructed(1) +
                  Lines{"[CertStoreVault]:Contructed", "[IxoWrapper]:Target Name Created",
                        "[IxoWrapper]: Failed to SetUserName()"} +
                  rest);
}

TEST_F(CertificateCheck, NoProvider) {
  printer["faults"] = {{kCreateVault, "null"}};
  ExpectCheck(Device({2}, "expired"), {true, {2, kDatesDoNotHold}},
              Constructed(1) + Lines{"[CertStoreVault]:Contructed"} +
                  Wrapper({kGoOn, kNothingInVault, kDateInvalid, "Destroyed"}) + kVaultGone);
  printer["faults"] = {{kCreate, "null"}};
  const Lines unjudged = Constructed(1) + kVaultMade + Wrapper({kGoOn}) + kTargetNotPresent +
                         Wrapper({kNothingInVault, "Destroyed"}) + kVaultGone;
  ExpectCheck(Device({2}), NotRun({2}), unjudged);
  EXPECT_EQ(Check(Device({2}), kWithoutAddress), (CheckAnswer{true, {2}}));
  EXPECT_EQ(Check(Device({32})), (CheckAnswer{true, {32}})) << "known without one";
  TakeTrace();
  printer["faults"] = Json::object();

  host.Copy("vexmobixocert-bare.dll", "vexmobixocert.dll");
  ExpectCheck(Device({2}), NotRun({2}),
              Constructed(1) + Lines{"[CertStoreVault]:Contructed"} +
                  Wrapper({kGoOn, kNothingInVault, "Destroyed"}) + kVaultGone);
  host.Copy("vexmobixocert-nodispose.dll", "vexmobixocert.dll");
  providers_go_back = false;
  EXPECT_EQ(Check(Device({2})), (CheckAnswer{true, {2}}));
  providers_go_back = true;
  host.Copy("vexmobixocert.dll.aside", "vexmobixocert.dll");
}

TEST_F(CertificateCheck, DatesThatCannotBeChecked) {
  printer["faults"] = {{kCheckDate, {{"hresult", "0x80004005"}}}};
  const Lines nothing_kept = kVaultMade + Wrapper({kGoOn}) + kTargetNotPresent +
                             Wrapper({kNothingInVault, "Destroyed"}) + kVaultGone;
  ExpectCheck(Device({2}), NotRun({2}), Constructed(1) + nothing_kept);
  Keep(Certificate("device"));
  // The verdict on the copy is lost with it.
  EXPECT_EQ(Check(Device({2})), NotRun({2}));
  EXPECT_EQ(Check(Device({2}, "renewed")), NotRun({2}));
}

TEST_F(CertificateCheck, WhatTheLibraryRaises) {
  Keep(Certificate("device"));
  const Lines constructed = Constructed(1);
  const Lines vault = {"[CertStoreVault]:Contructed"};
  const Lines compared = constructed + kVaultMade + Wrapper({kGoOn}) + kTargetPresent + kTaken +
                         Compared(Certificate("device").size(), true);
  const Lines gone = Destroyed() + kVaultGone;
  const struct {
    const char* operation;
    Lines before;
  } rows[] = {
      // What was not made is not destroyed.
      {kCreate, constructed},
      {kCreateVault, constructed + vault + Destroyed()},
      {kSetTarget, constructed + vault + Destroyed()},
      {kSetUser, constructed + vault + Lines{"[IxoWrapper]:Target Name Created"} + Destroyed()},
      {kIsPresent, constructed + kVaultMade + Wrapper({kGoOn}) + gone},
      {kGetFromVault, constructed + kVaultMade + Wrapper({kGoOn}) + kTargetPresent + gone},
      {kCheckDate, compared + gone},
  };
  for (const auto& row : rows) {
    const auto expect = [&](const Json& fault, bool ok, const Lines& lines) {
      SCOPED_TRACE(std::string(row.operation) + fault.dump());
      printer["faults"] = {{row.operation, fault}};
      ExpectCheck(Device({2}), {ok, {2}}, row.before + lines);
    };
    expect({{"raise", 5}}, false, ErrorLine(5, "Error in Run"));
    expect({{"raise", 0}}, true, {});
    expect("throw", true, {"Error in CCustomBiDi::VerifyCertificateValidity"});
  }
  for (const char* dispose : {kDispose, kDisposeVault}) {
    for (const Json& fault : {Json({{"raise", 5}}), Json("throw")}) {
      printer["faults"] = {{dispose, fault}};
      EXPECT_EQ(Check(Device({2})), (CheckAnswer{true, {}})) << "without effect";
    }
  }
}

}  // namespace
}  // namespace custom_bidi_test
