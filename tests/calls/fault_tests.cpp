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

}  // namespace
}  // namespace custom_bidi_test
