// Every single thing that a call asks of the platform, and every allocation, fails once. Native tests: there
// the platform layer can be told to fail, and the program's operator new is also that of the device
// libraries.

#include "pal/test_hooks.h"
#include "tests/calls/failing_new.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr int kNeverSoMany = 20000;

class Faults : public CallTest {
 protected:
  struct Injector {
    const char* name;
    void (*arm)(int n);
    /// Calls it off; whether it struck.
    bool (*disarm)();
  };

  static constexpr Injector kPlatform = {"call of the platform", pal::FailNthCall, [] {
                                           const bool fired = pal::FaultFired();
                                           pal::ClearFaults();
                                           return fired;
                                         }};
  static constexpr Injector kMemory = {"allocation", [](int n) { FailNthAllocation(n); },
                                       [] { return FailNthAllocation(0); }};

  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    WriteDataMap({"A", "Media", "Missing", "DeviceID"});
    printer["items"]["Media"] = "a4,letter";
    printer["locale"] = {{"*", "\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"5\";"}};
    WritePrinter();
  }

  /// Runs the call with its first, second, … acquisition failing, until nothing is left to fail. `check` gets
  /// what was written, which holds nothing when the call refused.
  void FailEach(const Injector& injector,
                const std::function<CustomBidiBool(CustomBidiChar*)>& call,
                const std::function<void(bool ok, const std::string& text)>& check) {
    std::vector<CustomBidiChar> buffer(4096);
    for (int n = 1; n < kNeverSoMany; ++n) {
      SCOPED_TRACE(std::string(injector.name) + " " + std::to_string(n));
      std::ranges::fill(buffer, CustomBidiChar{});
      injector.arm(n);
      const CustomBidiBool ok = call(buffer.data());
      const bool struck = injector.disarm();
      ASSERT_EQ(LeftOpen(), "");
      check(ok != 0, ToUtf8(buffer.data()));
      if (!struck) {
        EXPECT_EQ(ok, 1);
        EXPECT_GT(n, 10) << "hardly anything was made to fail";
        return;
      }
    }
    ADD_FAILURE() << "the call never came to its end";
  }

  void RunAll(const Injector& injector);
};

void Faults::RunAll(const Injector& injector) {
  const WString queue = ToWide(kQueue);
  const WString address = ToWide(kAddress);
  const Json whole = Json::parse(*Bidi().text);
  ASSERT_EQ(whole.size(), 7U);
  FailEach(
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
  FailEach(
      injector, [&](CustomBidiChar* response) { return GetStatusData(address.c_str(), response); },
      [](bool ok, const std::string& text) {
        const bool allowed =
            ok ? text == kUnreadableStatus || text == StatusText(3, 0, 0) || text == StatusText(0, 0, 0)
               : text.empty() || text == "{}";
        EXPECT_TRUE(allowed) << text;
      });
  CustomBidiLong status = kUntouchedStatus;
  FailEach(
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

}  // namespace
}  // namespace custom_bidi_test
