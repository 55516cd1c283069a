// Lines that a call writes before it starts its own trace, or after it has closed the file, reach the file
// only while another call has it open. These tests hold it open through the library's own parts, so they are
// native ones.

#include "src/security/certificate_wrapper.h"
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
  CustomBidiChar response[128];
  DeviceCertificate record = {};
  const auto expect = [this](const std::string& line, const auto& call) {
    ExpectTrace(kBorn + Lines{">>>> Custom Bidi : " + line} + kGone, Around(call));
  };

  expect("Invalid Printer Name", [&] { GetBidiResponse(response, empty, name.c_str(), nullptr, 0); });
  expect("Invalid Printer Name", [&] { GetPortStatus(nullptr, nullptr); });
  expect("Invalid Address", [&] { GetStatusData(empty, response); });
  expect("User is empty", [&] { SavePassword(nullptr, 0, nullptr, empty, empty); });
  expect("Target Name is empty", [&] { DeletePassword(name.c_str(), empty, nullptr); });
  expect("Invalid Printer Name", [&] { IsPasswordPresent(name.c_str(), name.c_str(), empty); });
  expect("Invalid Printer Name", [&] { GetDeviceCertificate(nullptr, nullptr, 0); });
  expect("Invalid Printer Name", [&] { VerifyCertificateValidity(name.c_str(), empty, 0, nullptr); });
  ExpectTrace({"[DeviceCertificate]:Destroyed"}, Around([] { DeleteDeviceCertificate(nullptr); }));
  ExpectTrace({"[DeviceCertificate]:Destroyed"}, Around([&] { DeleteDeviceCertificate(&record); }));
}

TEST_F(HeldTrace, WholeCall) {
  const Lines call = BidiInitialisation(kQueue, kAddress) + Lines{kLoadSucceeded};
  const WString queue = ToWide(kQueue);
  const WString item = ToWide("A");
  const CustomBidiChar* const names[] = {item.c_str()};
  const CustomBidiChar empty[] = {0};
  CustomBidiChar response[128];
  for (const CustomBidiChar* none : {static_cast<const CustomBidiChar*>(nullptr), empty}) {
    ExpectTrace(kBorn + call + kGone,
                Around([&] { GetBidiResponse(response, queue.c_str(), none, names, 1); }));
  }
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

// A check asks for the vault only when it has both; this holds for whoever else makes one.
TEST_F(HeldTrace, VaultIsNamedForAUserAndAPrinterTogether) {
  const auto lines_for = [this](const WCHAR* uuid, const WCHAR* user) {
    return Around([&] {
      const HMODULE library = LoadLibraryW(ToWide(HostFolder::Text("\\vexmobixocert.dll")).c_str());
      { const custom_bidi::CertStoreVault vault(library, uuid, user, W("NQDRV4")); }
      FreeLibrary(library);
    });
  };
  const std::string begin = "[CertStoreVault]:Contructed";
  const std::string user_named = "[IxoWrapper]:USER Name Created";
  const std::string end = "[CertStoreVault]:Destroyed";
  ExpectTrace({begin, "[IxoWrapper]:Target Name Created", user_named, end}, lines_for(W("uuid"), W("user")));
  ExpectTrace({begin, user_named, end}, lines_for(W(""), W("user")));
  ExpectTrace({begin, end}, lines_for(W("uuid"), W("")));
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
