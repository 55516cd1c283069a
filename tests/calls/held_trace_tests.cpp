// Lines that a call writes before it starts its own trace, or after it has closed the file, reach the file
// only while another call has it open. These tests hold it open through the library's own parts, so they are
// native ones.

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
  const WString name = ToWide("name");
  const CustomBidiChar empty[] = {0};
  const Lines no_queue = kBorn + Lines{">>>> Custom Bidi : Invalid Printer Name"} + kGone;
  const Lines no_user = kBorn + Lines{">>>> Custom Bidi : User is empty"} + kGone;
  const Lines no_target = kBorn + Lines{">>>> Custom Bidi : Target Name is empty"} + kGone;
  CustomBidiChar response[128];

  ExpectTrace(no_queue, Around([&] { GetBidiResponse(response, empty, name.c_str(), nullptr, 0); }));
  ExpectTrace(no_queue, Around([&] { GetPortStatus(nullptr, nullptr); }));
  ExpectTrace(kBorn + Lines{">>>> Custom Bidi : Invalid Address"} + kGone,
              Around([&] { GetStatusData(empty, response); }));
  ExpectTrace(no_user, Around([&] { SavePassword(nullptr, 0, nullptr, empty, empty); }));
  ExpectTrace(no_target, Around([&] { DeletePassword(name.c_str(), empty, nullptr); }));
  ExpectTrace(no_queue, Around([&] { IsPasswordPresent(name.c_str(), name.c_str(), empty); }));
  ExpectTrace(no_queue, Around([&] { GetDeviceCertificate(nullptr, nullptr, 0); }));
  ExpectTrace(no_queue, Around([&] { VerifyCertificateValidity(name.c_str(), empty, 0, nullptr); }));
  ExpectTrace({"[DeviceCertificate]:Destroyed"}, Around([] { DeleteDeviceCertificate(nullptr); }));
  DeviceCertificate record = {};
  ExpectTrace({"[DeviceCertificate]:Destroyed"}, Around([&] { DeleteDeviceCertificate(&record); }));
}

TEST_F(HeldTrace, WholeCall) {
  const Lines call =
      BidiInitialisation(kQueue, kAddress) + Lines{">>>>>Custom Bidi :  LoadIPPResponse success!!!"};
  const WString queue = ToWide(kQueue);
  const WString item = ToWide("A");
  const CustomBidiChar* const names[] = {item.c_str()};
  const CustomBidiChar empty[] = {0};
  CustomBidiChar response[128];
  ExpectTrace(kBorn + call + kGone,
              Around([&] { GetBidiResponse(response, queue.c_str(), nullptr, names, 1); }));
  ExpectTrace(kBorn + call + kGone,
              Around([&] { GetBidiResponse(response, queue.c_str(), empty, names, 1); }));
  ExpectTrace(kBorn + Lines{">>>> Custom Bidi : Default CID present"} + call + kGone,
              Around([&] { GetBidiResponse(response, queue.c_str(), item.c_str(), names, 1); }));
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

}  // namespace
}  // namespace custom_bidi_test
