// How each call fails: a row per thing that goes wrong, with what the call comes to and the lines from there
// on. Nothing may be left open, and no buffer is touched by a call that refuses.

#include <sstream>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

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
constexpr char kCode5[] = R"({"hresult": 5})";

const Lines kIoEnd = {">>>>>Custom Bidi :  Init IO fail!!!", kInitFailed};
const Lines kStatusEnd = {">>>>>Custom Bidi :  Init IO fail!!!",
                          ">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!"};
const Lines kPortEnd = {">>>>>Custom Bidi :  GetPortInformationFromIXO fail!!!", kInitFailed};
const Lines kSecurityEnd = {">>>>>Custom Bidi : Init IO fail!!!", kInitFailed};
const Lines kStepFailed = {">>>> Custom Bidi : IXO SEP Target Processing failed!!"};
const Lines kDestroyed = Wrapper({"Destroyed"});
const Lines kVaultGone = {"[CertStoreVault]:Destroyed"};

struct Row {
  /// One call or several, as Run takes them.
  std::string calls;
  /// The operation that fails as `fault` says. With a mark in front a file of the host: "-" it is missing, "="
  /// its content is `fault`, "@" it is a copy of the file `fault`; "" all faults.
  std::string cause;
  std::string fault = {};
  /// What the call comes to; "" as if nothing had happened.
  std::string said = {};
  /// The healthy call's first line that is not written; "" all are.
  std::string until = {};
  /// The lines then.
  Lines lines = {};
};

class Failure : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    Delete({kUser, kCertificateTarget});  // of a run that crashed
    KeepInVault(Certificate("device"));
    const std::string pair = R"({"A": "1",")" + std::string(kPrintQuality) + R"(": "5",)";
    healthy_ = {
        {"bidi",
         {"TRUE " + pair + R"("JobJsonDeviceCapsComplete": "true","CID": "Vexmo_1"})",
          BidiCall(kQueue, kAddress, 1)}},
        {"items",
         {"TRUE " + pair + R"("CID": ""})", BidiInitialisation(kQueue, kAddress) + Lines{kLoadSucceeded}}},
        {"status", {"TRUE " + StatusText(4, 0, 128), StatusInitialisation(kAddress)}},
        {"port", {"TRUE 1", PortStatusOf(kAddress)}},
        {"save", {"TRUE", PasswordCall("[IxoWrapper]:Saved Target")}},
        {"test", {"TRUE", PasswordCall(kTargetPresent)}},
        {"delete", {"TRUE", PasswordCall("[IxoWrapper]:Deleted Target key")}},
        {"read", {"read", CertificateRead()}},
        {"check",
         {"TRUE matched", CheckBegin(1) + CheckCompared(Certificate("device").size(), true) +
                              Wrapper({"Certificate is valid"}) + CheckEnd(0)}},
    };
    Prepare();
  }

  void Prepare() {
    MakeHealthy();
    printer["oids"][kPrinterStatusOid] = 4;
    printer["oids"][kDeviceStatusOid] = 5;
    printer["oids"][kErrorStateOid] = "80";
    printer["locale"]["*"] = std::string(kPrintQuality) + "=5";
    providers_go_back = true;
  }

  static std::string Said(const Answer& answer) {
    return (answer.ok ? "TRUE " : "FALSE ") + answer.text.value_or("-");
  }
  static std::string Said(bool ok) { return ok ? "TRUE" : "FALSE"; }

  std::string Run(const std::string& call) {
    if (call == "bidi" || call == "items") {
      return Said(call == "bidi" ? Bidi() : Items({"A", "CustomPQ"}));
    }
    if (call == "status") {  // with what it writes to the standard output
      testing::internal::CaptureStdout();
      std::string said = Said(Status());
      said += testing::internal::GetCapturedStdout();
      std::erase(said, '\r');
      return said;
    }
    if (call == "port") {
      const auto [ok, status] = Port();
      return Said(ok) + " " + (status == kUntouchedStatus ? "-" : std::to_string(status));
    }
    if (call == "read") {
      const std::optional<Record> record = Read();
      return !record ? "none" : *record == Record{kUuid, Certificate("device"), {}} ? "read" : "another";
    }
    if (call == "check") {
      const auto [ok, warnings] = Check({kUuid, Certificate("device"), {2}});
      return Said(ok) + (warnings.empty() ? " matched" : warnings == Codes{2} ? "" : " and other warnings");
    }
    return Said(call == "save" ? Save(kPassword) : call == "test" ? IsPresent() : Delete());
  }

  void Arrange(const Row& row) {
    const std::string file = row.cause.substr(std::min<size_t>(1, row.cause.size()));
    if (row.cause.empty()) {
      printer["faults"] = Json::Raw(row.fault);
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

  void ExpectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      std::istringstream calls(row.calls);
      for (std::string call; calls >> call;) {
        ExpectRow(call, row);
      }
    }
  }
  void ExpectRow(const std::string& call, const Row& row) {
    SCOPED_TRACE(call + " | " + row.cause + " | " + row.fault);
    Prepare();
    const bool needs_password = call == "save" || call == "test" || call == "delete";
    EXPECT_TRUE(!needs_password || Save(kPassword));
    TakeTrace();
    Arrange(row);
    const auto& [said, lines] = healthy_.at(call);
    EXPECT_EQ(Run(call), row.said.empty() ? said : row.said);
    ExpectTraced((row.until.empty() ? lines : Before(lines, row.until)) + row.lines);
    if (needs_password) {
      Prepare();
      EXPECT_EQ(IsPresent(), call != "delete" || !row.said.empty()) << "a call that fails deletes nothing";
    }
  }

  /// Operations, each with the first line that is not written and the lines then, that raise 5 (what the call
  /// says then, and the line), 0 (that, and none) or an object (as 0, and the line).
  void ExpectRaises(const std::string& calls,
                    const std::vector<std::tuple<std::string, std::string, Lines>>& rows,
                    const char* on_code,
                    const char* otherwise,
                    const Lines& code_line,
                    const Lines& object_line) {
    for (const auto& [operation, until, end] : rows) {
      ExpectRows({{calls, operation, kRaise5, on_code, until, end + code_line},
                  {calls, operation, kRaise0, otherwise, until, end},
                  {calls, operation, kThrow, otherwise, until, end + object_line}});
    }
  }

  std::map<std::string, std::pair<std::string, Lines>> healthy_;
};

TEST_F(Failure, NothingFails) {
  ExpectRows({{"bidi items status port save test delete read check", "", "{}"}});
}

TEST_F(Failure, LibraryDoesNotLoad) {
  const std::string cert = "Load IXO / XDM / IXO Cert Libraries S";
  const std::string text = "This text is longer than a header and no library. " + std::string(4096, 'x');
  const std::tuple<const char*, std::string, std::string, std::string, const char*, Lines> rows[] = {
      {"bidi", "vexmoixo.dll", "XDM_DLL: [", "IXO", "FALSE -", kIoEnd},
      {"bidi", "vexmoixodm.dll", "IXOCert_DLL: [", "XDM", "FALSE -", kIoEnd},
      {"bidi", "vexmobixocert.dll", cert, "IXO Cert", "FALSE -", kIoEnd},
      {"status", "vexmobixo64.dll", "XDM_DLL: [", "IXO", "FALSE -", kStatusEnd},
      {"status", "vexmobixodm64.dll", "IXOCert_DLL: [", "XDM", "FALSE -", kStatusEnd},
      {"status", "vexmobixocert64.dll", "Load IXO / XDM / IXOCert", "IXO Cert", "FALSE -", kStatusEnd},
      {"port", "vexmoixo.dll", "Load IXO DLL Success", "IXO", "FALSE -", kPortEnd},
      {"save test delete check", "vexmobixocert.dll", cert, "IXO Cert", "FALSE", kSecurityEnd},
      {"read", "vexmobixocert.dll", cert, "IXO Cert", "none", kSecurityEnd},
  };
  for (const auto& [calls, file, until, name, said, end] : rows) {
    const std::string label = "LoadLibrary-" + name + " DLL";
    ExpectRows({{calls, "-" + file, "", said, until, ErrorLine(ERROR_MOD_NOT_FOUND, label) + end},
                {calls, "=" + file, text, said, until, ErrorLine(ERROR_BAD_EXE_FORMAT, label) + end}});
  }
}

TEST_F(Failure, LibraryWithoutEntryPoints) {
  const Lines no_maker = ErrorLine(ERROR_PROC_NOT_FOUND, kNoAddressMaker);
  const Lines unjudged = Lines{"[CertStoreVault]:Contructed"} +
                         Wrapper({"No Non Negotiable Error Present", "No certificate present is vault"});
  ExpectRows({
      {"bidi", "@vexmoixo.dll", "vexmoixo-bare.dll", "FALSE -", "Get the printer address", no_maker + kIoEnd},
      {"bidi", "@vexmoixodm.dll", "vexmoixodm-bare.dll", "FALSE -", "CreateDataCollection from",
       Lines{"GetProcAddress (CreateDataCollectionFromFile) failed"} +
           ErrorLine(ERROR_PROC_NOT_FOUND, "BiDiData") + kIoEnd},
      {"items", "@vexmoixodm.dll", "vexmoixodm-nodispose.dll"},
      {"status", "@vexmobixo64.dll", "vexmoixo-bare.dll", "FALSE -", "Get the printer address",
       no_maker + kStatusEnd},
      {"status", "@vexmobixodm64.dll", "vexmoixodm-bare.dll", "FALSE -", "", kStatusEnd},
      {"port", "@vexmoixo.dll", "vexmoixo-bare.dll", "TRUE 0", "Get the printer address",
       no_maker + Lines{kNonPhysical}},
      {"read", "@vexmoixo.dll", "vexmoixo-bare.dll", "none", "Get the printer address", no_maker},
      {"save test delete", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "FALSE",
       "[IxoWrapper]:Store provider",
       Lines{"[IxoWrapper]:GetProcAddress() for StoreProvider Failed"} + kStepFailed},
      {"read", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "none",
       "[CertificateHandlingWrapper]:GetDeviceC", kDestroyed},
      {"check", "@vexmobixocert.dll", "vexmobixocert-bare.dll", "FALSE", "[CertStoreVault]:C",
       unjudged + kDestroyed + kVaultGone},
      {"save test read check", "@vexmobixocert.dll", "vexmobixocert-nodispose.dll"},
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
      {"bidi port", "-" + own, "", "FALSE -", "CCIXML::Load", failed + Lines{kInitFailed}},
      {"bidi", "=" + own, "<a><b></a>", "FALSE -", "CCIXML::Load", failed + Lines{kInitFailed}},
      {"save test delete", "=" + own, "<a>", "FALSE", "CCIXML::Load", both_failed},
      {"read", "-" + own, "", "none", "CCIXML::Load", both_failed},
      {"check", "-" + own, "", "FALSE", "CCIXML::Load", both_failed},
      {"bidi", "=" + map, "<DataMap><IPPDataMap></DataMap>", "FALSE -", "CreateDataCollection from",
       Lines{"CreateDataCollection from xml: [" + HostFolder::Text("//" + map) + "] ==> success"} +
           FailedXml(HostFolder::Text("//" + map)) + Lines{kInitFailed}},
      {"bidi", "-" + map, "", "FALSE -", "CreateDataCollection from", no_map + kIoEnd},
      {"status", "=" + own, "malformed"},
      {"items", "=" + map, "<DataMap/>"},
      {"port", "-" + map},
      {"port", "-vexmoixodm.dll"},
      {"port", "-vexmobixocert.dll"},
  });
  Prepare();
  host.Write(fallback, "<PrinterExtension/>");
  host.Write(own, "<a>");
  EXPECT_TRUE(Save(kPassword)) << "with the other file's configuration";
}

TEST_F(Failure, NoAddress) {
  const std::tuple<const char*, const char*, const char*, Lines> rows[] = {
      {"bidi", "CreateAddressFromPortName", "FALSE -", kIoEnd},
      {"status", "CreateAddressFromIPAddress", "FALSE -", kStatusEnd},
      {"port", "CreateAddressFromPortName", "TRUE 0", {kNonPhysical}},
      {"read", "CreateAddressFromPortName", "none", {}}};
  for (const auto& [call, make, said, end] : rows) {
    const std::string until = "Get the printer address";
    ExpectRows({{call, make, kNull, said, until, Lines{kNoAddress} + end},
                {call, make, kRaise5, said, until, end},
                {call, make, kRaise0, said, until, end},
                {call, make, kThrow, said, until, Lines{kAddressThrew} + end}});
  }
  const Lines rest = From(healthy_["bidi"].second, "Get Address from Port success");
  const Lines odd = {std::string("Get the printer address from the name [192.0.2.10] success ==> [") +
                     kAnything + "]"};
  const std::string get = "PrinterAddress.GetAddressString";
  ExpectRows({{"bidi", get, kThrow, "", "Get the printer", Lines{kAddressThrew} + rest},
              {"bidi", get, kNull, "", "Get the printer", odd + rest},
              {"bidi", get, kRaise5, "FALSE -", "Get the printer", kIoEnd}});
}

TEST_F(Failure, PortIsAskedAtASecondAddress) {
  const std::string until = "Get Address from Port success";
  const Lines raised = {"Exception occured in IsPortConnected function"};
  const std::string make = "CreateAddressFromPortName";
  const std::string ask = "PrinterAddress.IsActive";
  const std::string second = "\"call\": 2";
  ExpectRows({
      // The system's code is whatever the thread failed with last.
      {"port", make, With(kNull, second), "TRUE -", until, {kAnything}},
      {"port", ask, kNull, "TRUE -1", until, {"The connected IP is offline.Check the connectivity!!"}},
      {"port", ask, R"({"hresult": -7})"},
  });
  for (const char* fault : {kRaise5, kRaise0, kThrow}) {
    ExpectRows({{"port", make, With(fault, second), "TRUE -", until, raised},
                {"port", ask, fault, "TRUE -", until, raised}});
  }
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
  const Lines no_cid = {
      ">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found and default CID also not set!!!", kLoadFailed};
  const Lines get_threw = {"Error in IxoWrapper::GetData!!"};
  const Lines strings_threw = {"Error in IxoWrapper::GetCustomPQ!!"};
  const Lines success = {kLoadSucceeded};
  const std::string no_a = Said(Yes(BidiText({{kPrintQuality, "5"}}, "")));
  const std::string no_strings = Said(Yes(BidiText({{"A", "1"}}, "")));
  ExpectRows({
      {"bidi", make, kNull, "FALSE -", until, no_map + kIoEnd},
      {"bidi", make, kEFail, "FALSE -", until, no_map + kIoEnd},
      {"bidi", make, kRaise5, "FALSE -", until, kIoEnd},
      {"bidi", make, kThrow, "FALSE -", until, Lines{"Error in IxoWrapper::BiDiData!!"} + kIoEnd},
      {"bidi", make, kCode1},
      {"items", get, With(kThrow, only_a), no_a, kLoadSucceeded, get_threw + success},
      {"bidi", get, With(kThrow, R"("only": "DeviceID")"), "FALSE -", "CCIXML::GetPathedNodeListAs",
       get_threw + no_cid},
      {"items", strings, kCode1, no_strings},
      {"items", strings, kThrow, no_strings, kLoadSucceeded, strings_threw + success},
      {"items", dispose, kRaise5},
      {"items", dispose, kThrow, "", kLoadSucceeded, strings_threw + success},
  });
  for (const char* fault : {kNotFound, kNull, kRaise5, kRaise0}) {
    ExpectRows({{"items", get, With(fault, only_a), no_a}, {"items", strings, fault, no_strings}});
  }
  Prepare();
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi(), kRefused);
  ExpectTraced(BidiInitialisation(kQueue, kAddress) + no_cid);
  EXPECT_TRUE(Bidi({.queue = kQueue, .cid = "Given"}).ok);
  ExpectTraced(BidiInitialisation(kQueue, kAddress) +
               Lines{">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found so using default CID!!!"} +
               DataMapLoading(1) + success);
}

TEST_F(Failure, NothingToRead) {
  Prepare();
  printer["locale"] = {};
  WriteDataMap({});
  EXPECT_EQ(Bidi(), kRefused);
  ExpectTraced(BidiInitialisation(kQueue, kAddress) + DataMapLoading(0) + Lines{kLoadFailed});
  EXPECT_EQ(Items({"Missing"}), kRefused);
  ExpectTraced(BidiInitialisation(kQueue, kAddress) + Lines{kLoadFailed});
}

// The printer is at 4, the device at 5 and the error state at 80 hexadecimal.
TEST_F(Failure, StatusReads) {
  const std::string make = "CreateOIDProvider";
  const std::string get = "OidProvider.GetValue";
  const auto call = [](const char* fault, int n) { return With(fault, "\"call\": " + std::to_string(n)); };
  const auto raise = [](const char* code) { return R"({"call": 3, "raise": )" + std::string(code) + "}"; };
  const std::string unreadable = Said(Yes(kUnreadableStatus));
  const std::string raised = unreadable + "Exception occured in OID Get Value\n";
  const std::string no_state = Said(Yes(StatusText(4, 0, 0)));
  const std::string no_status = Said(Yes(StatusText(0, 2, 128)));
  const Lines failed = {">>>>>Custom Bidi : GetStatusData fail!!!"};
  const Lines caught = {"Error in CCustomBiDi::GetStatusData"};
  ExpectRows({
      {"status", make, call(kNull, 3), unreadable, "", failed},
      {"status", make, call(kThrow, 1), raised, "", failed},
      {"status", make, call(kRaise5, 2), raised, "", failed},
      {"status", make, call(kThrow, 3), no_state, "", caught},
      {"status", get, call(kThrow, 3), no_state, "", caught},
      {"status", get, raise("5"), "FALSE {}", "", ErrorLine(5, "Error in InitIOWrapper")},
      {"status", get, raise("13"), unreadable, "", ErrorLine(13, "Error in InitIOWrapper")},
      {"status", get, raise("0"), no_state},
      {"status", get, raise("536875572"), "FALSE {}", "",
       ErrorLine(0x20001234, "Error in InitIOWrapper")},  // a code without a text
  });
  for (const int n : {1, 2}) {
    ExpectRows({{"status", make, call(kNull, n), unreadable, "", failed},
                {"status", get, call(kThrow, n), raised, "", failed},
                {"status", get, call(kRaise5, n), raised, "", failed},
                {"status", get, call(kRaise0, n), raised, "", failed}});
  }
  for (const char* fault : {kNotFound, kCode1}) {
    ExpectRows({{"status", get, call(fault, 1), no_status},
                {"status", get, call(fault, 2)},
                {"status", get, call(fault, 3), no_state}});
  }
  int read = 0;
  for (const char* oid : {kPrinterStatusOid, kDeviceStatusOid, kErrorStateOid}) {  // in their order
    ExpectRows({{"status", get, With(call(kEFail, ++read), "\"only\": " + Json(oid).Text()), unreadable, "",
                 failed}});
  }
}

TEST_F(Failure, PasswordCalls) {
  const std::string all = "save test delete";
  const Lines thrown = {"Error in IxoWrapper::ProcessPasswordInCredManager!!"};
  const std::string made = "[IxoWrapper]:Store provider";
  ExpectRows({
      {all, "CreateVaultStoreProvider", kNull, "FALSE", made, Lines{"[IxoWrapper]:IXO Failed"} + kStepFailed},
      {all, kSetTarget, kDenied, "FALSE", kNamed, Lines{kUserNamed} + kStepFailed},
      {all, kSetTarget, kCode1},  // a positive result is no failure
      {all, kSetUser, kDenied, "FALSE", kUserNamed, kStepFailed},
      {all, kSetUser, kCode1},
      {"save", "VaultStoreProvider.SaveTarget", kCode5, "FALSE", "", kStepFailed},
      {"test", kIsPresent, kNull, "FALSE", kTargetPresent, Lines{kTargetNotPresent} + kStepFailed},
      {"delete", kIsPresent, kNull, "FALSE", "[IxoWrapper]:Deleted", Lines{kTargetNotPresent} + kStepFailed},
      {"delete", "VaultStoreProvider.DeleteTarget", kCode5, "FALSE", "", kStepFailed},
      // Whatever is raised while the provider goes back stays without effect.
      {"save test", "DisposeVaultStoreProvider", kRaise5},
      {"save test", "DisposeVaultStoreProvider", kThrow},
  });
  for (const auto& [calls, operation, until] :
       {std::tuple{all, std::string("CreateVaultStoreProvider"), made},
        {all, kSetTarget, kNamed},
        {all, kSetUser, kUserNamed},
        {"save", "VaultStoreProvider.SaveTarget", "[IxoWrapper]:Saved"},
        {"test", kIsPresent, kTargetPresent},
        {"delete", kIsPresent, "[IxoWrapper]:Deleted"},
        {"delete", "VaultStoreProvider.DeleteTarget", "[IxoWrapper]:Deleted"}}) {
    ExpectRaises(calls, {{operation, until, {}}}, "FALSE", "TRUE", kStepFailed, thrown);
  }
}

TEST_F(Failure, CertificateReads) {
  const std::string get = "CertificateProvider.GetDeviceCertificate";
  const std::string warnings = "CertificateProvider.GetCertificateAllSecurityWarnings";
  const std::string uuid = "CertificateProvider.GetDeviceUUID";
  const std::string begin = "[CertificateHandlingWrapper]:GetDeviceC";
  const std::string nothing = "[CertificateHandlingWrapper]:No Error";
  const std::string end = "[CertificateHandlingWrapper]:No certificate";
  const std::string both = "{\"" + get + "\": {\"hresult\": 31}, \"";
  const std::string last_error = both + "CertificateProvider.GetLastErrorCode\": ";
  const Lines run_error = ErrorLine(5, "Error in Run");
  const Lines thrown = {"Error in CCustomBiDi::GetPrinterCertificate"};
  const Lines no_certificate = Wrapper({"GetDeviceCertificate API Failed", "No Error reported", "Destroyed"});
  ExpectRows({
      {"read", get, R"({"hresult": 31, "call": 1})", "none", begin, no_certificate},
      {"read", get, R"({"hresult": 1, "call": 2})", "none", begin, no_certificate},
      {"read", "=certificate.der", "", "none", begin, no_certificate},
      {"read", warnings, kEFail, "none", nothing,
       Wrapper({"GetCertificateAllSecurityWarnings API Failed", "Destroyed"})},
      {"read", "", both + warnings + "\": " + kEFail + "}", "none", begin,
       Wrapper({"GetDeviceCertificate API Failed", "GetCertificateAllSecurityWarnings API Failed",
                "Could not fetch device Certificate. May be connectivity issue", "Destroyed"})},
      {"read", uuid, kEFail, "none", end, Wrapper({"GetDeviceUUID API Failed", "Destroyed"})},
      {"read", "CreateCertificateProvider", kNull, "none", begin, kDestroyed},
      {"read", "DisposeCertificateProviderPtr", kRaise5},
      {"read", "DisposeCertificateProviderPtr", kThrow},
      {"read", "", last_error + kRaise5 + "}", "none", begin, kDestroyed + run_error},
      {"read", "", last_error + kRaise0 + "}", "none", begin, kDestroyed},
      {"read", "", last_error + kThrow + "}", "none", begin, kDestroyed + thrown},
  });
  ExpectRaises("read",
               {{"CreateCertificateProvider", begin, {}},  // what was not made is not destroyed
                {get, begin, kDestroyed},
                {warnings, nothing, kDestroyed},
                {uuid, end, kDestroyed}},
               "none", "none", run_error, thrown);
}

TEST_F(Failure, CertificateChecks) {
  const std::string create = "CreateCertificateProvider";
  const std::string create_vault = "CreateVaultStoreProvider";
  const std::string from_vault = "VaultStoreProvider.GetCertFromVault";
  const std::string dates = "CertificateProvider.CheckCertificateDate";
  const std::string taken = "[IxoWrapper]:GetCertFromVault";
  const std::string valid = "[CertificateHandlingWrapper]:Certificate is valid";
  const Lines begun = Wrapper({"No Non Negotiable Error Present"});
  const Lines not_kept = Wrapper({"No certificate present is vault", "Certificate is valid"});
  const Lines not_taken = {taken + " returned failure"};
  const Lines end = kDestroyed + kVaultGone;
  const Lines after_taken = From(From(healthy_["check"].second, taken), "Vault Certificate lenght");
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
      {"check", from_vault, kNull, "FALSE", "Vault Certificate lenght",
       Lines{"Exception occured - Invalid arguments\n\n"} +
           Wrapper({"VerifyCertBlobMatching API Failed", "Certificate Match operation failed"}) + end},
  });
  ExpectRaises("check",
               {// What was not made is not destroyed.
                {create, "[CertStoreVault]:C", {}},
                {create_vault, kNamed, kDestroyed},
                {kSetTarget, kNamed, kDestroyed},
                {kSetUser, kUserNamed, kDestroyed},
                {kIsPresent, kTargetPresent, end},
                {from_vault, taken, end},
                {dates, valid, end}},
               "FALSE", "TRUE", ErrorLine(5, "Error in Run"),
               {"Error in CCustomBiDi::VerifyCertificateValidity"});
  for (const char* dispose : {"DisposeCertificateProviderPtr", "DisposeVaultStoreProvider"}) {
    ExpectRows({{"check", dispose, kRaise5}, {"check", dispose, kThrow}});
  }
}

}  // namespace
}  // namespace custom_bidi_test
