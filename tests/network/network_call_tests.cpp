// Whole calls, by way of the device libraries for printers on a network, to real servers.

#include <sys/socket.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "tests/network/network_call_test.h"
#include "tests/peers/cups_server.h"
#include "tests/peers/full_port.h"
#include "tests/peers/ipp_printer.h"
#include "tests/peers/loopback.h"
#include "tests/peers/peer_files.h"
#include "tests/peers/secret_service.h"
#include "tests/peers/snmp_agent.h"
#include "tests/peers/tcp_relay.h"
#include "tests/peers/udp_peer.h"

namespace custom_bidi_test {
namespace {

constexpr long kNotConnected = -1;

constexpr char kMissing[] = "(missing)";

std::string Local(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port);
}

std::string SnmpPort(uint16_t port) {
  return R"("snmp": {"port": )" + std::to_string(port) + "}";
}

/// The items of an answer as they were before they were put into it.
std::string ItemOf(const Json& answer, const std::string& name) {
  return answer.value(name + "_Value", answer.value(name, kMissing));
}

TEST_F(NetworkCallTest, EveryItemOfTheMapIsAnsweredByOneRequest) {
  const TemporaryFolder folder;
  const auto strings = folder.WriteFile("quality.strings", R"(
"vexmo-print-quality-supported.com.vexmo.display-string.21" = "Très \u00e9conomique";
"vexmo-print-quality-supported.com.vexmo.pq-mode.22" = "3";)");
  const IppPrinter real({.strings = strings});
  const TcpRelay relay(real.Port());
  UsePort("ipp://localhost:" + std::to_string(relay.Port()) + "/ipp/print");

  const auto answer = Bidi();
  ASSERT_TRUE(answer.ok);
  const Json json = Json::parse(*answer.text);
  std::set<std::string> missing;
  int items = 0;
  for (std::string map = ReadWholeFile(NETWORK_DATA_MAP);;) {
    const size_t at = map.find("Name=\"");
    if (at == std::string::npos)
      break;
    map.erase(0, at + 6);
    const std::string name = map.substr(0, map.find('"'));
    if (ItemOf(json, name) == kMissing)
      missing.insert(name);
    ++items;
  }
  EXPECT_GE(items, 40);
  // The owner has not said these, so they are empty or unknown.
  EXPECT_EQ(missing, (std::set<std::string>{"PrinterLocation", "PrinterGeoLocation", "PrinterOrganization",
                                            "PrinterOrganizationalUnit"}));
  EXPECT_EQ(json["CID"], "VXP400A");
  EXPECT_EQ(ItemOf(json, "PrinterMakeAndModel"), "Vexmo VX 400");
  EXPECT_EQ(ItemOf(json, "PagesPerMinute"), "10");
  EXPECT_EQ(ItemOf(json, "CopiesSupported"), "1-1");
  EXPECT_EQ(ItemOf(json, "ColorSupported"), "true");
  EXPECT_EQ(json["vexmo-print-quality-supported.com.vexmo.display-string.21"], "Très économique");
  EXPECT_EQ(json["vexmo-print-quality-supported.com.vexmo.pq-mode.22"], "3");
  EXPECT_EQ(real.AttributeRequests(), 1);
  EXPECT_EQ(real.FileRequests(), 1);
  EXPECT_EQ(relay.Requests(), 1) << "and one more for the strings, by TLS";
  EXPECT_EQ(relay.Connections(), 2);
}

TEST_F(NetworkCallTest, ItemsComeFromSnmpWhereIppHasNone) {
  const IppPrinter real;
  const SnmpAgent agent({.lines = {"override -rw 1.3.6.1.2.1.43.5.1.1.17.1 octet_str \"VX400-0042\"",
                                   "override -rw 1.3.6.1.2.1.43.10.2.1.4.1.1 uinteger 4711"}});
  const UdpRelay relay(agent.Port());
  WriteSettings(SnmpPort(relay.Port()));
  UsePort(real.Uri("ipps"));
  host.Write("vexmoixodatamap.xml", R"(<DataMap><IPPDataMap>
    <DataItem Name="Serial" ipp="no-such-attribute" oid="1.3.6.1.2.1.43.5.1.1.17.1"/>
    <DataItem Name="Pages" oid="1.3.6.1.2.1.43.10.2.1.4.1.1"/>
    <DataItem Name="Model" ipp="printer-make-and-model" oid="1.3.6.1.2.1.1.1.0"/>
    <DataItem Name="Neither" ipp="no-such-attribute" oid="1.3.6.1.9.9.9"/>
    <DataItem Name="Nowhere"/></IPPDataMap></DataMap>)");
  const Json json = Json::parse(*Bidi().text);
  EXPECT_EQ(ItemOf(json, "Serial"), "VX400-0042");
  EXPECT_EQ(ItemOf(json, "Pages"), "4711");
  EXPECT_EQ(ItemOf(json, "Model"), "Vexmo VX 400");
  EXPECT_EQ(ItemOf(json, "Neither"), kMissing);
  EXPECT_EQ(ItemOf(json, "Nowhere"), kMissing);
  EXPECT_EQ(relay.DatagramsToTarget(), 1);
}

TEST_F(NetworkCallTest, AStatusIsOneRequestAndOneAnswer) {
  const SnmpAgent agent({.device_status = "5", .printer_status = "1", .error_state = "0x4010"});
  const UdpRelay relay(agent.Port());
  WriteSettings(SnmpPort(relay.Port()));
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(1, 2, 0x4010)));
  EXPECT_EQ(relay.DatagramsToTarget(), 1);
  EXPECT_EQ(relay.DatagramsToClient(), 1);
  agent.Set(SnmpAgent::kPrinterStatusOid, "i", "4");
  agent.Set(SnmpAgent::kErrorStateOid, "x", "");
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(4, 0, 0)));
}

TEST_F(NetworkCallTest, ADeviceThatIsNotThereCostsOneDeadline) {
  const UdpPeer silent_udp(UdpPeer::StaySilent());
  const TcpPeer silent_tcp(StaySilent());
  const FullPort full;
  WriteSettings(SnmpPort(silent_udp.Port()));
  host.Write(
      "vexmoixodatamap.xml",
      R"(<DataMap><IPPDataMap><DataItem Name="A" ipp="printer-name" oid="1.3.6.1.2.1.1.5.0"/></IPPDataMap></DataMap>)");
  const auto limit = kDeadline + kSlack;

  EXPECT_LT(TimeOf([&] { EXPECT_EQ(Status("127.0.0.1"), Yes(kUnreadableStatus)); }), limit);
  for (const uint16_t port : {silent_tcp.Port(), full.Port()}) {
    UsePort(Local(port));
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(Bidi().text.value_or("").find("\"A\""), std::string::npos); }), limit);
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(Read(), std::nullopt); }), limit);
  }
  EXPECT_LT(TimeOf([&] { EXPECT_EQ(Port(), (PortAnswer{true, kNotConnected})); }), limit);
  EXPECT_EQ(silent_udp.Datagrams(), 4) << "two in each version, for the status alone";
}

TEST_F(NetworkCallTest, ThePortTellsWhatIsBehindIt) {
  const IppPrinter real;
  const ClosedPort closed;
  WriteSettings("");
  const std::vector<std::pair<std::string, long>> cases = {
      {Local(real.Port()), 1},
      {"[::1]:" + std::to_string(real.Port()), 1},
      {real.Uri("ipps"), 1},
      {"socket://localhost:" + std::to_string(real.Port()), 1},
      {Local(closed.Port()), kNotConnected},
      {"ipp://no-such-name.invalid/ipp/print", kNotConnected},
      {"usb://Vexmo/VX%20400?serial=123", 0},
      {"LPT1:", 0},
  };
  for (const auto& [port, status] : cases) {
    UsePort(port);
    EXPECT_EQ(Port(), (PortAnswer{true, status})) << port;
  }
}

TEST_F(NetworkCallTest, WithoutIppTheRawPortTells) {
  // An address of the loopback interface that nobody else uses.
  sockaddr_in address = LoopbackAddress(9100);
  address.sin_addr.s_addr = htonl(0x7F00004D);
  UsePort("127.0.0.77");
  {
    const FileDescriptor raw_port(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(raw_port.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ASSERT_EQ(bind(raw_port.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(raw_port.Get(), 1), 0);
    EXPECT_EQ(Port(), (PortAnswer{true, 1}));
  }
  EXPECT_EQ(Port(), (PortAnswer{true, kNotConnected}));
}

TEST_F(NetworkCallTest, ACertificateIsReadTrustedAndReplaced) {
  const std::string anchors = R"("tls": {"trust_anchors": [")" + PrinterAuthority().string() + R"("]})";
  std::optional<IppPrinter> real(std::in_place, IppPrinterOptions{.keys = PrinterKeys("good")});
  UsePort(real->Uri("ipp"));
  WriteSettings("");
  std::optional<Record> record = Read();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->warnings, Codes{12045}) << "nobody knows the authority";
  EXPECT_EQ(record->identifier.size(), 36U);
  WriteSettings(anchors);
  record = Read();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->warnings, Codes{});

  const std::string target = "Vexmo.VIB.NQDRV4." + std::string(kUser) + "." + record->identifier;
  ASSERT_TRUE(Save(record->certificate, {kUser, target}));
  EXPECT_EQ(Check(*record), (CheckAnswer{true, {}}));
  Record other = *record;
  other.certificate = Certificate("device");
  EXPECT_EQ(Check(other), (CheckAnswer{true, {1169}}));

  real.emplace(IppPrinterOptions{.keys = PrinterKeys("expired")});
  UsePort(real->Uri("ipp"));
  record = Read();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->warnings, Codes{12037});
  EXPECT_EQ(Read(kWithoutAddress), std::nullopt) << "without an address there is no device";
}

TEST_F(NetworkCallTest, PasswordsAreKeptByTheSecretServiceOrTheVault) {
  WriteSettings("");
  EXPECT_TRUE(Save("in the vault", {kUser, kTarget}));
  EXPECT_TRUE(IsPresent({kUser, kTarget}));
  {
    const SecretService service;
    SetVariable("DBUS_SESSION_BUS_ADDRESS", service.BusAddress());
    EXPECT_TRUE(IsPresent({kUser, kTarget})) << "what was kept without a session is still there";
    EXPECT_TRUE(Save("in the keyring", {kUser, "another target"}));
    EXPECT_TRUE(IsPresent({kUser, "another target"}));
    service.Lock();
    EXPECT_FALSE(Delete({kUser, "another target"}));
    EXPECT_TRUE(IsPresent({kUser, "another target"})) << "what is locked may be there";
  }
  SetVariable("DBUS_SESSION_BUS_ADDRESS", "");
  EXPECT_TRUE(Delete({kUser, kTarget}));
}

TEST_F(NetworkCallTest, AQueueOfCupsIsAQueue) {
  const IppPrinter real;
  const CupsServer cups;
  cups.AddQueue("Office", real.Uri("ipp"));
  // libcups keeps the server of a thread's first use.
  std::thread([&] {
    SetVariable("CUPS_SERVER", cups.Server());
    EXPECT_EQ(Port("Office"), (PortAnswer{true, 1}));
    const Json json = Json::parse(*Bidi({.queue = "Office"}).text);
    EXPECT_EQ(ItemOf(json, "PrinterMakeAndModel"), "Vexmo VX 400");
    EXPECT_EQ(Port("No such queue"), (PortAnswer{true, 0}));
  }).join();
}

TEST_F(NetworkCallTest, SettingsWithASecretAreForTheOwnerAlone) {
  const SnmpAgent agent({.community = "hidden"});
  WriteSettings(R"("snmp": {"community": "hidden", "port": )" + std::to_string(agent.Port()) + "}");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Status("127.0.0.1"), Yes(kUnreadableStatus));
  const std::string message = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(message.find("network.json: the file holds an SNMP community or passphrase"), std::string::npos)
      << message;
  chmod((HostFolder::Path() / "network.json").c_str(), 0600);
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(3, 0, 0)));
}

/// Every export, over and over, on the calling thread.
class ManyCalls : public NetworkCallTest {
 protected:
  void SetUp() override {
    NetworkCallTest::SetUp();
    host.Write("network.json", "{" + SnmpPort(agent_.Port()) + "}");
    UsePort(printer_.Uri("ipp"));
    WritePrinter();
  }

  /// How many of the calls were answered wrongly.
  int CallAll(int rounds, const std::string& user_name) {
    const WString queue = ToWide(kQueue);
    const WString user = ToWide(user_name);
    const WString target = ToWide("target");
    std::vector<CustomBidiChar> response(65536);
    const std::string secret = "secret";
    const auto* const password = reinterpret_cast<const uint8_t*>(secret.data());
    int wrong = 0;
    for (int round = 0; round < rounds; ++round) {
      CustomBidiLong status = 0;
      wrong += !GetBidiResponse(response.data(), queue.c_str(), nullptr, nullptr, 0);
      wrong += ToUtf8(response.data()).find("Vexmo VX 400") == std::string::npos;
      wrong += !GetStatusData(ToWide("127.0.0.1").c_str(), response.data());
      wrong += ToUtf8(response.data()) != StatusText(3, 0, 0);
      wrong += !GetPortStatus(queue.c_str(), &status) || status != 1;
      wrong += !SavePassword(password, 6, user.c_str(), target.c_str(), queue.c_str());
      wrong += !IsPasswordPresent(user.c_str(), target.c_str(), queue.c_str());
      wrong += !DeletePassword(user.c_str(), target.c_str(), queue.c_str());
      DeviceCertificate* const record = GetDeviceCertificate(user.c_str(), queue.c_str(), kFullCheck);
      wrong += !record;
      wrong += record && !VerifyCertificateValidity(user.c_str(), queue.c_str(), kFullCheck, record);
      wrong += record && !DeleteDeviceCertificate(record);
      CoTaskMemFree(record);
    }
    return wrong;
  }

 private:
  SnmpAgent agent_;
  // With a certificate of its own from the start: eight first connections at once would each make one.
  IppPrinter printer_{{.keys = PrinterKeys("good")}};
};

TEST_F(ManyCalls, EightThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&, i] { wrong += CallAll(10, "user " + std::to_string(i)); });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

#if !defined(__SANITIZE_ADDRESS__)
/// The process's memory, in KiB.
long MemoryKib() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * 4;
}

// With the address sanitizer freed memory is kept for a while, and the process grows.
TEST_F(ManyCalls, AThousandCallsOfEachLeaveNoMemoryBehind) {
  EXPECT_EQ(CallAll(10, kUser), 0);
  const long before = MemoryKib();
  EXPECT_EQ(CallAll(1000, kUser), 0);
  const long growth = MemoryKib() - before;
  RecordProperty("growth_kib", static_cast<int>(growth));
  EXPECT_LT(growth, 1024);
}
#endif

}  // namespace
}  // namespace custom_bidi_test
