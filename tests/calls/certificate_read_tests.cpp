// GetDeviceCertificate: the record, and exactly these lines on the way to it or to null.

#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kWrapper[] = "[CertificateHandlingWrapper]:";
constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapper Initialization failed!!";
constexpr char kRead[] = "GetDeviceCertificate API Succeded";
constexpr char kNotRead[] = "GetDeviceCertificate API Failed";
constexpr char kNoWarnings[] = "No Error reported";
constexpr char kWarningsNotRead[] = "GetCertificateAllSecurityWarnings API Failed";
constexpr char kUuidNotRead[] = "GetDeviceUUID API Failed";
constexpr char kNothingRead[] = "Could not fetch device Certificate. May be connectivity issue";
constexpr char kCreate[] = "CreateCertificateProvider";
constexpr char kDispose[] = "DisposeCertificateProviderPtr";
constexpr char kGetCertificate[] = "CertificateProvider.GetDeviceCertificate";
constexpr char kGetWarnings[] = "CertificateProvider.GetCertificateAllSecurityWarnings";
constexpr char kGetUuid[] = "CertificateProvider.GetDeviceUUID";
constexpr char kGetLastError[] = "CertificateProvider.GetLastErrorCode";

/// Lines of the wrapper, without its name in front.
Lines Wrapper(const Lines& lines) {
  Lines named;
  for (const std::string& line : lines)
    named.push_back(kWrapper + line);
  return named;
}

Lines PortLine(const std::string& port) {
  return SecurityInitialisation() + Lines{" the port name from the printer is: [" + port + "]"};
}

/// Up to the wrapper of a printer whose address was found.
Lines Constructed() {
  return PortLine(CallTest::kAddress) +
         Lines{"Get the printer address from the name [192.0.2.10] success ==> [192.0.2.10]"} +
         Wrapper({"Contructed"});
}

Lines Destroyed() {
  return Wrapper({"Destroyed"});
}

Lines WarningLines(const Codes& codes) {
  Lines lines = {"Count of Error " + std::to_string(codes.size())};
  for (size_t i = 0; i < codes.size(); ++i) {
    const auto code = static_cast<int32_t>(codes[i]);
    lines.push_back("Error[" + std::to_string(i) + "]=" + std::to_string(code));
  }
  return Wrapper(lines);
}

/// From the reads to the record's end.
Lines RecordLines(bool has_certificate, bool has_warnings) {
  Lines lines;
  if (!has_warnings)
    lines = Wrapper({"No certificate security warnings to report"});
  lines = lines + Lines{"[DeviceCertificate]:Contructed", "[DeviceCertificate]:Initialization Called"};
  if (!has_certificate)
    lines = lines + Lines{"[DeviceCertificate]:Certificate Error"};
  if (!has_warnings)
    lines = lines + Lines{"[DeviceCertificate]:No certificate security warnings to report"};
  return lines + Destroyed();
}

class CertificateRead : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    SetTrace(true);
  }

  Record Device(const Codes& warnings = {}) { return {kUuid, Certificate("device"), warnings}; }
  void ExpectNull(const Lines& lines, uint32_t mode = kFullCheck) {
    EXPECT_EQ(Read(mode), std::nullopt);
    ExpectTrace(lines, TakeTrace());
  }
};

TEST_F(CertificateRead, WholeRecord) {
  EXPECT_EQ(Read(), Device());
  ExpectTrace(Constructed() + Wrapper({kRead, kNoWarnings}) + RecordLines(true, false), TakeTrace());
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, kGetCertificate, kGetCertificate, kGetWarnings, kGetUuid, kDispose}))
      << "the vault is not asked";
  for (const char* name : {"rsa4096", "expired", "not_yet_valid", "chained"}) {
    SetDeviceCertificate(Certificate(name));
    EXPECT_EQ(Read(), (Record{kUuid, Certificate(name), {}})) << name;
  }
}

TEST_F(CertificateRead, AnyBytesAreACertificateHere) {
  for (const std::string& bytes :
       {std::string("x"), std::string(1, '\0'), std::string(65536, '\xA5'), Certificate("device") + "more"}) {
    SetDeviceCertificate(bytes);
    EXPECT_EQ(Read(), (Record{kUuid, bytes, {}})) << bytes.size();
  }
}

TEST_F(CertificateRead, WarningsAreTakenAsTheyAre) {
  const Codes rows[] = {
      {32}, {0}, {12038, 12045}, {0xFFFFFFFF, 0x80000000, 5, 5}, {1, 2, 3, 4, 5, 6, 7, 8, 9},
  };
  for (const Codes& codes : rows) {
    SCOPED_TRACE(codes.size());
    printer["certificate"]["warnings"] = codes;
    EXPECT_EQ(Read(), Device(codes));
    ExpectTrace(Constructed() + Wrapper({kRead}) + WarningLines(codes) + RecordLines(true, true),
                TakeTrace());
  }
}

// There is room for ten, yet ten are too many.
TEST_F(CertificateRead, TenWarningsAreTooMany) {
  printer["certificate"]["warnings"] = Codes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  ExpectNull(Constructed() + Wrapper({kRead}) + Destroyed());
  for (const uint32_t count : {10u, 11u, 0xFFFFFFFFu}) {
    printer["certificate"]["warning_count"] = count;
    ExpectNull(Constructed() + Wrapper({kRead}) + Destroyed());
  }
}

TEST_F(CertificateRead, LengthOfTheUuid) {
  for (const size_t length : {1u, 254u, 255u}) {
    printer["certificate"]["uuid"] = std::string(length, 'u');
    EXPECT_EQ(Read(), (Record{std::string(length, 'u'), Certificate("device"), {}})) << length;
  }
  TakeTrace();
  // Text that fits, with a length that is too much or nothing.
  const Lines refused = Constructed() + Wrapper({kRead, kNoWarnings}) + Destroyed();
  for (const uint32_t told : {0u, 256u, 300u, 0xFFFFFFFFu}) {
    printer["certificate"]["uuid_length"] = told;
    ExpectNull(refused);
  }
  printer["certificate"]["uuid"] = std::string(300, 'u');
  ExpectNull(refused);
  printer["certificate"]["uuid"] = "";
  printer["certificate"]["uuid_length"] = 3;
  ExpectNull(refused);  // a length without a text
  printer["certificate"].erase("uuid_length");
  ExpectNull(refused);
  printer["certificate"]["uuid"] = std::string(256, 'u');
  ExpectNull(Constructed() + Wrapper({kRead, kNoWarnings, kUuidNotRead}) + Destroyed());
  for (const std::string& odd :
       {std::string("../..\\C:*?\"<>|."), std::string("\xC3\xBC \xF0\x9F\x96\xA8")}) {
    printer["certificate"]["uuid"] = odd;
    EXPECT_EQ(Read(), (Record{odd, Certificate("device"), {}}));
  }
}

TEST_F(CertificateRead, UserNameMissing) {
  for (const MaybeText& user : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Read(kFullCheck, user), std::nullopt) << "the UUID is not kept";
    ExpectTrace(Constructed() + Wrapper({kRead, kNoWarnings}) + Destroyed(), TakeTrace());
    EXPECT_EQ(Read(kWithoutAddress, user), (Record{"", Certificate("device"), {}}));
    TakeTrace();
  }
}

TEST_F(CertificateRead, QueueNameMissing) {
  for (const MaybeText& queue : {MaybeText(), MaybeText("")}) {
    for (const uint32_t mode : {0u, 1u, 7u})
      EXPECT_EQ(Read(mode, kUser, queue), std::nullopt);
  }
  ExpectTrace({}, TakeTrace());  // nobody has the file open
  EXPECT_EQ(TakeCalls(), Lines{});
}

TEST_F(CertificateRead, InitialisationFails) {
  host.Remove("vexmobixocert.dll");
  for (const uint32_t mode : {0u, 1u, 7u}) {
    ExpectNull(UpTo(SecurityInitialisation(), "IXOCert_DLL: [") +
                   ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO Cert DLL") +
                   Lines{">>>>>Custom Bidi : Init IO fail!!!", kInitFailed},
               mode);
  }
}

TEST_F(CertificateRead, NoAddress) {
  const Lines maker_failed = {"Get the printer address from the name [192.0.2.10] failed!!"};
  const struct {
    const char* what;
    Json fault;
    Lines lines;
  } rows[] = {
      {"null", "null", maker_failed},
      {"raised code", {{"raise", 5}}, {}},
      {"raised 0", {{"raise", 0}}, {}},
      {"other exception", "throw", {"Error in IxoWrapper::GetAddress!!"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = {{"CreateAddressFromPortName", row.fault}};
    ExpectNull(PortLine(kAddress) + row.lines);
    EXPECT_EQ(TakeCalls(), Lines{});
    // Without an address there is still what the library says.
    EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {}}));
    TakeTrace();
    TakeCalls();
  }
  printer["faults"] = Json::object();
  host.Copy("vexmoixo-bare.dll", "vexmoixo.dll");
  ExpectNull(PortLine(kAddress) +
             ErrorLine(ERROR_PROC_NOT_FOUND,
                       "Getting exported function point failed (CreateAddressFunctionFromxxxx)"));
  host.Copy("vexmoixo.dll.aside", "vexmoixo.dll");
}

TEST_F(CertificateRead, QueueWithoutAPort) {
  const std::string unknown = "CustomBidi unknown queue";
  SetSwitch(unknown, RegistryBytes::Dword(1));
  EXPECT_EQ(Read(kFullCheck, kUser, unknown), std::nullopt);
  ExpectTrace(PortLine(""), TakeTrace());
  EXPECT_EQ(Read(kWithoutAddress, kUser, unknown), (Record{"", Certificate("device"), {}}));
}

TEST_F(CertificateRead, WithoutAnAddressOneReadIsEnough) {
  const Lines judged_good = Wrapper({"No Non Negotiable Error Present", "No certificate present is vault"});
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {}}));
  ExpectTrace(Constructed() + Wrapper({kRead, kNoWarnings}) + judged_good + RecordLines(true, false),
              TakeTrace());
  EXPECT_EQ(TakeCalls(), (Lines{kCreate, kGetCertificate, kGetCertificate, kGetWarnings, kDispose}))
      << "neither the UUID nor the vault is asked for";

  printer["certificate"]["warnings"] = Codes{5, 32};
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {5, 32}}));
  ExpectTrace(Constructed() + Wrapper({kRead}) + WarningLines({5, 32}) +
                  Wrapper({"Non negotiable error present"}) + RecordLines(true, true),
              TakeTrace());

  printer["certificate"]["warnings"] = Codes{5};
  printer["faults"] = {{kGetCertificate, {{"hresult", 31}}}};
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", "", {5}}));
  ExpectTrace(Constructed() + Wrapper({kNotRead}) + WarningLines({5}) +
                  Wrapper({"No certificate retreived from device"}) + RecordLines(false, true),
              TakeTrace());

  printer["faults"] = {{kGetWarnings, {{"hresult", "0x80004005"}}}};
  EXPECT_EQ(Read(kWithoutAddress), (Record{"", Certificate("device"), {}}));
  ExpectTrace(Constructed() + Wrapper({kRead, kWarningsNotRead}) + judged_good + RecordLines(true, false),
              TakeTrace());
}

TEST_F(CertificateRead, OtherModesHaveNoProvider) {
  for (const uint32_t mode : {2u, 7u, 0xFFFFFFFFu}) {
    ExpectNull(Constructed() + Destroyed(), mode);
    EXPECT_EQ(TakeCalls(), Lines{});
  }
}

TEST_F(CertificateRead, ReadsThatFail) {
  const Json code = {{"hresult", 31}};
  const Json failure = {{"hresult", "0x80004005"}};
  const struct {
    const char* what;
    Json faults;
    Lines lines;
    Lines calls;  // of the library's objects
  } rows[] = {
      {"certificate, first call",
       {{kGetCertificate, {{"hresult", 31}, {"call", 1}}}},
       {kNotRead, kNoWarnings},
       {kGetCertificate, kGetLastError, kGetWarnings, kGetUuid}},
      {"certificate, second call",
       {{kGetCertificate, {{"hresult", 1}, {"call", 2}}}},
       {kNotRead, kNoWarnings},
       {kGetCertificate, kGetCertificate, kGetLastError, kGetWarnings, kGetUuid}},
      {"warnings",
       {{kGetWarnings, failure}},
       {kRead, kWarningsNotRead},
       {kGetCertificate, kGetCertificate, kGetWarnings, kGetLastError, kGetUuid}},
      {"both",
       {{kGetCertificate, code}, {kGetWarnings, failure}},
       {kNotRead, kWarningsNotRead, kNothingRead},
       {kGetCertificate, kGetLastError, kGetWarnings, kGetLastError}},
      {"UUID",
       {{kGetUuid, failure}},
       {kRead, kNoWarnings, kUuidNotRead},
       {kGetCertificate, kGetCertificate, kGetWarnings, kGetUuid, kGetLastError}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = row.faults;
    ExpectNull(Constructed() + Wrapper(row.lines) + Destroyed());
    EXPECT_EQ(TakeCalls(), Lines{kCreate} + row.calls + Lines{kDispose});
  }
  printer["faults"] = Json::object();
  SetDeviceCertificate("");
  ExpectNull(Constructed() + Wrapper({kNotRead, kNoWarnings}) + Destroyed());
}

TEST_F(CertificateRead, NoProvider) {
  printer["faults"] = {{kCreate, "null"}};
  for (const uint32_t mode : {0u, 1u})
    ExpectNull(Constructed() + Destroyed(), mode);
  printer["faults"] = Json::object();
  host.Copy("vexmobixocert-bare.dll", "vexmobixocert.dll");
  for (const uint32_t mode : {0u, 1u})
    ExpectNull(Constructed() + Destroyed(), mode);
  host.Copy("vexmobixocert-nodispose.dll", "vexmobixocert.dll");
  providers_go_back = false;
  EXPECT_EQ(Read(), Device());
  providers_go_back = true;
  host.Copy("vexmobixocert.dll.aside", "vexmobixocert.dll");
}

TEST_F(CertificateRead, WhatTheLibraryRaises) {
  const struct {
    const char* operation;
    Lines before;
  } rows[] = {
      {kCreate, {}},
      {kGetCertificate, {}},
      {kGetWarnings, Wrapper({kRead})},
      {kGetUuid, Wrapper({kRead, kNoWarnings})},
      {kGetLastError, {}},
  };
  for (const auto& row : rows) {
    // A wrapper whose making failed is not there to be destroyed.
    const Lines end = row.operation == kCreate ? Lines() : Destroyed();
    const Lines before = Constructed() + row.before + end;
    const auto expect_null = [&](const Json& fault, const Lines& lines) {
      SCOPED_TRACE(std::string(row.operation) + fault.dump());
      printer["faults"] = {{row.operation, fault}};
      if (row.operation == kGetLastError)
        printer["faults"][kGetCertificate] = {{"hresult", 31}};
      ExpectNull(before + lines);
    };
    expect_null({{"raise", 5}}, ErrorLine(5, "Error in Run"));
    expect_null({{"raise", 0}}, {});
    expect_null("throw", {"Error in CCustomBiDi::GetPrinterCertificate"});
  }
  for (const Json& fault : {Json({{"raise", 5}}), Json("throw")}) {
    printer["faults"] = {{kDispose, fault}};
    EXPECT_EQ(Read(), Device()) << "without effect";
  }
}

TEST_F(CertificateRead, PrinterThatSaysNothingOfACertificate) {
  printer.erase("certificate");
  for (const uint32_t mode : {0u, 1u}) {
    ExpectNull(Constructed() + Wrapper({kNotRead, kWarningsNotRead, kNothingRead}) + Destroyed(), mode);
  }
}

}  // namespace
}  // namespace custom_bidi_test
