// How GetBidiResponse fails: FALSE, an untouched buffer, nothing left open, and exactly these lines.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapper Initialization failed!!";
constexpr char kInitIoFailed[] = ">>>>>Custom Bidi :  Init IO fail!!!";
constexpr char kLoadFailed[] = ">>>>>Custom Bidi :  LoadIPPResponse fail!!!";
constexpr char kLoadSucceeded[] = ">>>>>Custom Bidi :  LoadIPPResponse success!!!";
constexpr char kNoAddressMaker[] = "Getting exported function point failed (CreateAddressFunctionFromxxxx)";

class BidiFailure : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
  }

  Lines Initialisation() const { return BidiInitialisation(kQueue, kAddress); }
  Lines Libraries() const { return UpTo(Initialisation(), "Load IXO / XDM / IXO Cert Libraries Success"); }
  Lines Asking() const { return UpTo(Initialisation(), "Get Address from ["); }

  void ExpectRefused(const Lines& lines) {
    EXPECT_EQ(Bidi(), kRefused);
    ExpectTrace(lines, TakeTrace());
  }
};

std::string InFolder(const std::string& name) {
  return HostFolder::Text("//" + name);
}

/// What a file that does not load is traced as; the reason is the XML parser's own.
Lines FailedXml(const std::string& path) {
  return Method("CCIXML::Load", {"[XML] Load " + path +
                                 " XML file Failed!!! <<XML Error []\r\n Error Code 0x" + kAnything + ">>"}) +
         Lines{">>>>>Custom Bidi : Load Config XML fail!! [" + path + "]"};
}

TEST_F(BidiFailure, QueueNameMissing) {
  EXPECT_EQ(Bidi({.queue = std::nullopt}), kRefused);
  EXPECT_EQ(Bidi({.queue = "", .cid = "Given"}), kRefused);
  EXPECT_EQ(Bidi({.queue = "", .names = {{"A"}}}), kRefused);
  ExpectTrace({}, TakeTrace());
}

TEST_F(BidiFailure, ConfigurationMissingOrMalformed) {
  const std::string path = HostFolder::Text("\\" + HostFolder::ConfigurationName());
  const Lines expected = FailedXml(path) + Lines{kInitFailed};
  for (const char* content : {"", "<a><b></a>", "no XML", "<a>", "<a/><b/>"}) {
    SCOPED_TRACE(content);
    host.Write(HostFolder::ConfigurationName(), content);
    ExpectRefused(expected);
  }
  host.Remove(HostFolder::ConfigurationName());
  ExpectRefused(expected);
}

TEST_F(BidiFailure, LibraryDoesNotLoad) {
  const struct {
    const char* file;
    const char* line;
    const char* label;
  } rows[] = {
      {"vexmoixo.dll", "IXO_DLL: [", "LoadLibrary-IXO DLL"},
      {"vexmoixodm.dll", "XDM_DLL: [", "LoadLibrary-XDM DLL"},
      {"vexmobixocert.dll", "IXOCert_DLL: [", "LoadLibrary-IXO Cert DLL"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    const auto expected = [&](DWORD code) {
      return UpTo(Initialisation(), row.line) + ErrorLine(code, row.label) +
             Lines{kInitIoFailed, kInitFailed};
    };
    host.Remove(row.file);
    ExpectRefused(expected(ERROR_MOD_NOT_FOUND));
    host.Write(row.file,
               "This text is longer than a header and no library at all. " + std::string(4096, 'x'));
    ExpectRefused(expected(ERROR_BAD_EXE_FORMAT));
    host.Copy(std::string(row.file) + ".aside", row.file);
  }
}

TEST_F(BidiFailure, LibraryWithoutEntryPoints) {
  host.Copy("vexmoixo-bare.dll", "vexmoixo.dll");
  ExpectRefused(Asking() + ErrorLine(ERROR_PROC_NOT_FOUND, kNoAddressMaker) +
                Lines{kInitIoFailed, kInitFailed});
  host.Copy("vexmoixo.dll.aside", "vexmoixo.dll");

  host.Copy("vexmoixodm-bare.dll", "vexmoixodm.dll");
  ExpectRefused(UpTo(Initialisation(), "Get Address from Port success") +
                Lines{"GetProcAddress (CreateDataCollectionFromFile) failed"} +
                ErrorLine(ERROR_PROC_NOT_FOUND, "BiDiData") + Lines{kInitIoFailed, kInitFailed});
}

TEST_F(BidiFailure, NoAddress) {
  const Lines end = {kInitIoFailed, kInitFailed};
  const Lines failed = Lines{"Get the printer address from the name [192.0.2.10] failed!!"} + end;
  const struct {
    const char* what;
    Json fault;
    Lines lines;
  } rows[] = {
      {"null", "null", failed},
      {"raised code", {{"raise", 5}}, end},
      {"raised 0", {{"raise", 0}}, end},
      {"other exception", "throw", Lines{"Error in IxoWrapper::GetAddress!!"} + end},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = {{"CreateAddressFromPortName", row.fault}};
    ExpectRefused(Asking() + row.lines);
  }
  printer["faults"] = Json::object();
  printer["addresses"]["ports"] = {{"*", nullptr}};
  ExpectRefused(Asking() + failed);
}

TEST_F(BidiFailure, AddressWithoutText) {
  printer["faults"] = {{"PrinterAddress.GetAddressString", "throw"}};
  EXPECT_TRUE(Bidi().ok) << "the address was made";
  Lines expected = Initialisation() + DataMapLoading(1) + Lines{kLoadSucceeded};
  const auto success = [](const std::string& line) { return line.ends_with("success ==> [192.0.2.10]"); };
  *std::ranges::find_if(expected, success) = "Error in IxoWrapper::GetAddress!!";
  ExpectTrace(expected, TakeTrace());

  printer["faults"] = {{"PrinterAddress.GetAddressString", "null"}};
  EXPECT_TRUE(Bidi().ok);
  *std::ranges::find(expected, "Error in IxoWrapper::GetAddress!!") =
      std::string("Get the printer address from the name [192.0.2.10] success ==> [") + kAnything + "]";
  ExpectTrace(expected, TakeTrace());
}

TEST_F(BidiFailure, NoDataCollection) {
  const Lines end = {kInitIoFailed, kInitFailed};
  const Lines failed =
      Lines{"CreateDataCollection from xml: [" + InFolder("vexmoixodatamap.xml") + "] ==> failed"} + end;
  const struct {
    const char* what;
    Json fault;
    Lines lines;
  } rows[] = {
      {"no collection", "null", failed},
      {"failure", {{"hresult", "0x80004005"}}, failed},
      {"raised code", {{"raise", 5}}, end},
      {"other exception", "throw", Lines{"Error in IxoWrapper::BiDiData!!"} + end},
  };
  const Lines before = UpTo(Initialisation(), "Get Address from Port success");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = {{"CreateDataCollectionFromFile", row.fault}};
    ExpectRefused(before + row.lines);
  }
  printer["faults"] = Json::object();
  host.Remove("vexmoixodatamap.xml");
  ExpectRefused(before + failed);
}

TEST_F(BidiFailure, PositiveResultMakesACollection) {
  printer["faults"] = {{"CreateDataCollectionFromFile", {{"hresult", "0x1"}}}};
  EXPECT_TRUE(Bidi().ok);
}

TEST_F(BidiFailure, DataMapMalformed) {
  host.Write("vexmoixodatamap.xml", "<DataMap><IPPDataMap></DataMap>");
  ExpectRefused(UpTo(Initialisation(), "CreateDataCollection from xml: [") +
                FailedXml(InFolder("vexmoixodatamap.xml")) + Lines{kInitFailed});
}

TEST_F(BidiFailure, PrinterThatCannotBeRead) {
  host.Write("printer.json", "{");
  ExpectTrace({}, TakeTrace());
  printer = Json::array();
  ExpectRefused(Asking() + Lines{"Get the printer address from the name [192.0.2.10] failed!!", kInitIoFailed,
                                 kInitFailed});
}

TEST_F(BidiFailure, NoCid) {
  printer["items"].erase("DeviceID");
  ExpectRefused(
      Initialisation() +
      Lines{">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found and default CID also not set!!!",
            kLoadFailed});

  EXPECT_TRUE(Bidi({.queue = kQueue, .cid = "Given"}).ok);
  ExpectTrace(Initialisation() +
                  Lines{">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found so using default CID!!!"} +
                  DataMapLoading(1) + Lines{kLoadSucceeded},
              TakeTrace());
}

TEST_F(BidiFailure, NoItems) {
  for (const char* map : {"<DataMap/>", "<DataMap><IPPDataMap/></DataMap>", "<IPPDataMap/>"}) {
    SCOPED_TRACE(map);
    host.Write("vexmoixodatamap.xml", map);
    ExpectRefused(Initialisation() + DataMapLoading(0) + Lines{kLoadFailed});
  }
  EXPECT_EQ(Items({"Missing"}), kRefused);
  ExpectTrace(Initialisation() + Lines{kLoadFailed}, TakeTrace());
}

TEST_F(BidiFailure, ItemThatCannotBeReadIsLeftOut) {
  printer["items"]["X"] = "x";
  const Lines none;
  const struct {
    const char* what;
    Json fault;
    Lines lines;
  } rows[] = {
      {"failure", {{"hresult", "0x80070490"}}, none},
      {"null text", "null", none},
      {"raised code", {{"raise", 5}}, none},
      {"raised 0", {{"raise", 0}}, none},
      {"other exception", "throw", {"Error in IxoWrapper::GetData!!"}},
  };
  for (Json fault; const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fault = row.fault.is_string() ? Json{{row.fault, true}} : row.fault;
    fault["only"] = "X";
    printer["faults"] = {{"DataCollection.GetValue", fault}};
    EXPECT_EQ(Items({"X", "A"}), Yes(BidiText({{"A", "1"}}, "")));
    ExpectTrace(Initialisation() + row.lines + Lines{kLoadSucceeded}, TakeTrace());
    EXPECT_EQ(Items({"X"}), kRefused);
    TakeTrace();
  }
}

TEST_F(BidiFailure, DeviceIdThatCannotBeReadIsOneWithoutCid) {
  printer["faults"] = {{"DataCollection.GetValue", {{"throw", true}, {"only", "DeviceID"}}}};
  ExpectRefused(
      Initialisation() +
      Lines{"Error in IxoWrapper::GetData!!",
            ">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found and default CID also not set!!!",
            kLoadFailed});
}

TEST_F(BidiFailure, PrintQualityEntriesThatCannotBeRead) {
  const std::string name = "vexmo-print-quality-supported.com.vexmo.pq-mode.21";
  printer["locale"] = {{"*", "\"" + name + "\" = \"5\";"}};
  const Answer without = Yes(BidiText({{"A", "1"}}, ""));
  const Answer with = Yes(BidiText({{"A", "1"}, {name, "5"}}, ""));
  const Lines thrown = {"Error in IxoWrapper::GetCustomPQ!!"};
  const struct {
    const char* what;
    Json faults;
    Answer answer;
    Lines lines;
  } rows[] = {
      {"none", Json::object(), with, {}},
      {"result", {{"GetDeviceLocaleStrings", {{"hresult", 1}}}}, without, {}},
      {"failure", {{"GetDeviceLocaleStrings", {{"hresult", "0x80004005"}}}}, without, {}},
      {"no buffer", {{"GetDeviceLocaleStrings", "null"}}, without, {}},
      {"raised code", {{"GetDeviceLocaleStrings", {{"raise", 5}}}}, without, {}},
      {"other exception", {{"GetDeviceLocaleStrings", "throw"}}, without, thrown},
      {"raised code at the end", {{"DisposeStringBuffer", {{"raise", 5}}}}, with, {}},
      {"other exception at the end", {{"DisposeStringBuffer", "throw"}}, with, thrown},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = row.faults;
    EXPECT_EQ(Items({"A", "CustomPQ"}), row.answer);
    ExpectTrace(Initialisation() + row.lines + Lines{kLoadSucceeded}, TakeTrace());
  }
  printer["faults"] = Json::object();
  host.Copy("vexmoixodm-nodispose.dll", "vexmoixodm.dll");
  EXPECT_EQ(Items({"A", "CustomPQ"}), with) << "a buffer that cannot be given back is read all the same";
}

TEST_F(BidiFailure, NullTextHasNoAddress) {
  printer["locale"] = Json::object();
  printer["items"]["A"] = {{"type", "VT_BSTR"}, {"value", nullptr}};
  ExpectRefused(Initialisation() + DataMapLoading(1) + Lines{kLoadFailed});
}

}  // namespace
}  // namespace custom_bidi_test
