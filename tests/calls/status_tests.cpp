// GetStatusData: its answers, and what becomes of reads that fail.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!";
constexpr char kInitIoFailed[] = ">>>>>Custom Bidi :  Init IO fail!!!";
constexpr char kStatusFailed[] = ">>>>>Custom Bidi : GetStatusData fail!!!";

class StatusData : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    SetVariable("PROCESSOR_ARCHITECTURE", "AMD64");
  }
  void TearDown() override {
    SetVariable("PROCESSOR_ARCHITECTURE", "AMD64");
    CallTest::TearDown();
  }

  void ExpectRefused(const Lines& lines) {
    EXPECT_EQ(Status(), kRefused);
    ExpectTrace(lines, TakeTrace());
  }
};

TEST_F(StatusData, Values) {
  const struct {
    Json printer_status;
    Json device_status;
    Json error_state;
    std::string answer;
  } rows[] = {
      {3, 2, "00", StatusText(3, 0, 0)},
      {4, 4, "0080", StatusText(4, 2, 128)},
      {4, 5, "0080", StatusText(4, 0, 128)},
      {3, 5, "", StatusText(3, 0, 0)},
      {1, 5, "0x8000", StatusText(1, 2, 32768)},
      {2, 5, "00", StatusText(2, 2, 0)},
      {5, 5, "00", StatusText(5, 2, 0)},
      {0, 5, "00", StatusText(0, 2, 0)},
      {3, 3, "00", StatusText(3, 0, 0)},
      {3, 4, "00", StatusText(3, 2, 0)},
      {5, 1, "FFFFFFFF", StatusText(5, 0, 4294967295)},
      {5, 6, "fffffffff", StatusText(5, 0, 4294967295)},
      {-1, -1, " \t0X1fg", StatusText(-1, 0, 0x1f)},
      {2147483647, 0, "-1", StatusText(2147483647, 0, 4294967295)},
      {-2147483648LL, 2, "+10", StatusText(-2147483648LL, 0, 16)},
      {3, 2, "no digits", StatusText(3, 0, 0)},
      {3, 2, "0xg", StatusText(3, 0, 0)},
      // The payload of an integer counts whatever its type says; only an empty one has none.
      {{{"type", "VT_UI1"}, {"value", 4}}, {{"type", "VT_I2"}, {"value", 4}}, "1", StatusText(4, 2, 1)},
      {{{"type", "VT_EMPTY"}}, 4, "1", StatusText(0, 2, 1)},
      {4, {{"type", "VT_EMPTY"}}, "1", StatusText(4, 0, 1)},
      // What is no text reads as an empty one.
      {3, 2, {{"type", "VT_EMPTY"}}, StatusText(3, 0, 0)},
      {3, 2, {{"type", "VT_BSTR"}, {"value", nullptr}}, StatusText(3, 0, 0)},
      {3, 2, {{"type", "VT_I4"}, {"value", 80}}, StatusText(3, 0, 0)},
  };
  for (const auto& row : rows) {
    printer["oids"] = {{kPrinterStatusOid, row.printer_status},
                       {kDeviceStatusOid, row.device_status},
                       {kErrorStateOid, row.error_state}};
    EXPECT_EQ(Status(), Yes(row.answer)) << printer["oids"];
  }
}

TEST_F(StatusData, AddressMissing) {
  EXPECT_EQ(Status(std::nullopt), kRefused);
  EXPECT_EQ(Status(""), kRefused);
  ExpectTrace({}, TakeTrace());
  WritePrinter();
  EXPECT_EQ(GetStatusData(ToWide(kAddress).c_str(), nullptr), 0);
  EXPECT_EQ(GetStatusData(nullptr, nullptr), 0);
}

TEST_F(StatusData, AddressGoesWholeToTheLibrary) {
  const std::string name(1500, '1');
  printer["addresses"]["ip"] = {{name, {{"text", kAddress}}}};
  EXPECT_EQ(Status(name), Yes(StatusText(3, 0, 0)));
  EXPECT_EQ(Status(name.substr(0, 1023)), kRefused);
}

TEST_F(StatusData, LibrariesByProcessor) {
  const struct {
    MaybeText processor;
    const char* suffix;
  } rows[] = {{"AMD64", "64"}, {"ARM64", "64"}, {"x86", "32"}, {"X86", "64"}, {"x86 ", "64"}, {"", "64"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(*row.processor);
    SetVariable("PROCESSOR_ARCHITECTURE", row.processor);
    EXPECT_EQ(Status(), Yes(StatusText(3, 0, 0)));
    Lines expected = StatusInitialisation(kAddress);
    for (std::string& line : expected) {
      if (const size_t at = line.find("64.dll"); at != line.npos)
        line.replace(at, 2, row.suffix);
    }
    ExpectTrace(expected, TakeTrace());
  }
}

TEST_F(StatusData, UnknownProcessor) {
  HideProcessor();
  ExpectRefused({"Load IXO / XDM / IXO Cert Libraries!", ">> IxoWrapper: Invalid DLL Name", kInitIoFailed,
                 kInitFailed});
}

TEST_F(StatusData, NoConfigurationIsRead) {
  host.Write(HostFolder::ConfigurationName(), "malformed");
  host.Remove("vexmoixodatamap.xml");
  EXPECT_EQ(Status(), Yes(StatusText(3, 0, 0)));
}

TEST_F(StatusData, LibraryDoesNotLoad) {
  const struct {
    const char* file;
    const char* line;
    const char* label;
  } rows[] = {
      {"vexmobixo64.dll", "IXO_DLL: [", "LoadLibrary-IXO DLL"},
      {"vexmobixodm64.dll", "XDM_DLL: [", "LoadLibrary-XDM DLL"},
      {"vexmobixocert64.dll", "IXOCert_DLL: [", "LoadLibrary-IXO Cert DLL"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    host.Remove(row.file);
    ExpectRefused(UpTo(StatusInitialisation(kAddress), row.line) + ErrorLine(ERROR_MOD_NOT_FOUND, row.label) +
                  Lines{kInitIoFailed, kInitFailed});
    host.Copy(std::string(row.file) + ".aside", row.file);
  }
}

TEST_F(StatusData, NoAddress) {
  const Lines asked = UpTo(StatusInitialisation(kAddress), "Get Address from [");
  const Lines end = {kInitIoFailed, kInitFailed};
  const struct {
    Json fault;
    Lines lines;
  } rows[] = {
      {"null", {"Get the printer address from the name [192.0.2.10] failed!!"}},
      {{{"raise", 5}}, {}},
      {"throw", {"Error in IxoWrapper::GetAddress!!"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.fault);
    printer["faults"] = {{"CreateAddressFromIPAddress", row.fault}};
    ExpectRefused(asked + row.lines + end);
  }
}

TEST_F(StatusData, LibraryWithoutEntryPoints) {
  host.Copy("vexmoixodm-bare.dll", "vexmobixodm64.dll");
  ExpectRefused(StatusInitialisation(kAddress) + Lines{kInitIoFailed, kInitFailed});
  host.Copy("vexmoixo-bare.dll", "vexmobixo64.dll");
  ExpectRefused(UpTo(StatusInitialisation(kAddress), "Get Address from [") +
                ErrorLine(ERROR_PROC_NOT_FOUND,
                          "Getting exported function point failed (CreateAddressFunctionFromxxxx)") +
                Lines{kInitIoFailed, kInitFailed});
}

/// A read that goes wrong: the printer is at 4, the device at 5 and the error state at 80 hexadecimal.
struct FailedRead {
  const char* what;
  const char* operation;
  /// Without the number of the read.
  Json fault;
  int read;
  Answer answer;
  Lines lines;
  const char* output;
};

TEST_F(StatusData, FailedReads) {
  const Json e_fail = {{"hresult", "0x80004005"}};
  const Json failure = {{"hresult", "0x80070490"}};
  const Json s_false = {{"hresult", 1}};
  const Json null = {{"null", true}};
  const Json thrown = {{"throw", true}};
  const auto raised = [](int code) { return Json{{"raise", code}}; };
  const char* const maker = "CreateOIDProvider";
  const char* const get = "OidProvider.GetValue";
  const Answer unreadable = Yes(kUnreadableStatus);
  const Answer empty_object = {false, "{}"};
  const Lines failed = {kStatusFailed};
  const Lines caught = {"Error in CCustomBiDi::GetStatusData"};
  const Answer two_values = Yes(StatusText(4, 0, 0));
  const char* const exception = "Exception occured in OID Get Value\n";

  const FailedRead rows[] = {
      {"no first provider", maker, null, 1, unreadable, failed, ""},
      {"no second provider", maker, null, 2, unreadable, failed, ""},
      {"no third provider", maker, null, 3, unreadable, failed, ""},
      {"first maker throws", maker, thrown, 1, unreadable, failed, exception},
      {"second maker raises", maker, raised(5), 2, unreadable, failed, exception},
      {"third maker throws", maker, thrown, 3, two_values, caught, ""},
      {"first read E_FAIL", get, e_fail, 1, unreadable, failed, ""},
      {"second read E_FAIL", get, e_fail, 2, unreadable, failed, ""},
      {"third read E_FAIL", get, e_fail, 3, unreadable, failed, ""},
      {"first read fails otherwise", get, failure, 1, Yes(StatusText(0, 2, 128)), {}, ""},
      {"second read fails otherwise", get, failure, 2, Yes(StatusText(4, 0, 128)), {}, ""},
      {"third read fails otherwise", get, failure, 3, two_values, {}, ""},
      {"first read S_FALSE", get, s_false, 1, Yes(StatusText(0, 2, 128)), {}, ""},
      {"second read S_FALSE", get, s_false, 2, Yes(StatusText(4, 0, 128)), {}, ""},
      {"third read S_FALSE", get, s_false, 3, two_values, {}, ""},
      {"first read throws", get, thrown, 1, unreadable, failed, exception},
      {"first read raises", get, raised(5), 1, unreadable, failed, exception},
      {"first read raises 0", get, raised(0), 1, unreadable, failed, exception},
      {"second read throws", get, thrown, 2, unreadable, failed, exception},
      {"second read raises", get, raised(87), 2, unreadable, failed, exception},
      {"third read throws", get, thrown, 3, two_values, caught, ""},
      {"third read raises", get, raised(5), 3, empty_object, ErrorLine(5, "Error in InitIOWrapper"), ""},
      {"third read raises 13", get, raised(13), 3, unreadable, ErrorLine(13, "Error in InitIOWrapper"), ""},
      {"third read raises 0", get, raised(0), 3, two_values, {}, ""},
      {"third read raises a code without text", get, raised(0x20001234), 3, empty_object,
       ErrorLine(0x20001234, "Error in InitIOWrapper"), ""},
  };
  for (const FailedRead& row : rows) {
    SCOPED_TRACE(row.what);
    printer["oids"] = {{kPrinterStatusOid, 4}, {kDeviceStatusOid, 5}, {kErrorStateOid, "80"}};
    Json fault = row.fault;
    fault["call"] = row.read;
    printer["faults"] = {{row.operation, fault}};
    testing::internal::CaptureStdout();
    const Answer answer = Status();
    std::string output = testing::internal::GetCapturedStdout();
    std::erase(output, '\r');
    EXPECT_EQ(answer, row.answer);
    EXPECT_EQ(output, row.output);
    ExpectTrace(StatusInitialisation(kAddress) + row.lines, TakeTrace());
  }
}

TEST_F(StatusData, ReadsInTheirOrderByTheirNames) {
  printer["oids"] = Json::object();
  EXPECT_EQ(Status(), Yes(StatusText(0, 0, 0))) << "unknown objects are no failure";
  int read = 0;
  for (const char* oid : {kPrinterStatusOid, kDeviceStatusOid, kErrorStateOid}) {
    printer["faults"] = {
        {"OidProvider.GetValue", {{"hresult", "0x80004005"}, {"only", oid}, {"call", ++read}}}};
    EXPECT_EQ(Status(), Yes(kUnreadableStatus)) << oid;
  }
}

}  // namespace
}  // namespace custom_bidi_test
