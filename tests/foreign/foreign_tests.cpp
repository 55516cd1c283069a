// Device libraries made by Microsoft's compiler, as the real ones are: what they answer, and what becomes of
// all that they may raise.

#include "tests/foreign/foreign_script.h"

#include "src/deviceio/ixo_wrapper.h"
#include "src/trace/trace_log.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

using enum ForeignPoint;

constexpr char kNobodysQueue[] = "nobody's queue";
constexpr DWORD kWarning = 12044;

class Foreign : public CallTest {
 public:
  using Call = std::string (Foreign::*)();

  std::string AskItems() { return Shown(Bidi()); }
  std::string AskItemsOfNobody() { return Shown(Bidi({.queue = kNobodysQueue})); }
  std::string AskOneItem() { return Shown(Items({"A"})); }
  std::string AskStatus() { return Shown(Status()); }
  std::string AskPort() {
    const auto [ok, status] = Port();
    return Said(ok) + " " + (status == kUntouchedStatus ? "-" : std::to_string(status));
  }
  /// No export asks for an address by host name.
  std::string AskHostName() {
    const custom_bidi::TraceShare share;
    custom_bidi::StartTraceForQueue(ToWide(kQueue).c_str());
    custom_bidi::IxoWrapper wrapper;
    if (wrapper.LoadIxoLibrary(ToWide(HostFolder::Text("\\vexmoixo.dll")).c_str()) != ERROR_SUCCESS) {
      return "not loaded";
    }
    return wrapper.GetAddress(W("printer"), custom_bidi::AddressKind::kHostName) ? "made" : "none";
  }
  std::string Save() { return Said(calls_.Save("psw")); }
  std::string IsPresent() { return Said(calls_.IsPresent()); }
  std::string Delete() { return Said(calls_.Delete()); }
  std::string ReadCertificate() {
    const std::optional<Record> record = CallTest::Read(kFullCheck, "user");
    return !record ? "none" : *record == Record{kUuid, certificate_, {kWarning}} ? "read" : "something else";
  }
  std::string ReadWithoutUuid() {
    script.without_uuid = true;
    const std::string said = ReadCertificate();
    script.without_uuid = false;
    return said;
  }
  /// The record's warning goes when the check comes to the vault's copy.
  std::string Verify() {
    const auto [ok, warnings] = Check({kUuid, certificate_, {kWarning}}, kFullCheck, "user");
    return Said(ok) + (warnings.empty() ? " matched" : "");
  }

 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    SetSwitch(kNobodysQueue, RegistryBytes::Dword(1));
    script.certificate = reinterpret_cast<const unsigned char*>(certificate_.data());
    script.certificate_bytes = static_cast<unsigned>(certificate_.size());
    char address[32];
    snprintf(address, sizeof(address), "%llx", reinterpret_cast<unsigned long long>(&script));
    SetVariable("FOREIGN_SCRIPT", address);
    WriteDataMap({"A", "I1", "I2", "I4", "UI1", "UI2", "UI4", "Missing"});
  }

  /// Makes the call on a thread of its own, whose apartment it has to leave as it was.
  std::string Run(Call call) {
    std::string said;
    OnThreads(1, [&](int) {
      said = (this->*call)();
      EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK) << "COM was left initialised";
      CoUninitialize();
    });
    EXPECT_EQ(LeftOpen(), "");
    EXPECT_EQ(script.objects, 0) << "a thrown object was not destroyed once";
    EXPECT_EQ(script.frames, 0) << "a frame of the library was not unwound";
    EXPECT_EQ(script.providers, 0) << "a provider was not given back once";
    EXPECT_EQ(script.wrong, 0) << "an argument is not as the contract has it";
    return said;
  }

  void Arm(ForeignPoint point, ForeignKind kind, int nth_call = 1, unsigned code = 0) {
    script.point = point;
    script.kind = kind;
    script.nth_call = nth_call;
    script.code = code;
    script.calls = script.destroyed = 0;
  }

  ForeignScript script{};

 private:
  static std::string Said(bool ok) { return ok ? "TRUE" : "FALSE"; }
  static std::string Shown(const Answer& answer) { return Said(answer.ok) + " " + answer.text.value_or("-"); }

  const StraightCalls calls_{"user", "target"};
  std::string certificate_ = Certificate("device");
};

const std::string kRefusedAnswer = "FALSE -";
const std::string kStrings = R"("vexmo-print-quality-supported.com.vexmo.pq-mode.21": "1",)";
const std::string kUnreadable = "TRUE " + std::string(kUnreadableStatus);

struct Row {
  ForeignPoint point;
  Foreign::Call call;
  /// What the call comes to, always or when DWORD 5, DWORD 0, DWORD 13 or an object is raised; empty: as usual.
  Lines said;
  /// The label of the line for a raised code that is not 0, or null.
  const char* label = nullptr;
  /// The line for an object, or null.
  const char* line = nullptr;
  int nth_call = 1;
};

constexpr char kGetAddress[] = "Error in IxoWrapper::GetAddress!!";
constexpr char kInIsPortConnected[] = "Exception occured in IsPortConnected function";
constexpr char kProcessPassword[] = "Error in IxoWrapper::ProcessPasswordInCredManager!!";
constexpr char kGetCustomPq[] = "Error in IxoWrapper::GetCustomPQ!!";
constexpr char kRead[] = "Error in CCustomBiDi::GetPrinterCertificate";
constexpr char kVerify[] = "Error in CCustomBiDi::VerifyCertificateValidity";
constexpr char kRun[] = "Error in Run";

std::vector<Row> Rows() {
  using F = Foreign;
  const Lines refused = {kRefusedAnswer};
  const Lines unreadable = {kUnreadable};
  const Lines secure = {"FALSE", "TRUE", "FALSE", "TRUE"};
  const Lines usual = {""};
  const std::string status = "TRUE " + StatusText(3, 0, 0);
  return {
      {kAddressFromQueueName, &F::AskItemsOfNobody, refused, nullptr, kGetAddress},
      {kAddressFromPortName, &F::AskItems, refused, nullptr, kGetAddress},
      {kAddressFromPortName, &F::AskPort, {"TRUE 0"}, nullptr, kGetAddress},
      {kAddressFromPortName, &F::AskPort, {"TRUE -"}, kInIsPortConnected, kInIsPortConnected, 2},
      {kAddressFromIpAddress, &F::AskStatus, refused, nullptr, kGetAddress},
      {kAddressFromHostName, &F::AskHostName, {"none"}, nullptr, kGetAddress},
      {kGetAddressString, &F::AskItems, {"FALSE -", "FALSE -", "FALSE -", ""}, nullptr, kGetAddress},
      {kIsActive, &F::AskPort, {"TRUE -"}, kInIsPortConnected, kInIsPortConnected},
      {kCreateDataCollection, &F::AskItems, refused, nullptr, "Error in IxoWrapper::BiDiData!!"},
      {kGetItem, &F::AskOneItem, refused, nullptr, "Error in IxoWrapper::GetData!!"},
      {kGetLocaleStrings, &F::AskItems, {"no strings"}, nullptr, kGetCustomPq},
      {kDisposeStringBuffer, &F::AskItems, usual, nullptr, kGetCustomPq},
      {kCreateOidProvider, &F::AskStatus, unreadable},
      {kGetOid, &F::AskStatus, unreadable},
      {kGetOid, &F::AskStatus, unreadable, nullptr, nullptr, 2},
      // A raised 13 is the code of a printer that cannot be read.
      {kGetOid,
       &F::AskStatus,
       {"FALSE {}", status, kUnreadable, status},
       "Error in InitIOWrapper",
       "Error in CCustomBiDi::GetStatusData",
       3},
      {kCreateVault, &F::Save, secure, nullptr, kProcessPassword},
      {kDisposeVault, &F::Save, usual},
      {kSetTargetName, &F::Save, secure, nullptr, kProcessPassword},
      {kSetUserName, &F::Save, secure, nullptr, kProcessPassword},
      {kSaveTarget, &F::Save, secure, nullptr, kProcessPassword},
      {kIsTargetPresent, &F::IsPresent, secure, nullptr, kProcessPassword},
      {kDeleteTarget, &F::Delete, secure, nullptr, kProcessPassword},
      {kCreateCertificateProvider, &F::ReadCertificate, {"none"}, kRun, kRead},
      {kDisposeCertificateProvider, &F::ReadCertificate, usual},
      {kGetDeviceUuid, &F::ReadCertificate, {"none"}, kRun, kRead},
      {kGetWarnings, &F::ReadCertificate, {"none"}, kRun, kRead},
      {kGetCertificate, &F::ReadCertificate, {"none"}, kRun, kRead},
      {kGetLastErrorCode, &F::ReadWithoutUuid, {"none"}, kRun, kRead},
      {kGetCertFromVault, &F::Verify, secure, kRun, kVerify},
      {kCheckDate, &F::Verify, secure, kRun, kVerify},
      {kCreateVault, &F::Verify, secure, kRun, kVerify},
  };
}

/// The lines that speak of an exception.
Lines Reports(const Lines& trace) {
  Lines reports;
  for (const std::string& line : trace) {
    if (line.starts_with("Error in ") || line.starts_with("[Error in ") || line.starts_with("Exception ")) {
      reports.push_back(line);
    }
  }
  return reports;
}

TEST_F(Foreign, EveryRaiseHasItsResultAndItsLine) {
  const struct {
    const char* what;
    ForeignKind kind;
    unsigned code;
    size_t column;
  } raises[] = {{"5", ForeignKind::kDword, 5, 0},
                {"0", ForeignKind::kDword, 0, 1},
                {"13", ForeignKind::kDword, 13, 2},
                {"an object", ForeignKind::kObject, 0, 3},
                {"5 once more", ForeignKind::kRethrownDword, 5, 0}};
  for (const Row& row : Rows()) {
    SCOPED_TRACE(testing::Message() << "point " << static_cast<int>(row.point) << ", call " << row.nth_call);
    const std::string healthy = Run(row.call);
    EXPECT_EQ(Reports(TakeTrace()), Lines{});
    for (const auto& [what, kind, code, column] : raises) {
      SCOPED_TRACE(what);
      Arm(row.point, kind, row.nth_call, code);
      const std::string said = Run(row.call);
      EXPECT_GE(script.calls, row.nth_call) << "nothing was raised";
      EXPECT_EQ(script.destroyed, column == 3 ? 1 : 0);
      script.point = kNone;

      std::string expected = row.said[row.said.size() == 1 ? 0 : column];
      if (expected.empty()) {
        expected = healthy;
      } else if (expected == "no strings") {
        expected = std::string(healthy).erase(healthy.find(kStrings), kStrings.size());
      }
      EXPECT_EQ(said, expected);
      Lines lines;
      if (column == 3 || row.label == kInIsPortConnected) {
        lines = row.line != nullptr ? Lines{row.line} : Lines{};
      } else if (code != 0 && row.label != nullptr) {
        lines = ErrorLine(code, row.label);
      }
      ExpectTrace(lines, Reports(TakeTrace()));
      EXPECT_EQ(Run(row.call), healthy) << "the next call";
      TakeTrace();
    }
  }
}

TEST_F(Foreign, AnswersAreRight) {
  const std::string items = Run(&Foreign::AskItems);
  for (const char* member : {R"("A": "1",)", R"("I1": "-1",)", R"("I2": "-2",)", R"("I4": "-3",)",
                             R"("UI1": "255",)", R"("UI2": "65535",)", R"("UI4": "4294967295",)"})
    EXPECT_NE(items.find(member), std::string::npos) << member << " in " << items;
  EXPECT_NE(items.find(kStrings), std::string::npos) << items;
  EXPECT_TRUE(items.ends_with(R"("CID": "Vexmo_1"})")) << items;
  EXPECT_EQ(Run(&Foreign::AskStatus), "TRUE " + StatusText(3, 0, 0));
  EXPECT_EQ(Run(&Foreign::AskPort), "TRUE 1");
  for (const Call call : {&Foreign::Save, &Foreign::IsPresent, &Foreign::Delete}) {
    EXPECT_EQ(Run(call), "TRUE");
  }
  EXPECT_EQ(Run(&Foreign::ReadCertificate), "read");
  EXPECT_EQ(Run(&Foreign::Verify), "TRUE matched");
}

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pointers) {
  constexpr UINT kReported = 77;
  ExitProcess(pointers->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION ? kReported : 1);
}

/// Run by the next test, in a process of its own.
TEST_F(Foreign, DISABLED_Crash) {
  SetUnhandledExceptionFilter(ReportCrash);
  Arm(kIsActive, ForeignKind::kAccessViolation);
  AskPort();
}

TEST_F(Foreign, CrashReachesTheHostsReporter) {
  const std::string command =
      ProgramPath().string() + " --gtest_also_run_disabled_tests --gtest_filter=Foreign.DISABLED_Crash";
  EXPECT_EQ(std::system(command.c_str()), 77);
}

}  // namespace
}  // namespace custom_bidi_test
