// What single faults of the platform lead to, beyond what is so for each of them (tests/sweep). Native tests:
// there the platform layer can be told to fail.

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "pal/test_hooks.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

class OneFault : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
  }

  /// The lines of a call whose n-th use of the function fails: one for the data map's items, or a check.
  Lines TraceWithout(const char* function, int n, bool expected, bool is_check = false) {
    SCOPED_TRACE(std::string(function) + " " + std::to_string(n));
    pal::FailNthCallOf(function, n);
    EXPECT_EQ(is_check ? Check({kUuid, Certificate("device"), {2}}).first : Bidi().ok, expected);
    EXPECT_TRUE(pal::FaultFired());
    pal::ClearFaults();
    return TakeTrace();
  }

  StraightCalls calls_;
};

TEST_F(OneFault, ExecutableWithoutAPath) {
  ExpectTrace({">>>>>Custom Bidi :  Get Current file name fail!!!", kInitFailed},
              TraceWithout("GetModuleFileNameW", 1, false));
  // The working folder is named, but nothing is loaded from it.
  const Lines lines = TraceWithout("GetModuleFileNameW", 2, false);
  From(lines, "IXO_DLL: [.//vexmoixo.dll]");
  From(lines, ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO DLL").front());
}

TEST_F(OneFault, QueueWhosePortCannotBeReadIsKnownByItsName) {
  for (const auto& [function, n] :
       {std::pair{"OpenPrinterW", 1}, {"GetPrinterW", 1}, {"GetPrinterW", 2}, {"GlobalAlloc", 1}}) {
    ExpectTrace(BidiCall(kQueue, "", 1), TraceWithout(function, n, true));
    pal::FailNthCallOf(function, n);
    EXPECT_EQ(Port(), (PortAnswer{false, kUntouchedStatus})) << "nobody knows what is behind it";
    pal::ClearFaults();
    From(TakeTrace(), ">>>>>Custom Bidi :  GetPortInformationFromIXO fail!!!");
  }
}

TEST_F(OneFault, ProcessorThatIsNotNamedHasNoLibraries) {
  pal::FailNthCallOf("GetEnvironmentVariableW", 1);
  EXPECT_EQ(Status(), kRefused);
  pal::ClearFaults();
  ExpectTraced({"Load IXO / XDM / IXO Cert Libraries!", ">> IxoWrapper: Invalid DLL Name",
                ">>>>>Custom Bidi :  Init IO fail!!!",
                ">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!"});
}

TEST_F(OneFault, TraceFileThatTakesNothingMissesALine) {
  const Lines whole = BidiCall(kQueue, kAddress, 1);
  ExpectTrace(whole, TraceWithout("GetFileSizeEx", 1, true));
  ExpectTrace({whole.begin() + 1, whole.end()}, TraceWithout("WriteFile", 1, true));
}

// Pipes, devices and files without an end in the place of each file that a call reads or writes.
TEST_F(OneFault, FilesThatNeverEndAreNotRead) {
  const fs::path home = std::getenv("CUSTOMBIDI_HOME");
  WriteConfiguration("");
  WritePrinter();
  const std::tuple<fs::path, bool, PortAnswer> rows[] = {
      {HostFolder::Path() / HostFolder::ConfigurationName(), false, {false, kUntouchedStatus}},
      {HostFolder::Path() / "vexmoixodatamap.xml", false, {true, 1}},
      {HostFolder::Path() / "printer.json", false, {true, 0}},
      {home / "registry.reg", true, {false, kUntouchedStatus}},
      {TraceFile(), true, {true, 1}}};
  for (const auto& [path, bidi, port] : rows) {
    const fs::path aside = path.string() + ".aside";
    const bool was_there = fs::exists(path);
    if (was_there) {
      fs::rename(path, aside);
    }
    for (const char* kind : {"pipe", "/dev/zero", "too large"}) {
      if (kind == std::string("pipe")) {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
      } else if (*kind == '/') {
        fs::create_symlink(kind, path);
      } else {
        std::ofstream(path).put(' ');
        fs::resize_file(path, 17 << 20);
      }
      CustomBidiLong status = kUntouchedStatus;
      testing::internal::CaptureStderr();  // where the simulated printer says what is wrong with its file
      const bool is_answered = calls_.Bidi();
      const bool is_trace = path == TraceFile();
      EXPECT_EQ(is_answered, bidi) << path << kind;
      const PortAnswer answer{calls_.Port(&status), status};
      EXPECT_EQ(answer, port) << path << kind << is_trace;
      testing::internal::GetCapturedStderr();
      fs::remove(path);
    }
    if (was_there) {
      fs::rename(aside, path);
    }
  }
}

TEST_F(OneFault, DataMapThatCannotBeAskedHasNoItems) {
  const Lines whole = BidiCall(kQueue, kAddress, 1);
  const std::string prefix = "ERROR: CIXML::SavePathedNodeListToMap  failed to get ";
  const std::string counted = "CIXML::SavePathedNodeListToMap - current";
  for (const auto& [function, until, failed] :
       {std::tuple{"IXMLDOMNode::selectNodes", counted, "node list"},
        {"IXMLDOMNodeList::get_length", counted, "nodes count"},
        {"IXMLDOMNodeList::get_item", "CCIXML::GetPathedNodeListAsArray >> Leave", "pCurElement"}}) {
    ExpectTrace(Before(whole, until) +
                    Lines{prefix + failed, "CCIXML::GetPathedNodeListAsArray >> Leave", kLoadFailed},
                TraceWithout(function, 1, false));
  }
}

TEST_F(OneFault, StringsThatNobodyCanBeAskedForAreNoEntries) {
  printer["locale"]["*"] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21=5";
  int without = 0;
  for (int n = 1; n <= 4; ++n) {
    pal::FailNthCallOf("GetProcAddress", n);
    without += Items({"A", "CustomPQ"}) == Yes(BidiText({{"A", "1"}}, ""));
    EXPECT_TRUE(pal::FaultFired());
    pal::ClearFaults();
  }
  EXPECT_EQ(without, 1);
}

TEST_F(OneFault, LanguageThatCannotBeHadIsTheEmptyText) {
  printer["locale"][""] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21=5";
  WriteDataMap({});
  TraceWithout("GetLocaleInfoW", 1, true);
}

// What a failed reading left unwritten must never count as a match.
TEST_F(OneFault, ThumbprintThatCannotBeReadMatchesNothing) {
  KeepInVault(Certificate("device"));
  for (int n = 1; n <= 4; ++n) {
    const Lines lines = TraceWithout("CertGetCertificateContextProperty", n, false, true);
    From(lines, "Exception occured - Failed to generate certificate thumbprint information\n\n");
    From(lines, "[CertificateHandlingWrapper]:Certificate Match operation failed");
  }
}

// It is neither taken for an empty one nor for one that has the entry.
TEST_F(OneFault, VaultThatCannotBeRead) {
  KeepInVault(Certificate("device"));
  const fs::path vault = fs::path(std::getenv("CUSTOMBIDI_HOME")) / "vault" / "vault";
  fs::rename(vault, vault.string() + ".whole");
  std::ofstream(vault) << "damaged";
  fs::permissions(vault, fs::perms(0600));
  EXPECT_FALSE(IsPresent({kUser, kCertificateTarget}));
  EXPECT_FALSE(Delete({kUser, kCertificateTarget}));
  EXPECT_EQ(Check({kUuid, Certificate("device"), {2}}), (CheckAnswer{false, {2}}));
  const Lines lines = TakeTrace();
  EXPECT_EQ(std::ranges::count(lines, kTargetNotPresent) + std::ranges::count(lines, kTargetPresent), 0);
  From(lines, ErrorLine(ERROR_INVALID_DATA, "Error in Run").front());
  fs::rename(vault.string() + ".whole", vault);
}

}  // namespace
}  // namespace custom_bidi_test
