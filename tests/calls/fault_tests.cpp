// The three queries with every single acquisition failing once. Native tests: the injectors are.

#include "tests/calls/fault_injection.h"

namespace custom_bidi_test {
namespace {

class Faults : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    WriteDataMap({"A", "Media", "Missing", "DeviceID"});
    printer["items"]["Media"] = "a4,letter";
    printer["locale"] = {{"*", "\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"5\";"}};
    WritePrinter();
  }

  /// `check` gets what was written, which holds nothing when the call refused.
  void FailEachQuery(const Injector& injector,
                     const std::function<CustomBidiBool(CustomBidiChar*)>& call,
                     const std::function<void(bool ok, const std::string& text)>& check) {
    std::vector<CustomBidiChar> buffer(4096);
    FailEach(
        injector,
        [&] {
          std::ranges::fill(buffer, CustomBidiChar{});
          return call(buffer.data()) != 0;
        },
        [&](bool ok) { check(ok, ToUtf8(buffer.data())); });
  }

  void RunAll(const Injector& injector);
};

void Faults::RunAll(const Injector& injector) {
  const WString queue = ToWide(kQueue);
  const WString address = ToWide(kAddress);
  const Json whole = Json::parse(*Bidi().text);
  ASSERT_EQ(whole.size(), 7U);
  FailEachQuery(
      injector,
      [&](CustomBidiChar* response) { return GetBidiResponse(response, queue.c_str(), nullptr, nullptr, 0); },
      [&](bool ok, const std::string& text) {
        if (!ok) {
          EXPECT_EQ(text, "");
          return;
        }
        const Json answer = Json::parse(text);
        EXPECT_TRUE(answer.contains("CID"));
        for (const auto& [name, value] : answer.items())
          EXPECT_EQ(value, whole.value(name, Json())) << name;
      });
  FailEachQuery(
      injector, [&](CustomBidiChar* response) { return GetStatusData(address.c_str(), response); },
      [](bool ok, const std::string& text) {
        const bool allowed =
            ok ? text == kUnreadableStatus || text == StatusText(3, 0, 0) || text == StatusText(0, 0, 0)
               : text.empty() || text == "{}";
        EXPECT_TRUE(allowed) << text;
      });
  CustomBidiLong status = kUntouchedStatus;
  FailEachQuery(
      injector,
      [&](CustomBidiChar*) {
        status = kUntouchedStatus;
        return GetPortStatus(queue.c_str(), &status);
      },
      [&](bool ok, const std::string&) {
        if (!ok)
          EXPECT_EQ(status, kUntouchedStatus);
        else
          EXPECT_TRUE(status == 1 || status == 0 || status == kUntouchedStatus) << status;
      });
}

TEST_F(Faults, EachCallOfThePlatformFailsOnce) {
  RunAll(kPlatform);
}

TEST_F(Faults, EachAllocationFailsOnce) {
  testing::internal::CaptureStderr();  // where the simulated printer says that it ran out of memory
  testing::internal::CaptureStdout();  // and the library that a read did
  RunAll(kMemory);
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
}

constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapper Initialization failed!!";
constexpr char kLoadSucceeded[] = ">>>>>Custom Bidi :  LoadIPPResponse success!!!";
constexpr char kLoadFailed[] = ">>>>>Custom Bidi :  LoadIPPResponse fail!!!";
constexpr char kNodeList[] = "CCIXML::GetPathedNodeListAsArray";

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
  const Lines expected = BidiInitialisation(kQueue, "") + DataMapLoading(1) + Lines{kLoadSucceeded};
  ExpectTrace(expected, TraceWithout("OpenPrinterW", 1, true));
  ExpectTrace(expected, TraceWithout("GetPrinterW", 1, true));
  ExpectTrace(expected, TraceWithout("GetPrinterW", 2, true));
  ExpectTrace(expected, TraceWithout("GlobalAlloc", 1, true));
}

TEST_F(OneFault, DomClassesAreTriedInTurn) {
  Lines expected = BidiInitialisation(kQueue, kAddress) + DataMapLoading(1) + Lines{kLoadSucceeded};
  expected.insert(expected.begin() + 1, "Failed to CoCreateInstance DOMDocument60");
  ExpectTrace(expected, TraceWithout("CoCreateInstance", 1, true));
}

TEST_F(OneFault, DataMapThatCannotBeAskedHasNoItems) {
  const Lines before = BidiInitialisation(kQueue, kAddress) + UpTo(DataMapLoading(1), "CIXML::");
  const Lines list = Method("CCIXML::GetPathedNodeList",
                            Method("CCIXML::GetRootNode") + Method("CCIXML::GetPathedNodeList"));
  const Lines after = {std::string(kNodeList) + " >> Leave", kLoadFailed};
  ExpectTrace(before + list + Lines{"ERROR: CIXML::SavePathedNodeListToMap  failed to get node list"} + after,
              TraceWithout("IXMLDOMNode::selectNodes", 1, false));
  ExpectTrace(
      before + list + Lines{"ERROR: CIXML::SavePathedNodeListToMap  failed to get nodes count"} + after,
      TraceWithout("IXMLDOMNodeList::get_length", 1, false));
  ExpectTrace(before + list +
                  Lines{"CIXML::SavePathedNodeListToMap - current nodes count = 1",
                        "ERROR: CIXML::SavePathedNodeListToMap  failed to get pCurElement"} +
                  after,
              TraceWithout("IXMLDOMNodeList::get_item", 1, false));
}

TEST_F(OneFault, LanguageThatCannotBeHadIsTheEmptyText) {
  printer["locale"] = {{"", "vexmo-print-quality-supported.com.vexmo.pq-mode.21=5"}};
  WriteDataMap({});
  TraceWithout("GetLocaleInfoW", 1, true);
}

}  // namespace
}  // namespace custom_bidi_test
