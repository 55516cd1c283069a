// Lines that a call writes before it starts its own trace, or after it has closed the file, reach the file
// only while another call has it open. These tests hold it open through the library's own parts, so they are
// native ones; and two processes write to it.

#include <cstdlib>

#include "src/trace/trace_log.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

const Lines kBorn = Method("CCIXML::CCIXML") + Method("CCIXML::CCIXML");
const Lines kGone = Method("CCIXML::~CCIXML") + Method("CCIXML::~CCIXML");

class HeldTrace : public CallTest {
 protected:
  /// The lines of a call while another one has the file open.
  template <class Call>
  Lines Around(Call call) {
    WritePrinter();
    {
      const custom_bidi::TraceShare other_call;
      SetTrace(true);
      custom_bidi::StartTraceForQueue(ToWide(kQueue).c_str());
      call();
    }
    EXPECT_EQ(LeftOpen(), "");
    return TakeTrace();
  }
};

TEST_F(HeldTrace, MissingArguments) {
  const CustomBidiChar* const name = W("CustomBidi call test");
  CustomBidiChar response[128] = {'?'};
  CustomBidiLong status = kUntouchedStatus;
  DeviceCertificate record = {};
  for (const CustomBidiChar* none : {static_cast<const CustomBidiChar*>(nullptr), W("")}) {
    const std::pair<const char*, std::function<bool()>> rows[] = {
        {"Invalid Printer Name", [&] { return GetBidiResponse(response, none, name, nullptr, 0) != 0; }},
        {"Invalid Printer Name", [&] { return GetPortStatus(none, &status) != 0; }},
        {"Invalid Address", [&] { return GetStatusData(none, response) != 0; }},
        {"User is empty", [&] { return SavePassword(nullptr, 0, none, name, name) != 0; }},
        {"Target Name is empty", [&] { return DeletePassword(name, none, name) != 0; }},
        {"Invalid Printer Name", [&] { return IsPasswordPresent(name, name, none) != 0; }},
        {"Invalid Printer Name", [&] { return GetDeviceCertificate(name, none, 1) != nullptr; }},
        {"Invalid Printer Name", [&] { return VerifyCertificateValidity(name, none, 1, &record) != 0; }},
    };
    for (const auto& [line, call] : rows) {
      ExpectTrace(kBorn + Lines{std::string(">>>> Custom Bidi : ") + line} + kGone,
                  Around([&] { EXPECT_FALSE(call()); }));
    }
  }
  EXPECT_TRUE(response[0] == '?' && status == kUntouchedStatus);
  for (DeviceCertificate* each : {static_cast<DeviceCertificate*>(nullptr), &record}) {
    ExpectTrace({"[DeviceCertificate]:Destroyed"}, Around([&] { DeleteDeviceCertificate(each); }));
  }
  EXPECT_FALSE(GetBidiResponse(nullptr, name, nullptr, nullptr, 0));
  EXPECT_FALSE(GetStatusData(W("192.0.2.10"), nullptr));
  EXPECT_TRUE(GetPortStatus(name, nullptr));
}

TEST_F(HeldTrace, WholeCall) {
  const CustomBidiChar* const names[] = {W("A")};
  CustomBidiChar response[128];
  ExpectTrace(kBorn + Lines{">>>> Custom Bidi : Default CID present"} + BidiInitialisation(kQueue, kAddress) +
                  Lines{kLoadSucceeded} + kGone,
              Around([&] { GetBidiResponse(response, ToWide(kQueue).c_str(), W("given"), names, 1); }));
}

TEST_F(HeldTrace, SwitchWithoutAValueIsToldWhileAnEarlierOneIsOn) {
  const std::string silent = "CustomBidi silent queue";
  SetDriverValue(silent, "Other", RegistryBytes::Dword(1));
  ExpectTrace(kBorn + Lines{"Query value fail!! [DebugTraceEnable]"},
              Around([&] { GetPortStatus(ToWide(silent).c_str(), nullptr); }));
  RemoveQueueKey(silent);
}

// Windows keeps no queue with a name as long as these.
TEST_F(HeldTrace, QueueNameTooLongForItsRegistryKey) {
  for (const auto& [length, traced] : {std::pair{957, true}, std::pair{958, false}}) {
    const std::string queue(static_cast<size_t>(length), 'q');
    SetSwitch(queue, RegistryBytes::Dword(1));
    EXPECT_EQ(Port(queue), (PortAnswer{true, 0}));
    EXPECT_EQ(TakeTrace().empty(), !traced) << length;
  }
}

constexpr int kRounds = 40;

/// Run by the next test, in processes of their own, with what it has set up.
TEST(AnotherProcess, DISABLED_ManyCalls) {
  StraightCalls calls;
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_TRUE(calls.Bidi());
  }
}

// Wine finds the end and writes there in two steps, so this is no test of Windows.
TEST_F(HeldTrace, TwoProcessesLoseNoLine) {
  SetTrace(true);
  WritePrinter();
  const std::string command = '"' + ProgramPath().string() +
                              "\" --gtest_brief=1 --gtest_output= --gtest_also_run_disabled_tests "
                              "--gtest_filter=*.DISABLED_ManyCalls";
  OnThreads(2, [&](int) { EXPECT_EQ(std::system(command.c_str()), 0); });
  const Lines lines = TakeTrace();  // which looks at each line's form
  EXPECT_EQ(lines.size(), BidiCall(kQueue, kAddress, 1).size() * 2 * kRounds);
}

}  // namespace
}  // namespace custom_bidi_test
