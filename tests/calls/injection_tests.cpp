// Every single thing that a call asks of the platform, and every allocation, fails once. Native tests: there
// the platform layer can be told to fail.

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "pal/test_hooks.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {

bool FailNthAllocation(int n);  // in failing_new.cpp

namespace {

namespace fs = std::filesystem;

/// The members of an answer, each as it stands there.
std::set<std::string> MembersOf(const std::string& answer) {
  std::set<std::string> members;
  for (size_t at = 1, end; at < answer.size(); at = end + 2) {
    end = std::min(answer.find("\",", at), answer.size() - 2);
    members.insert(answer.substr(at, end - at));
  }
  return members;
}

class Injection : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    WriteDataMap({"A", "Media", "Missing", "DeviceID"});
    printer["items"]["Media"] = "a4,letter";
    printer["locale"]["*"] = "\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"5\";";
    whole_ = MembersOf(*Bidi().text);
    ASSERT_EQ(whole_.size(), 7U);
    printer["certificate"]["warnings"] = "[2]"_json;
    printer.erase("log");  // a provider stays out when the way back is not found
    KeepInVault(Certificate("device"));
    SetTrace(true);
    WritePrinter();
  }

  /// Makes each call with its first, second, … acquisition failing, until nothing is left to fail; then it has
  /// to succeed.
  void RunAll(const std::function<void(int)>& arm, const std::function<bool()>& disarm);

  std::set<std::string> whole_;
};

void Injection::RunAll(const std::function<void(int)>& arm, const std::function<bool()>& disarm) {
  StraightCalls calls;
  CustomBidiLong status = 0;
  const auto reset = [&] {
    status = kUntouchedStatus;
    std::ranges::fill(calls.response, CustomBidiChar{});
  };
  Record content = {kUuid, Certificate("device"), {}};
  const Record whole = content;
  WString uuid = ToWide(kUuid);
  DeviceCertificate checked = {};
  DeviceCertificate* read = nullptr;
  const struct {
    const char* name;
    std::function<bool()> call;
    std::function<void(bool ok)> check;
  } rows[] = {
      {"GetBidiResponse", [&] { return calls.Bidi(); },
       [&](bool ok) {
         for (const std::string& member : ok ? MembersOf(calls.Response()) : std::set<std::string>()) {
           EXPECT_TRUE(whole_.contains(member)) << member;
         }
         EXPECT_EQ(calls.Response().find("\"CID\": \"Vexmo_1\"}") != std::string::npos, ok);
         reset();
       }},
      {"GetStatusData", [&] { return calls.Status(); },
       [&](bool ok) {
         const std::set<std::string> right = {kUnreadableStatus, StatusText(3, 0, 0), StatusText(0, 0, 0)};
         const std::string text = calls.Response();
         EXPECT_TRUE(ok ? right.contains(text) : text.empty() || text == "{}") << text;
         reset();
       }},
      {"GetPortStatus", [&] { return calls.Port(&status); },
       [&](bool ok) {
         EXPECT_TRUE(status == kUntouchedStatus || (ok && (status == 1 || status == 0))) << status;
         reset();
       }},
      {"IsPasswordPresent", [&] { return calls.IsPresent(); }, [](bool) {}},
      {"DeletePassword", [&] { return calls.Delete(); },
       [&](bool ok) {
         EXPECT_EQ(IsPresent(), !ok);
         Save(kPassword);
       }},
      // What looks saved is saved; a refusal may have come too late.
      {"SavePassword", [&] { return calls.Save("secret"); },
       [&](bool ok) {
         const bool is_there = Delete();
         EXPECT_TRUE(is_there || !ok);
       }},
      {"GetDeviceCertificate",
       [&] {
         read = calls.Read();
         return read != nullptr;
       },
       [&](bool ok) {
         if (ok) {
           EXPECT_EQ(std::string(read->certificate, read->certificate + read->certificate_length),
                     whole.certificate);
           EXPECT_EQ(Codes(read->warnings, read->warnings + read->warning_count), Codes{2});
           // Null when it could not be allocated.
           EXPECT_EQ(read->identifier != nullptr ? ToUtf8(read->identifier) : kUuid, kUuid);
           DeleteDeviceCertificate(read);
           CoTaskMemFree(read);
         }
       }},
      {"VerifyCertificateValidity", [&] { return calls.Check(&checked); },
       [&](bool ok) {
         const Codes warnings(checked.warnings, checked.warnings + checked.warning_count);
         EXPECT_TRUE(warnings == Codes{2} || (ok && warnings.empty())) << testing::PrintToString(warnings);
         content.warnings.assign(kWarningRoom, 2);
         checked = RawRecord(content, uuid);
         checked.warning_count = 1;
       }},
  };
  reset();
  Save(kPassword);
  rows[std::size(rows) - 1].check(true);
  for (const auto& [name, call, check] : rows) {
    SCOPED_TRACE(name);
    bool struck = true;
    for (int n = 1; struck; ++n) {
      SCOPED_TRACE(n);
      arm(n);
      const bool ok = call();
      struck = disarm();
      check(ok);
      ASSERT_EQ(LeftOpen(), "");
      ASSERT_LT(n, 20000) << "the call never came to its end";
      EXPECT_TRUE(struck || (ok && n > 10)) << "it failed by itself, or hardly anything was made to fail";
    }
  }
}

TEST_F(Injection, EachCallOfThePlatformFailsOnce) {
  RunAll(pal::FailNthCall, [] {
    const bool fired = pal::FaultFired();
    pal::ClearFaults();
    return fired;
  });
}

TEST_F(Injection, EachAllocationFailsOnce) {
  testing::internal::CaptureStderr();  // where the simulated printer says that it ran out of memory
  testing::internal::CaptureStdout();  // and the library that a read did
  RunAll([](int n) { FailNthAllocation(n); }, [] { return FailNthAllocation(0); });
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  const Lines trace = TakeTrace();
  EXPECT_EQ(std::ranges::count(trace, "[CertificateHandlingWrapper]:CertificateStore vault not created"), 1);
}

class OneFault : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
  }

  /// The lines of a call for the data map's items whose n-th use of the function fails.
  Lines TraceWithout(const char* function, int n, bool expected) {
    SCOPED_TRACE(std::string(function) + " " + std::to_string(n));
    pal::FailNthCallOf(function, n);
    EXPECT_EQ(Bidi().ok, expected);
    EXPECT_TRUE(pal::FaultFired());
    pal::ClearFaults();
    return TakeTrace();
  }
};

TEST_F(OneFault, ExecutableWithoutAPath) {
  ExpectTrace({">>>>>Custom Bidi :  Get Current file name fail!!!", kInitFailed},
              TraceWithout("GetModuleFileNameW", 1, false));
  const Lines lines = TraceWithout("GetModuleFileNameW", 2, false);
  EXPECT_EQ(std::ranges::count(lines, "IXO_DLL: [.//vexmoixo.dll]"), 1) << "the working folder is used";
}

TEST_F(OneFault, QueueWhosePortCannotBeReadIsKnownByItsName) {
  for (const auto& [function, n] :
       {std::pair{"OpenPrinterW", 1}, {"GetPrinterW", 1}, {"GetPrinterW", 2}, {"GlobalAlloc", 1}}) {
    ExpectTrace(BidiCall(kQueue, "", 1), TraceWithout(function, n, true));
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

TEST_F(OneFault, LanguageThatCannotBeHadIsTheEmptyText) {
  printer["locale"][""] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21=5";
  WriteDataMap({});
  TraceWithout("GetLocaleInfoW", 1, true);
}

// What a failed reading left unwritten must never count as a match.
TEST_F(OneFault, ThumbprintThatCannotBeReadMatchesNothing) {
  KeepInVault(Certificate("device"));
  const Lines end = {"Exception occured - Failed to generate certificate thumbprint information\n\n"};
  for (int n = 1; n <= 4; ++n) {
    SCOPED_TRACE(n);
    pal::FailNthCallOf("CertGetCertificateContextProperty", n);
    EXPECT_EQ(Check({kUuid, Certificate("device"), {2}}), (CheckAnswer{false, {2}}));
    EXPECT_TRUE(pal::FaultFired());
    pal::ClearFaults();
    const Lines lines = TakeTrace();
    EXPECT_EQ(std::ranges::count(lines, end.front()), 1);
    EXPECT_EQ(std::ranges::count(lines, Wrapper({"Certificate Match operation failed"}).front()), 1);
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
  EXPECT_EQ(std::ranges::count(lines, ErrorLine(ERROR_INVALID_DATA, "Error in Run").front()), 1);
  fs::rename(vault.string() + ".whole", vault);
}

}  // namespace
}  // namespace custom_bidi_test
