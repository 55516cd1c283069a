// GetPortStatus, and which address is made of which queue.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kInitFailed[] = ">>>> Custom Bidi : InitIOWrapper Initialization failed!!";
constexpr char kPortFailed[] = ">>>>>Custom Bidi :  GetPortInformationFromIXO fail!!!";
constexpr char kNonPhysical[] = "Driver is connected to non-physical port(Local/LPT/Serial port";
constexpr char kOffline[] = "The connected IP is offline.Check the connectivity!!";
constexpr char kConnected[] = "Get Address from Port success and the connected IP is active";
constexpr char kNoAddressMaker[] = "Getting exported function point failed (CreateAddressFunctionFromxxxx)";

class PortStatus : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
  }

  void ExpectAnswer(const PortAnswer& answer, const Lines& lines) {
    EXPECT_EQ(Port(), answer);
    ExpectTrace(lines, TakeTrace());
  }
};

TEST_F(PortStatus, DeviceAnswersOrDoesNot) {
  ExpectAnswer({true, 1}, PortStatusOf(kAddress));
  const Lines made = UpTo(PortStatusOf(kAddress), "Get the printer address");
  printer["addresses"]["ports"]["*"]["active"] = false;
  ExpectAnswer({true, -1}, made + Lines{kOffline});
  printer["faults"] = {{"PrinterAddress.IsActive", {{"hresult", -7}}}};
  ExpectAnswer({true, 1}, made + Lines{kConnected});
}

TEST_F(PortStatus, NoAddress) {
  const Lines asked = UpTo(PortStatusOf(kAddress), "Get Address from [");
  const Lines failed = {"Get the printer address from the name [192.0.2.10] failed!!"};
  const struct {
    Json fault;
    Lines lines;
  } rows[] = {
      {"null", failed},
      {{{"raise", 5}}, {}},
      {{{"raise", 0}}, {}},
      {"throw", {"Error in IxoWrapper::GetAddress!!"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.fault);
    printer["faults"] = {{"CreateAddressFromPortName", row.fault}};
    ExpectAnswer({true, 0}, asked + row.lines + Lines{kNonPhysical});
  }
  printer["faults"] = Json::object();
  printer["addresses"]["ports"][kAddress] = nullptr;
  ExpectAnswer({true, 0}, asked + failed + Lines{kNonPhysical});
  host.Copy("vexmoixo-bare.dll", "vexmoixo.dll");
  ExpectAnswer({true, 0}, asked + ErrorLine(ERROR_PROC_NOT_FOUND, kNoAddressMaker) + Lines{kNonPhysical});
}

TEST_F(PortStatus, SecondAddressOrItsQuestionFails) {
  const Lines made = UpTo(PortStatusOf(kAddress), "Get the printer address");
  const Lines raised = {"Exception occured in IsPortConnected function"};
  const struct {
    const char* what;
    const char* operation;
    Json fault;
    Lines lines;
  } rows[] = {
      // The system's code is whatever the thread failed with last.
      {"null", "CreateAddressFromPortName", {{"null", true}, {"call", 2}}, {kAnything}},
      {"raised", "CreateAddressFromPortName", {{"raise", 5}, {"call", 2}}, raised},
      {"thrown", "CreateAddressFromPortName", {{"throw", true}, {"call", 2}}, raised},
      {"question raises", "PrinterAddress.IsActive", {{"raise", 5}}, raised},
      {"question raises 0", "PrinterAddress.IsActive", {{"raise", 0}}, raised},
      {"question throws", "PrinterAddress.IsActive", "throw", raised},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    printer["faults"] = {{row.operation, row.fault}};
    ExpectAnswer({true, kUntouchedStatus}, made + row.lines);
  }
}

TEST_F(PortStatus, QueueNameMissing) {
  EXPECT_EQ(Port(std::nullopt), (PortAnswer{false, kUntouchedStatus}));
  EXPECT_EQ(Port(""), (PortAnswer{false, kUntouchedStatus}));
  ExpectTrace({}, TakeTrace());
}

TEST_F(PortStatus, NullStatusIsNotWritten) {
  WritePrinter();
  for (const Json& address : {Json{{"active", true}}, Json{{"active", false}}, Json()}) {
    printer["addresses"]["ports"]["*"] = address;
    WritePrinter();
    EXPECT_EQ(GetPortStatus(ToWide(kQueue).c_str(), nullptr), 1);
  }
  EXPECT_EQ(GetPortStatus(nullptr, nullptr), 0);
}

TEST_F(PortStatus, LibraryDoesNotLoad) {
  host.Remove("vexmoixo.dll");
  ExpectAnswer({false, kUntouchedStatus}, UpTo(PortStatusOf(kAddress), "IXO_DLL: [") +
                                              ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO DLL") +
                                              Lines{kPortFailed, kInitFailed});
}

TEST_F(PortStatus, ConfigurationMissing) {
  host.Remove(HostFolder::ConfigurationName());
  const std::string path = HostFolder::Text("\\" + HostFolder::ConfigurationName());
  ExpectAnswer({false, kUntouchedStatus},
               Method("CCIXML::Load", {"[XML] Load " + path + " XML file Failed!!! <<" + kAnything + ">>"}) +
                   Lines{">>>>>Custom Bidi : Load Config XML fail!! [" + path + "]", kInitFailed});
}

TEST_F(PortStatus, OtherLibrariesAreNotNeeded) {
  host.Remove("vexmoixodm.dll");
  host.Remove("vexmobixocert.dll");
  host.Remove("vexmoixodatamap.xml");
  ExpectAnswer({true, 1}, PortStatusOf(kAddress));
}

TEST_F(PortStatus, QueueThatDoesNotExistHasNoPort) {
  const std::string unknown = "CustomBidi queue without a printer";
  SetSwitch(unknown, RegistryBytes::Dword(1));
  EXPECT_EQ(Port(unknown), (PortAnswer{true, 0}));
  ExpectTrace(UpTo(PortStatusOf(""), "Load IXO DLL Success") + Lines{kNonPhysical}, TakeTrace());
  // The items of such a queue come from an address by the queue's name.
  EXPECT_EQ(Bidi({.queue = unknown, .names = {{"A"}}}), Yes(BidiText({{"A", "1"}}, "")));
  ExpectTrace(BidiInitialisation(unknown, "") + Lines{">>>>>Custom Bidi :  LoadIPPResponse success!!!"},
              TakeTrace());
}

TEST_F(PortStatus, QueueNameIsCutAt1023Characters) {
  EXPECT_EQ(Port(std::string(2000, 'q')), (PortAnswer{true, 0}));
}

TEST_F(PortStatus, PortNamesAsTheSpoolerGivesThem) {
  const struct {
    const char* queue;
    std::string port;
    std::string known_as;
  } rows[] = {
      {"CustomBidi LPT test", "LPT1:", "LPT1:"},
      {"CustomBidi port with blanks", "IP 192.0.2.10 \xC3\xBC", "IP 192.0.2.10 \xC3\xBC"},
      {"CustomBidi long port", std::string(300, 'p'), std::string(255, 'p')},
  };
  for (const auto& row : rows) {
    AddQueue(row.queue, row.port);
    printer["addresses"]["ports"] = {{row.known_as, {{"text", kAddress}}}};
    EXPECT_EQ(Port(row.queue), (PortAnswer{true, 1})) << row.queue;
    EXPECT_TRUE(Bidi({.queue = row.queue}).ok) << row.queue;
  }
}

}  // namespace
}  // namespace custom_bidi_test
