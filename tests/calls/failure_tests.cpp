// How each call fails: a row per thing that goes wrong, with what the call comes to and the lines from there
// on. Nothing may be left open, and no buffer is touched by a call that refuses.

#include <algorithm>
#include <chrono>
#include <sstream>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

using namespace std::chrono_literals;

constexpr char kPrintQuality[] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21";
constexpr char kNoAddressMaker[] = "Getting exported function point failed (CreateAddressFunctionFromxxxx)";
constexpr char kNoAddress[] = "Get the printer address from the name [192.0.2.10] failed!!";
constexpr char kAddressThrew[] = "Error in IxoWrapper::GetAddress!!";
constexpr char kNonPhysical[] = "Driver is connected to non-physical port(Local/LPT/Serial port";
constexpr char kNotFound[] = R"({"hresult": "0x80070490"})";
constexpr char kDenied[] = R"({"hresult": "0x80070005"})";
constexpr char kCode1[] = R"({"hresult": 1})";
constexpr char kSetTarget[] = "VaultStoreProvider.SetTargetName";
constexpr char kSetUser[] = "VaultStoreProvider.SetUserName";
constexpr char kIsPresent[] = "VaultStoreProvider.IsTargetPresent";
constexpr char kNamed[] = "[IxoWrapper]:Target Name Created";
constexpr char kUserNamed[] = "[IxoWrapper]:USER Name Created";
constexpr char kLate[] = R"({"delay": 100})";
constexpr char kHuge[] = R"({"length": 4294967295})";
const std::string kCalls[] = {"", R"("call": 1)", R"("call": 2)", R"("call": 3)"};
constexpr char kCode5[] = R"({"hresult": 5})";
constexpr char kNo[] = "refused";
constexpr char kNoPort[] = "CustomBidi queue without a port";

const Lines kIoEnd = {">>>>>Custom Bidi :  Init IO fail!!!", kInitFailed};
const Lines kStatusEnd = {">>>>>Custom Bidi :  Init IO fail!!!",
                          ">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!"};
const Lines kPortEnd = {">>>>>Custom Bidi :  GetPortInformationFromIXO fail!!!", kInitFailed};
const Lines kSecurityEnd = {">>>>>Custom Bidi : Init IO fail!!!", kInitFailed};
const Lines kStepFailed = {">>>> Custom Bidi : IXO SEP Target Processing failed!!"};
const Lines kNoCid = {
    ">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found and default CID also not set!!!", kLoadFailed};
const Lines kStatusFailed = {">>>>>Custom Bidi : GetStatusData fail!!!"};
const Lines kDestroyed = Wrapper({"Destroyed"});
const Lines kVaultGone = {"[CertStoreVault]:Destroyed"};

struct Row {
  std::string calls = {};  // one or several, by their names in calls_
  /// The operation that fails as `fault` says. With a mark in front a file of the host: "-" it is missing, "="
  /// its content is `fault`, "@" it is a copy of the file `fault`; "" all faults.
  std::string cause = {};
  std::string fault = {};
  std::string said = {};   // what the call comes to; "" as if nothing had happened, kNo when it is refused
  std::string until = {};  // the healthy call's first line that is not written; "" all are
  Lines lines = {};        // the lines then
};

class Failure : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    SetSwitch(kNoPort, RegistryBytes::Dword(1));
    KeepInVault(Certificate("device"));
    const std::string pair = R"({"A": "1",")" + std::string(kPrintQuality) + R"(": "5",)";
    calls_ = {
        {"bidi",
         {[this] { return Said(Bidi()); },
          "TRUE " + pair + R"("JobJsonDeviceCapsComplete": "true","CID": "Vexmo_1"})",
          BidiCall(kQueue, kAddress, 1)}},
        {"queue",
         {[this] { return Said(Bidi({.queue = kNoPort})); },
          "TRUE " + pair + R"("JobJsonDeviceCapsComplete": "true","CID": "Vexmo_1"})",
          BidiCall(kNoPort, "", 1)}},
        {"items",
         {[this] {
            return Said(Items({"A", "CustomPQ"}));
          },
          "TRUE " + pair + R"("CID": ""})", BidiInitialisation(kQueue, kAddress) + Lines{kLoadSucceeded}}},
        {"status",  // with what it writes to the standard output
         {[this] {
            testing::internal::CaptureStdout();
            std::string said = Said(Status());
            said += testing::internal::GetCapturedStdout();
            std::erase(said, '\r');
            return said;
          },
          "TRUE " + StatusText(4, 2, 128), StatusInitialisation(kAddress)}},
        {"port",
         {[this] {
            const auto [ok, status] = Port();
            return Said(ok) + " " + (status == kUntouchedStatus ? "-" : std::to_string(status));
          },
          "TRUE 1", PortStatusOf(kAddress)}},
        {"save",
         {[this] { return Said(Save(kPassword)); }, "TRUE", PasswordCall("[IxoWrapper]:Saved Target")}},
        {"test", {[this] { return Said(IsPresent()); }, "TRUE", PasswordCall(kTargetPresent)}},
        {"delete",
         {[this] { return Said(Delete()); }, "TRUE", PasswordCall("[IxoWrapper]:Deleted Target key")}},
        {"read",
         {[this] {
            const std::optional<Record> record = Read();
            const Record whole = {kUuid, Certificate("device"), {}};
            return !record ? "none" : *record == whole ? "read" : "another";
          },
          "read", CertificateRead()}},
        {"half",  // of the device's answers fail, and without an address that is enough
         {[this] {
            printer["faults"]["CertificateProvider.GetCertificateAllSecurityWarnings"] = Json::parse(kEFail);
            return Read(kWithoutAddress) ? "read" : "none";
          },
          "read"}},
        {"check",
         {[this] {
            const auto [ok, warnings] = Check({kUuid, Certificate("device"), {2}});
            return Said(ok) + (warnings.empty() ? " matched" : warnings == Codes{2} ? "" : " and others");
          },
          "TRUE matched",
          CheckBegin(1) + CheckCompared(Certificate("device").size(), true) +
              Wrapper({"Certificate is valid"}) + CheckEnd(0)}},
    };
    Prepare();
  }

  void Prepare() {
    MakeHealthy();
    printer["oids"][kPrinterStatusOid] = 4;
    printer["oids"][kDeviceStatusOid] = 4;
    printer["oids"][kErrorStateOid] = "80";
    printer["locale"]["*"] = std::string(kPrintQuality) + "=5";
    providers_go_back = true;
  }

  static std::string Said(const Answer& answer) { return Said(answer.ok) + " " + answer.text.value_or("-"); }
  static std::string Said(bool ok) { return ok ? "TRUE" : "FALSE"; }

  void Arrange(const Row& row) {
    const std::string file = row.cause.substr(std::min<size_t>(1, row.cause.size()));
    if (row.cause.empty()) {
      printer["faults"] = Json::parse(row.fault);
    } else if (row.cause.starts_with('-')) {
      host.Remove(file);
    } else if (row.cause.starts_with('=')) {
      host.Write(file, row.fault);
    } else if (row.cause.starts_with('@')) {
      providers_go_back = row.fault.find("nodispose") == std::string::npos;
      host.Copy(row.fault, file);
    } else {
      Fail(row.cause, row.fault);
    }
  }

  static void ForEachWord(const std::string& text, const std::function<void(const std::string&)>& body) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      body(word);
    }
  }
  void ExpectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      ForEachWord(row.calls, [&](const std::string& call) { ExpectRow(call, row); });
    }
  }
  /// The lines count, unless the row has kAnything for them.
  void ExpectRow(const std::string& call, const Row& row) {
    SCOPED_TRACE(call + " | " + row.cause + " | " + row.fault);
    Prepare();
    const bool needs_password = call == "save" || call == "test" || call == "delete";
    EXPECT_TRUE(!needs_password || Save(kPassword));
    TakeTrace();
    Arrange(row);
    const auto& [run, said, lines] = calls_.at(call);
    const std::string refusal = call == "read" || call == "half"    ? "none"
                                : needs_password || call == "check" ? "FALSE"
                                                                    : "FALSE -";
    EXPECT_EQ(run(), row.said.empty() ? said : row.said == kNo ? refusal : row.said);
    if (!lines.empty() && row.until != kAnything) {
      ExpectTraced((row.until.empty() ? lines : Before(lines, row.until)) + row.lines);
    }
    if (needs_password) {
      Prepare();
      EXPECT_EQ(IsPresent(), call != "delete" || !row.said.empty()) << "a call that fails deletes nothing";
    }
  }

  struct Call {
    std::function<std::string()> run;
    std::string said;  // when nothing fails, as the lines
    Lines lines = {};
  };
  std::map<std::string, Call> calls_;
};

// The device libraries at each of their operations: what they give is null; E_FAIL, another failure or 1 is the
// result; a DWORD 5, a DWORD 0 or something else is thrown; the call hangs for 100 ms.
// "=": nothing is seen of it, neither in the lines; "~": in the lines alone; "-": refused; "!": cannot be. Of
// what is not named below, ":" is a blank.
TEST_F(Failure, EveryOperationInEveryWay) {
  const std::string success = "Get Address from Port success";
  const Row unreadable = {.said = Said(Yes(kUnreadableStatus)), .lines = kStatusFailed};
  Row told = unreadable;
  told.said += "Exception occured in OID Get Value\n";
  const std::map<std::string, Row> answers = {
      {"=", {}},
      {"~", {.until = kAnything}},
      {"-", {.said = kNo, .until = kAnything}},
      {"offline",
       {.said = "TRUE -1",
        .until = success,
        .lines = {"The connected IP is offline.Check the connectivity!!"}}},
      {"raised",
       {.said = "TRUE -", .until = success, .lines = {"Exception occured in IsPortConnected function"}}},
      // The system's code is whatever the thread failed with last.
      {"failed", {.said = "TRUE -", .until = success, .lines = {kAnything}}},
      // Without the entries of the strings; with them alone.
      {"A", {.said = Said(Yes(BidiText({{"A", "1"}}, ""))), .until = kAnything}},
      {"PQ", {.said = Said(Yes(BidiText({{kPrintQuality, "5"}}, ""))), .until = kAnything}},
      // One of the printer's, the device's and the error state is not known; none is.
      {"printer", {.said = Said(Yes(StatusText(0, 2, 128)))}},
      {"device", {.said = Said(Yes(StatusText(4, 0, 128)))}},
      {"state", {.said = Said(Yes(StatusText(4, 2, 0)))}},
      {"caught", {.said = Said(Yes(StatusText(4, 2, 0))), .lines = {"Error in CCustomBiDi::GetStatusData"}}},
      {"none", unreadable},
      {"told", told}};
  const struct {
    const char *operations, *calls, *answers;
    size_t nth = 0;  // call of the operation alone
  } rows[] = {
      {"CreateAddressFromQueueName", "queue", "- ! ! ! - - - ="},
      {"CreateAddressFromPortName", "bidi items read", "- ! ! ! - - - ="},
      {"CreateAddressFromPortName", "port", "TRUE:0 ! ! ! TRUE:0 TRUE:0 TRUE:0 ="},
      {"CreateAddressFromPortName", "port", "failed ! ! ! raised raised raised =", 2},
      {"CreateAddressFromIPAddress", "status", "- ! ! ! - - - ="},
      {"PrinterAddress.GetAddressString", "bidi queue items status read", "~ ! ! ! - - ~ ="},
      {"PrinterAddress.GetAddressString", "port", "~ ! ! ! TRUE:0 TRUE:0 ~ ="},
      {"PrinterAddress.IsActive", "port", "offline = = = raised raised raised ="},
      {"CreateDataCollectionFromFile", "bidi", "- - - = - - - ="},
      {"CreateDataCollectionFromFile", "items", "- - - = - PQ - ="},
      {"DataCollection.GetValue", "bidi", "- - - = - - - ="},
      {"DataCollection.GetValue", "items", "- PQ PQ = PQ - PQ ="},
      {"GetDeviceLocaleStrings", "items", "A A A A A A A ="},
      {"DisposeStringBuffer", "bidi items", "! ! ! ! = = ~ ="},
      {"CreateOIDProvider", "status", "none ! ! ! told told told =", 1},
      {"CreateOIDProvider", "status", "none ! ! ! told told told =", 2},
      {"CreateOIDProvider", "status", "none ! ! ! FALSE:{} state caught =", 3},
      {"OidProvider.GetValue", "status", "printer none printer printer told told told =", 1},
      {"OidProvider.GetValue", "status", "device none device device told told told =", 2},
      {"OidProvider.GetValue", "status", "state none state state FALSE:{} state caught =", 3},
      {"CreateVaultStoreProvider", "save test delete", "- ! ! ! - TRUE TRUE ="},
      {"CreateVaultStoreProvider", "check", "TRUE ! ! ! - TRUE TRUE ="},
      {"DisposeVaultStoreProvider", "save test delete check", "! ! ! ! = = = ="},
      {"VaultStoreProvider.SaveTarget", "save", "= - - - - TRUE TRUE ="},
      {"VaultStoreProvider.GetCertFromVault", "check", "- - - = - TRUE TRUE ="},
      {"VaultStoreProvider.DeleteTarget", "delete", "TRUE - - - - TRUE TRUE ="},
      {"VaultStoreProvider.IsTargetPresent", "test delete", "- = = = - TRUE TRUE ="},
      {"VaultStoreProvider.IsTargetPresent", "check", "TRUE = = = - TRUE TRUE ="},
      {"VaultStoreProvider.SetTargetName VaultStoreProvider.SetUserName", "save test delete",
       "! - - = - TRUE TRUE ="},
      {"VaultStoreProvider.SetTargetName VaultStoreProvider.SetUserName", "check",
       "! TRUE TRUE = - TRUE TRUE ="},
      {"CreateCertificateProvider", "read", "- ! ! ! - - - ="},
      {"CreateCertificateProvider", "check", "- ! ! ! - TRUE TRUE ="},
      {"DisposeCertificateProviderPtr", "read check", "! ! ! ! = = = ="},
      {"CertificateProvider.GetDeviceUUID", "read", "- - - = - - - ="},
      {"CertificateProvider.GetCertificateAllSecurityWarnings", "read", "= - - = - - - ="},
      {"CertificateProvider.GetDeviceCertificate", "read", "- - - - - - - ="},
      {"CertificateProvider.CheckCertificateDate", "check", "TRUE:and:others - - = - TRUE TRUE ="},
      {"CertificateProvider.GetLastErrorCode", "half", "= = = = - - - ="},
  };
  for (const auto& row : rows) {
    ForEachWord(row.operations, [&](const std::string& operation) {
      std::istringstream words(row.answers);
      for (const std::string fault : {kNull, kEFail, kNotFound, kCode1, kRaise5, kRaise0, kThrow, kLate}) {
        std::string word;
        words >> word;
        const bool is_late = fault == kLate;
        const std::string& nth = kCalls[is_late && row.nth == 0 ? 1 : row.nth];
        ForEachWord(word == "!" ? "" : row.calls, [&](const std::string& call) {
          const auto named = answers.find(word);
          Row expected = {.said = word, .until = kAnything};
          std::ranges::replace(expected.said, ':', ' ');
          expected = named != answers.end() ? named->second : expected;
          expected.cause = operation;
          expected.fault = nth.empty() ? fault : With(fault, nth);
          const auto begin = std::chrono::steady_clock::now();
          ExpectRow(call, expected);
          EXPECT_TRUE(!is_late || std::chrono::steady_clock::now() - begin > 90ms) << "it was not asked";
          if (word != "=") {
            ExpectRow(call, {.fault = "{}"});  // the next call
          }
        });
      }
    });
  }
}

TEST_F(Failure, LibraryDoesNotLoad) {
  const std::string cert = "Load IXO / XDM / IXO Cert Libraries S";
  const std::string port = "Load IXO DLL Success";
  const std::string text = "This text is longer than a header and no library. " + std::string(4096, 'x');
  const Lines no_ixo = ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO DLL");
  const Lines no_xdm = ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-XDM DLL");
  const Lines no_cert = ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO Cert DLL");
  ExpectRows({
      {"bidi", "-vexmoixo.dll", "", kNo, "XDM_DLL: [", no_ixo + kIoEnd},
      {"bidi", "-vexmoixodm.dll", "", kNo, "IXOCert_DLL: [", no_xdm + kIoEnd},
      {"bidi", "-vexmobixocert.dll", "", kNo, cert, no_cert + kIoEnd},
      {"status", "-vexmobixo64.dll", "", kNo, "XDM_DLL: [", no_ixo + kStatusEnd},
      {"port", "-vexmoixo.dll", "", kNo, port, no_ixo + kPortEnd},
      {"port", "=vexmoixo.dll", text, kNo, port,
       ErrorLine(ERROR_BAD_EXE_FORMAT, "LoadLibrary-IXO DLL") + kPortEnd},
      {"save test delete check read", "-vexmobixocert.dll", "", kNo, cert, no_cert + kSecurityEnd},
  });
}

TEST_F(Failure, LibraryWithoutEntryPoints) {
  const Lines no_maker = ErrorLine(ERROR_PROC_NOT_FOUND, kNoAddressMaker);
  const Lines unjudged = Lines{"[CertStoreVault]:Contructed"} +
                         Wrapper({"No Non Negotiable Error Present", "No certificate present is vault"});
  ExpectRows({
      {"bidi", "@vexmoixo.dll", "vexmoixo-bare.dll", kNo, "Get the printer address", no_maker + kIoEnd},
      {"bidi", "@vexmoixodm.dll", "vexmoixodm-bare.dll", kNo, "CreateDataCollection from",
       Lines{"GetProcAddress (CreateDataCollectionFromFile) failed"} +
           ErrorLine(ERROR_PROC_NOT_FOUND, "BiDiData") + kIoEnd},
      {"items", "@vexmoixodm.dll", "vexmoixodm-nodispose.dll"},
      {"status", "@vexmobixo64.dll", "vexmoixo-bare.dll", kNo, "Get the printer address",
       no_maker + kStatusEnd},
      {"status", "@vexmobixodm64.dll", "vexmoixodm-bare.dll", kNo, "", kStatusEnd},
      {"port", "@vexmoixo.dll", "vexmoixo-bare.dll", "TRUE 0", "Get the printer address",
       no_maker + Lines{kNonPhysical}},
      {"read", "@vexmoixo.dll", "vexmoixo-bare.dll", kNo, "Get the printer address", no_maker},
      {"save test delete", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "FALSE",
       "[IxoWrapper]:Store provider",
       Lines{"[IxoWrapper]:GetProcAddress() for StoreProvider Failed"} + kStepFailed},
      {"read", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "none",
       "[CertificateHandlingWrapper]:GetDeviceC", kDestroyed},
      {"check", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "FALSE", "[CertStoreVault]:C",
       unjudged + kDestroyed + kVaultGone},
      {"save read check", "@vexmobixocert.dll", "vexmobixocert-nodispose.dll"},
  });
}

TEST_F(Failure, FileThatIsMissingOrMalformed) {
  const std::string own = HostFolder::ConfigurationName();
  const std::string fallback = "Vexmo.Quellix.V4.PrinterExtension.xml";
  const std::string map = "vexmoixodatamap.xml";
  const Lines failed = FailedXml(HostFolder::Text("\\" + own));
  const Lines both_failed =
      failed + FailedXml(HostFolder::Text("\\" + fallback)) + Lines{kInitFailed, kInitFailed};
  const Lines no_map = {"CreateDataCollection from xml: [" + HostFolder::Text("//" + map) + "] ==> failed"};
  ExpectRows({
      {"bidi port", "-" + own, "", kNo, "CCIXML::Load", failed + Lines{kInitFailed}},
      {"bidi", "=" + own, "<a><b></a>", kNo, "CCIXML::Load", failed + Lines{kInitFailed}},
      {"save test delete check read", "=" + own, "<a>", kNo, "CCIXML::Load", both_failed},
      {"bidi", "=" + map, "<DataMap><IPPDataMap></DataMap>", kNo, "CreateDataCollection from",
       Lines{"CreateDataCollection from xml: [" + HostFolder::Text("//" + map) + "] ==> success"} +
           FailedXml(HostFolder::Text("//" + map)) + Lines{kInitFailed}},
      {"bidi", "-" + map, "", kNo, "CreateDataCollection from", no_map + kIoEnd},
      {"status", "=" + own, "malformed"},
      {"port", "-vexmoixodm.dll"},
  });
  Prepare();
  host.Write(fallback, "<PrinterExtension/>");
  host.Write(own, "<a>");
  EXPECT_TRUE(Save(kPassword)) << "with the other file's configuration";
}

TEST_F(Failure, NoAddress) {
  const std::map<std::string, Lines> ends = {
      {"bidi", kIoEnd}, {"status", kStatusEnd}, {"port", {kNonPhysical}}, {"read", {}}};
  for (const auto& [call, end] : ends) {
    const std::string until = "Get the printer address";
    const char* const make = call == "status" ? "CreateAddressFromIPAddress" : "CreateAddressFromPortName";
    const char* const said = call == "port" ? "TRUE 0" : kNo;
    ExpectRows({{call, make, kNull, said, until, Lines{kNoAddress} + end},
                {call, make, kRaise5, said, until, end},
                {call, make, kThrow, said, until, Lines{kAddressThrew} + end}});
  }
  const Lines rest = From(calls_["bidi"].lines, "Get Address from Port success");
  const Lines odd = {std::string("Get the printer address from the name [192.0.2.10] success ==> [") +
                     kAnything + "]"};
  const std::string get = "PrinterAddress.GetAddressString";
  ExpectRows({{"bidi", get, kThrow, "", "Get the printer", Lines{kAddressThrew} + rest},
              {"bidi", get, kNull, "", "Get the printer", odd + rest},
              {"bidi", get, kRaise5, kNo, "Get the printer", kIoEnd}});
  Prepare();
  printer["addresses"]["ports"]["*"]["text"] = std::string(1 << 20, 'x');
  EXPECT_EQ(calls_.at("port").run(), calls_.at("port").said);
}

TEST_F(Failure, ItemsThatCannotBeRead) {
  const std::string make = "CreateDataCollectionFromFile";
  const std::string get = "DataCollection.GetValue";
  const std::string strings = "GetDeviceLocaleStrings";
  const std::string dispose = "DisposeStringBuffer";
  const std::string until = "CreateDataCollection from";
  const std::string only_a = R"("only": "A")";
  const Lines no_map = {"CreateDataCollection from xml: [" + HostFolder::Text("//vexmoixodatamap.xml") +
                        "] ==> failed"};
  const Lines get_threw = {"Error in IxoWrapper::GetData!!"};
  const Lines strings_threw = {"Error in IxoWrapper::GetCustomPQ!!", kLoadSucceeded};
  const std::string no_a = Said(Yes(BidiText({{kPrintQuality, "5"}}, "")));
  const std::string no_strings = Said(Yes(BidiText({{"A", "1"}}, "")));
  ExpectRows({
      {"bidi", make, kNull, kNo, until, no_map + kIoEnd},
      {"bidi", make, kThrow, kNo, until, Lines{"Error in IxoWrapper::BiDiData!!"} + kIoEnd},
      {"items", get, With(kThrow, only_a), no_a, kLoadSucceeded, get_threw + Lines{kLoadSucceeded}},
      {"bidi", get, With(kThrow, R"("only": "DeviceID")"), kNo, "CCIXML::GetPathedNodeListAs",
       get_threw + kNoCid},
      {"items", strings, kThrow, no_strings, kLoadSucceeded, strings_threw},
      {"items", dispose, kThrow, "", kLoadSucceeded, strings_threw},
      {"items", strings, kHuge},
  });
}

TEST_F(Failure, NothingToRead) {
  const Lines begin = BidiInitialisation(kQueue, kAddress);
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi(), kRefused);
  ExpectTraced(begin + kNoCid);
  EXPECT_TRUE(Bidi({.queue = kQueue, .cid = "Given"}).ok);
  ExpectTraced(begin +
               Lines{">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found so using default CID!!!"} +
               DataMapLoading(1) + Lines{kLoadSucceeded});
  Prepare();
  printer["locale"] = Json::object();
  WriteDataMap({});
  EXPECT_EQ(Bidi(), kRefused);
  ExpectTraced(begin + DataMapLoading(0) + Lines{kLoadFailed});
  EXPECT_EQ(Items({"Missing"}), kRefused);
  ExpectTraced(begin + Lines{kLoadFailed});
}

TEST_F(Failure, StatusThatIsRaised) {
  const std::string get = "OidProvider.GetValue";
  const char* const label = "Error in InitIOWrapper";
  ExpectRows({
      {"status", get, R"({"call": 3, "raise": 13})", Said(Yes(kUnreadableStatus)), "", ErrorLine(13, label)},
      {"status", get, R"({"call": 3, "raise": 536875572})", "FALSE {}", "",
       ErrorLine(0x20001234, label)},  // a code without a text
  });
}

TEST_F(Failure, PasswordCalls) {
  const std::string all = "save test delete";
  const Lines thrown = {"Error in IxoWrapper::ProcessPasswordInCredManager!!"};
  const std::string made = "[IxoWrapper]:Store provider";
  ExpectRows({
      {all, "CreateVaultStoreProvider", kNull, "FALSE", made, Lines{"[IxoWrapper]:IXO Failed"} + kStepFailed},
      {all, kSetTarget, kDenied, "FALSE", kNamed, Lines{kUserNamed} + kStepFailed},
      {all, kSetUser, kDenied, "FALSE", kUserNamed, kStepFailed},
      {"save", "VaultStoreProvider.SaveTarget", kCode5, "FALSE", "", kStepFailed},
      {"test", kIsPresent, kNull, "FALSE", kTargetPresent, Lines{kTargetNotPresent} + kStepFailed},
      {"delete", kIsPresent, kNull, "FALSE", "[IxoWrapper]:Deleted", Lines{kTargetNotPresent} + kStepFailed},
      {"delete", "VaultStoreProvider.DeleteTarget", kCode5, "FALSE", "", kStepFailed},
      {all, kSetUser, kRaise0, "TRUE", kUserNamed},
      {all, "CreateVaultStoreProvider", kThrow, "TRUE", made, thrown},
  });
}

TEST_F(Failure, CertificateReads) {
  const std::string get = "CertificateProvider.GetDeviceCertificate";
  const std::string warnings = "CertificateProvider.GetCertificateAllSecurityWarnings";
  const std::string uuid = "CertificateProvider.GetDeviceUUID";
  const std::string begin = "[CertificateHandlingWrapper]:GetDeviceC";
  const std::string nothing = "[CertificateHandlingWrapper]:No Error";
  const std::string end = "[CertificateHandlingWrapper]:No certificate";
  const std::string both = "{\"" + get + "\": {\"hresult\": 31}, \"";
  const Lines thrown = {"Error in CCustomBiDi::GetPrinterCertificate"};
  const Lines no_certificate = Wrapper({"GetDeviceCertificate API Failed", "No Error reported", "Destroyed"});
  ExpectRows({
      {"read", get, R"({"hresult": 31, "call": 1})", kNo, begin, no_certificate},
      {"read", get, R"({"hresult": 1, "call": 2})", kNo, begin, no_certificate},
      {"read", "=certificate.der", "", kNo, begin, no_certificate},
      {"read", get, R"({"length": 16777217})", kNo, begin, no_certificate},
      {"read", get, kHuge, kNo, begin, no_certificate},
      {"read", get, With(kHuge, kCalls[2])},
      {"read", warnings, kEFail, kNo, nothing,
       Wrapper({"GetCertificateAllSecurityWarnings API Failed", "Destroyed"})},
      {"read", "", both + warnings + "\": " + kEFail + "}", kNo, begin,
       Wrapper({"GetDeviceCertificate API Failed", "GetCertificateAllSecurityWarnings API Failed",
                "Could not fetch device Certificate. May be connectivity issue", "Destroyed"})},
      {"read", uuid, kEFail, kNo, end, Wrapper({"GetDeviceUUID API Failed", "Destroyed"})},
      {"read", "CreateCertificateProvider", kNull, kNo, begin, kDestroyed},
      {"read", uuid, kThrow, kNo, end, kDestroyed + thrown},
      {"read", "CreateCertificateProvider", kThrow, kNo, begin, thrown},  // not made, so not destroyed
      {"read", get, kRaise5, kNo, begin, kDestroyed + ErrorLine(5, "Error in Run")},
      {"read", warnings, kRaise0, kNo, nothing, kDestroyed},
  });
}

TEST_F(Failure, CertificateChecks) {
  const std::string create = "CreateCertificateProvider";
  const std::string create_vault = "CreateVaultStoreProvider";
  const std::string from_vault = "VaultStoreProvider.GetCertFromVault";
  const std::string dates = "CertificateProvider.CheckCertificateDate";
  const std::string taken = "[IxoWrapper]:GetCertFromVault";
  const std::string valid = "[CertificateHandlingWrapper]:Certificate is valid";
  const Lines thrown = {"Error in CCustomBiDi::VerifyCertificateValidity"};
  const Lines begun = Wrapper({"No Non Negotiable Error Present"});
  const Lines not_kept = Wrapper({"No certificate present is vault", "Certificate is valid"});
  const Lines invalid = Lines{"Exception occured - Invalid arguments\n\n"} +
                        Wrapper({"VerifyCertBlobMatching API Failed", "Certificate Match operation failed"}) +
                        kDestroyed + kVaultGone;
  const Lines not_taken = {taken + " returned failure"};
  const Lines end = kDestroyed + kVaultGone;
  const Lines after_taken = From(From(calls_["check"].lines, taken), "Vault Certificate lenght");
  const Lines not_present = begun + Lines{kTargetNotPresent} + not_kept + end;
  ExpectRows({
      {"check", create_vault, kNull, "TRUE", kNamed, begun + not_kept + end},
      {"check", create, kNull, "FALSE", valid, end},
      {"check", dates, kEFail, "FALSE", valid, end},  // the verdict on the copy is lost with it
      {"check", kSetTarget, kEFail, "TRUE", kNamed,
       Lines{"[IxoWrapper]: Failed to SetTargetName()", kUserNamed} + not_present},
      {"check", kSetUser, kEFail, "TRUE", kUserNamed,
       Lines{"[IxoWrapper]: Failed to SetUserName()"} + not_present},
      {"check", from_vault, kDenied, "FALSE", taken,
       not_taken + Wrapper({"GetCertificateFromVault Failed"}) + end},
      // Bytes that come with a failure are bytes all the same; a success without bytes has no certificate.
      {"check", from_vault, With(kDenied, R"("deliver": true)"), "", taken, not_taken + after_taken},
      {"check", from_vault, kNull, "FALSE", "Vault Certificate lenght", invalid},
      {"check", from_vault, With(kDenied, R"("length": 5)"), "FALSE", taken, not_taken + invalid},
      {"check", from_vault, kHuge, "FALSE", "Vault Certificate lenght", invalid},
      {"check", create, kThrow, "TRUE", "[CertStoreVault]:C", thrown},  // what was not made is not destroyed
      {"check", create_vault, kRaise5, "FALSE", kNamed, kDestroyed + ErrorLine(5, "Error in Run")},
      {"check", kSetUser, kRaise0, "TRUE", kUserNamed, kDestroyed},
      {"check", dates, kThrow, "TRUE", valid, end + thrown},
  });
}

}  // namespace
}  // namespace custom_bidi_test
