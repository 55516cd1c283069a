// Device libraries made by Microsoft's compiler, as the real ones are: what they answer, and what becomes of
// all that they may raise.

#include "tests/foreign/foreign_script.h"

#include "src/deviceio/ixo_wrapper.h"
#include "src/trace/trace_log.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

ForeignScript script;

extern "C" __declspec(dllexport) ForeignScript* TheForeignScript() {
  return &script;
}

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
    wrapper.LoadIxoLibrary(ToWide(HostFolder::Text("\\vexmoixo.dll")).c_str());
    return wrapper.GetAddress(W("printer"), custom_bidi::AddressKind::kHostName) ? "made" : "none";
  }
  std::string Save() { return Said(calls_.Save("psw")); }
  std::string IsPresent() { return Said(calls_.IsPresent()); }
  std::string Delete() { return Said(calls_.Delete()); }
  std::string ReadCertificate() {
    const std::optional<Record> record = CallTest::Read(kFullCheck, "user");
    return !record ? "none" : *record == Record{kUuid, certificate_, {kWarning}} ? "read" : "something else";
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
    script = {.certificate = reinterpret_cast<const unsigned char*>(certificate_.data()),
              .certificate_bytes = static_cast<unsigned>(certificate_.size())};
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
    EXPECT_EQ(script.alive, 0) << "a frame not unwound, or an object or provider not gone once";
    EXPECT_EQ(script.wrong, 0) << "an argument is not as the contract has it";
    return said;
  }

 private:
  static std::string Said(bool ok) { return ok ? "TRUE" : "FALSE"; }
  static std::string Shown(const Answer& answer) { return Said(answer.ok) + " " + answer.text.value_or("-"); }

  const StraightCalls calls_{"user", "target"};
  std::string certificate_ = Certificate("device");
};

const std::string kStrings = R"("vexmo-print-quality-supported.com.vexmo.pq-mode.21": "1",)";

struct Row {
  const char* point;
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
  const Lines refused = {"FALSE -"};
  const Lines none = {"none"};
  const Lines unreadable = {"TRUE " + std::string(kUnreadableStatus)};
  const Lines secure = {"FALSE", "TRUE", "FALSE", "TRUE"};
  const Lines usual = {""};
  // A raised 13 is the code of a printer that cannot be read.
  const Lines third_oid = {"FALSE {}", "", unreadable[0], ""};
  return {
      {"CreateAddressFromQueueName", &F::AskItemsOfNobody, refused, nullptr, kGetAddress},
      {"CreateAddressFromPortName", &F::AskItems, refused, nullptr, kGetAddress},
      {"CreateAddressFromPortName", &F::AskPort, {"TRUE 0"}, nullptr, kGetAddress},
      {"CreateAddressFromPortName", &F::AskPort, {"TRUE -"}, kInIsPortConnected, kInIsPortConnected, 2},
      {"CreateAddressFromIPAddress", &F::AskStatus, refused, nullptr, kGetAddress},
      {"CreateAddressFromHostName", &F::AskHostName, none, nullptr, kGetAddress},
      {"GetAddressString", &F::AskItems, {"FALSE -", "FALSE -", "FALSE -", ""}, nullptr, kGetAddress},
      {"IsActive", &F::AskPort, {"TRUE -"}, kInIsPortConnected, kInIsPortConnected},
      {"CreateDataCollectionFromFile", &F::AskItems, refused, nullptr, "Error in IxoWrapper::BiDiData!!"},
      {"GetItem", &F::AskOneItem, refused, nullptr, "Error in IxoWrapper::GetData!!"},
      {"GetDeviceLocaleStrings", &F::AskItems, {"no strings"}, nullptr, kGetCustomPq},
      {"DisposeStringBuffer", &F::AskItems, usual, nullptr, kGetCustomPq},
      {"CreateOIDProvider", &F::AskStatus, unreadable},
      {"GetOid", &F::AskStatus, unreadable},
      {"GetOid", &F::AskStatus, unreadable, nullptr, nullptr, 2},
      {"GetOid", &F::AskStatus, third_oid, "Error in InitIOWrapper", "Error in CCustomBiDi::GetStatusData",
       3},
      {"CreateVaultStoreProvider", &F::Save, secure, nullptr, kProcessPassword},
      {"DisposeVaultStoreProvider", &F::Save, usual},
      {"SetTargetName", &F::Save, secure, nullptr, kProcessPassword},
      {"SetUserName", &F::Save, secure, nullptr, kProcessPassword},
      {"SaveTarget", &F::Save, secure, nullptr, kProcessPassword},
      {"IsTargetPresent", &F::IsPresent, secure, nullptr, kProcessPassword},
      {"DeleteTarget", &F::Delete, secure, nullptr, kProcessPassword},
      {"CreateCertificateProvider", &F::ReadCertificate, none, kRun, kRead},
      {"DisposeCertificateProviderPtr", &F::ReadCertificate, usual},
      {"GetDeviceUUID", &F::ReadCertificate, none, kRun, kRead},
      {"GetCertificateAllSecurityWarnings", &F::ReadCertificate, none, kRun, kRead},
      {"GetDeviceCertificate", &F::ReadCertificate, none, kRun, kRead},
      {"GetLastErrorCode", &F::ReadCertificate, none, kRun, kRead},
      {"GetCertFromVault", &F::Verify, secure, kRun, kVerify},
      {"CheckCertificateDate", &F::Verify, secure, kRun, kVerify},
      {"CreateVaultStoreProvider", &F::Verify, secure, kRun, kVerify},
  };
}

/// The lines that speak of an exception.
Lines Reports(Lines trace) {
  std::erase_if(trace, [](const std::string& line) {
    return !line.starts_with("Error in ") && !line.starts_with("[Error in ") &&
           !line.starts_with("Exception ");
  });
  return trace;
}

TEST_F(Foreign, EveryRaiseHasItsResultAndItsLine) {
  const struct {
    ForeignKind kind;
    unsigned code;
    size_t column;
  } raises[] = {{ForeignKind::kDword, 5, 0},
                {ForeignKind::kDword, 0, 1},
                {ForeignKind::kDword, 13, 2},
                {ForeignKind::kObject, 0, 3},
                {ForeignKind::kRethrownDword, 5, 0}};
  for (const Row& row : Rows()) {
    const std::string healthy = Run(row.call);
    EXPECT_EQ(Reports(TakeTrace()), Lines{});
    for (const auto& [kind, code, column] : raises) {
      SCOPED_TRACE(testing::Message() << row.point << ", call " << row.nth_call << ", kind "
                                      << static_cast<int>(kind) << ", code " << code);
      script.point = row.point;
      script.nth_call = row.nth_call;
      script.kind = kind;
      script.code = code;
      const std::string said = Run(row.call);
      EXPECT_GE(std::exchange(script.calls, 0), row.nth_call) << "nothing was raised";
      script.point = nullptr;

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
  for (const std::string member :
       {R"("A": "1",)", R"("I1": "-1",)", R"("I2": "-2",)", R"("I4": "-3",)", R"("UI1": "255",)",
        R"("UI2": "65535",)", R"("UI4": "4294967295",)", kStrings.c_str(), R"("CID": "Vexmo_1"})"}) {
    EXPECT_NE(items.find(member), std::string::npos) << member << " in " << items;
  }
  const std::pair<Call, std::string> cases[] = {{&Foreign::AskStatus, "TRUE " + StatusText(3, 0, 0)},
                                                {&Foreign::AskPort, "TRUE 1"},
                                                {&Foreign::Save, "TRUE"},
                                                {&Foreign::IsPresent, "TRUE"},
                                                {&Foreign::Delete, "TRUE"},
                                                {&Foreign::ReadCertificate, "read"},
                                                {&Foreign::Verify, "TRUE matched"}};
  for (const auto& [call, said] : cases) {
    EXPECT_EQ(Run(call), said);
  }
}

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pointers) {
  constexpr UINT kReported = 77;
  ExitProcess(pointers->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION ? kReported : 1);
}

/// Run by the next test, in a process of its own.
TEST_F(Foreign, DISABLED_Crash) {
  SetUnhandledExceptionFilter(ReportCrash);
  script.point = "IsActive";
  script.kind = ForeignKind::kAccessViolation;
  AskPort();
}

TEST_F(Foreign, CrashReachesTheHostsReporter) {
  const std::string command =
      ProgramPath().string() +
      " --gtest_output= --gtest_also_run_disabled_tests --gtest_filter=*.DISABLED_Crash";
  EXPECT_EQ(std::system(command.c_str()), 77);
}

}  // namespace
}  // namespace custom_bidi_test
