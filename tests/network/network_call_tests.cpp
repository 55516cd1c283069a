// Whole calls, by way of the device libraries for printers on a network, to real servers.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>

#include "tests/network/network_test.h"
#include "tests/support/call_test.h"
#include "tests/support/secret_memory.h"

namespace custom_bidi_test {
namespace {

constexpr long kNotConnected = -1;
constexpr char kMissing[] = "(missing)";

/// Members of network.json.
std::string SnmpPort(uint16_t port, const std::string& community = "public") {
  return R"("snmp": {"community": ")" + community + R"(", "port": )" + std::to_string(port) + "}";
}
const std::string kShortDeadline = "\"deadline_ms\": " + std::to_string(kDeadline.count());
const std::string kLongDeadline = "\"deadline_ms\": " + std::to_string(kPatience.count());

/// The items of an answer as they were before they were put into it.
std::string ItemOf(const std::string& answer, const std::string& name) {
  for (const std::string& member : {name + "_Value", name}) {
    const std::string before = "\"" + member + "\": \"";
    if (const size_t at = answer.find(before); at != std::string::npos) {
      const size_t begin = at + before.size();
      return answer.substr(begin, answer.find('"', begin) - begin);
    }
  }
  return kMissing;
}

/// There is no session bus and no spooler but what a test names.
class NetworkCallTest : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    host.Write("vexmoixodatamap.xml", ReadWholeFile(NETWORK_DATA_MAP));
    for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
      setenv(name, "", 1);
    }
    setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
    WriteSettings(kLongDeadline);
  }

  void WriteSettings(const std::string& members) { host.Write("network.json", "{" + members + "}"); }
  void UsePort(const std::string& port_name) { AddQueue(kQueue, port_name); }
};

TEST_F(NetworkCallTest, EveryItemOfTheMapIsAnsweredByOneRequest) {
  const TemporaryFolder folder;
  const auto strings = folder.WriteFile("quality.strings", R"(
"vexmo-print-quality-supported.com.vexmo.display-string.21" = "Très \u00e9conomique";
"vexmo-print-quality-supported.com.vexmo.pq-mode.22" = "3";)");
  const IppPrinter real({.strings = strings});
  UsePort(Local(real.Port()));

  const auto answer = Bidi();
  ASSERT_TRUE(answer.ok);
  const std::string& json = *answer.text;
  std::set<std::string> missing;
  const std::string map = ReadWholeFile(NETWORK_DATA_MAP);
  const std::regex kName("Name=\"([^\"]*)\"");
  for (std::sregex_iterator at(map.begin(), map.end(), kName); at != std::sregex_iterator(); ++at) {
    if (ItemOf(json, (*at)[1]) == kMissing) {
      missing.insert((*at)[1]);
    }
  }
  // The owner has not said these, so they are empty or unknown.
  EXPECT_EQ(missing, (std::set<std::string>{"PrinterLocation", "PrinterGeoLocation", "PrinterOrganization",
                                            "PrinterOrganizationalUnit"}));
  const std::pair<const char*, const char*> told[] = {
      {"CID", "VXP400A"},
      {"PrinterMakeAndModel", "Vexmo VX 400"},
      {"PagesPerMinute", "10"},
      {"CopiesSupported", "1-1"},
      {"ColorSupported", "true"},
      {"vexmo-print-quality-supported.com.vexmo.display-string.21", "Très économique"},
      {"vexmo-print-quality-supported.com.vexmo.pq-mode.22", "3"}};
  for (const auto& [name, text] : told) {
    EXPECT_EQ(ItemOf(json, name), text) << name;
  }
  EXPECT_EQ(real.AttributeRequests(), 1);
  EXPECT_EQ(real.FileRequests(), 1);
  EXPECT_EQ(real.Connections(), 2) << "one more for the strings, by TLS";
}

TEST_F(NetworkCallTest, ItemsComeFromSnmpWhereIppHasNone) {
  const IppPrinter real;
  SnmpAgentOptions options{.lines = {"override -rw 1.3.6.1.2.1.43.10.2.1.4.1.1 uinteger 4711"}};
  std::string map = R"(<DataMap><IPPDataMap>
    <DataItem Name="Pages" oid="1.3.6.1.2.1.43.10.2.1.4.1.1"/>
    <DataItem Name="Model" ipp="printer-make-and-model" oid="1.3.6.1.2.1.1.1.0"/>
    <DataItem Name="Neither" ipp="no-such-attribute" oid="1.3.6.1.9.9.9"/>
    <DataItem Name="Nowhere"/>)";
  // Octets are text where they can be.
  std::vector<std::pair<std::string, std::string>> items = {
      {"\"VX 400\"", "VX 400"}, {"0x565800", "VX"},     {"0x5658202000", "VX"}, {"\"\"", kMissing},
      {"0x2020", kMissing},     {"0x0000", "0000"},     {"0x56C3A4", "Vä"},     {"0xF09F96A8", "🖨"},
      {"0x56E4", "56E4"},       {"0x5601", "5601"},     {"0x567F", "567F"},     {"0xC285", "C285"},
      {"0x560D0A58", "V\r\nX"}, {"0x560058", "560058"}, {"0xEFBFBD", "\uFFFD"}, {"0x56C2A058", "V\u00A0X"}};
  for (auto& [name, shown] : items) {
    const std::string oid = "1.3.6.1.4.1.99999.1." + std::to_string(options.lines.size());
    options.lines.push_back("override " + oid + " octet_str " + name);
    name = "Item" + std::to_string(options.lines.size());
    map += "<DataItem Name=\"" + name + R"(" ipp="no-such-attribute" oid=")" + oid + "\"/>";
  }
  host.Write("vexmoixodatamap.xml", map + "</IPPDataMap></DataMap>");
  const SnmpAgent agent(options);
  const UdpPeer relay(UdpPeer::PassOn(agent.Port()));
  WriteSettings(kLongDeadline + "," + SnmpPort(relay.Port()));
  UsePort(real.Uri("ipps"));

  const std::string json = *Bidi().text;
  items.insert(items.end(),
               {{"Pages", "4711"}, {"Model", "Vexmo VX 400"}, {"Neither", kMissing}, {"Nowhere", kMissing}});
  for (const auto& [name, shown] : items) {
    EXPECT_EQ(ItemOf(json, name), shown) << name;
  }
  EXPECT_EQ(relay.Datagrams(), 1);
}

TEST_F(NetworkCallTest, APrinterThatStopsAmidItsAnswersIsNotSilent) {
  const IppPrinter real({.strings = PeerFile("good.strings")});
  const SnmpAgent agent;
  WriteSettings("\"deadline_ms\": 1000, " + SnmpPort(agent.Port()));
  host.Write("vexmoixodatamap.xml", R"(<DataMap><IPPDataMap>
    <DataItem Name="Status" oid="1.3.6.1.2.1.25.3.5.1.1.1"/><DataItem Name="A" ipp="b"/></IPPDataMap></DataMap>)");
  const TcpPeer twice(Stall("HTTP/1.1 200 OK\r\n", 2, PassOnInTurn(real.Port())));
  UsePort(Local(twice.Port()));
  const std::string json = Bidi({.queue = kQueue, .cid = "VX"}).text.value_or("");
  EXPECT_EQ(ItemOf(json, "Status"), "3");
  EXPECT_EQ(ItemOf(json, "vexmo-print-quality-supported.com.vexmo.display-string.21"), "Fine");
  const TcpPeer handshake(Stall("\x16\x03\x03", 1, PassOnInTurn(real.Port())));
  UsePort(Local(handshake.Port(), "ipps"));
  EXPECT_TRUE(Read());
}

TEST_F(NetworkCallTest, AStatusIsOneRequestAndOneAnswer) {
  const SnmpAgent agent({.device_status = "5", .printer_status = "1", .error_state = "0x40af"});
  const UdpPeer relay(UdpPeer::PassOn(agent.Port()));
  WriteSettings(kLongDeadline + "," + SnmpPort(relay.Port()));
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(1, 2, 0x40AF)));
  EXPECT_EQ(relay.Datagrams(), 1);
  agent.Set(SnmpAgent::kPrinterStatusOid, "i", "4");
  agent.Set(SnmpAgent::kErrorStateOid, "x", "");
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(4, 0, 0)));

  // A printer may lack some of its state, but not all.
  const std::pair<SnmpAgentOptions, std::string> cases[] = {
      {{.printer_status = {}}, StatusText(0, 0, 0)},
      // Nobody may take a text's address for a state.
      {{.printer_status = {},
        .lines = {std::string("override ") + SnmpAgent::kPrinterStatusOid + " octet_str idle"}},
       StatusText(0, 0, 0)},
      {{.device_status = {}, .printer_status = {}, .error_state = {}}, kUnreadableStatus}};
  for (const auto& [options, answer] : cases) {
    const SnmpAgent lacking(options);
    WriteSettings(kLongDeadline + "," + SnmpPort(lacking.Port()));
    EXPECT_EQ(Status("127.0.0.1"), Yes(answer));
  }
}

TEST_F(NetworkCallTest, ADeviceThatIsNotThereCostsOneDeadline) {
  const UdpPeer silent_udp([](const std::string&) { return ""; });
  const TcpPeer silent_tcp(StaySilent());
  const FullPort full;
  WriteSettings(kShortDeadline + "," + SnmpPort(silent_udp.Port()));
  host.Write(
      "vexmoixodatamap.xml",
      R"(<DataMap><IPPDataMap><DataItem Name="A" ipp="printer-name" oid="1.3.6.1.2.1.1.5.0"/></IPPDataMap></DataMap>)");
  EXPECT_EQ(InTime([this] { return Status("127.0.0.1"); }), Yes(kUnreadableStatus));
  for (const uint16_t port : {silent_tcp.Port(), full.Port()}) {
    UsePort(Local(port));
    EXPECT_EQ(InTime([this] { return Bidi(); }).text.value_or("").find("\"A\""), std::string::npos);
    EXPECT_EQ(InTime([this] { return Read(); }), std::nullopt);
  }
  EXPECT_EQ(InTime([this] { return Port(); }), (PortAnswer{true, kNotConnected}));
  EXPECT_EQ(silent_udp.Datagrams(), 4) << "two in each version, for the status alone";
  EXPECT_EQ(silent_tcp.Connections(), 2) << "one for the items, one for the certificate";
}

TEST_F(NetworkCallTest, ThePortTellsWhatIsBehindIt) {
  const IppPrinter real;
  const ClosedPort closed;
  // The raw port of 127.0.0.77, an address of the loopback interface that nobody else uses.
  const Socket raw_port = Socket::Bound(SOCK_STREAM, 9100, 0x7F00004D);
  ASSERT_EQ(listen(raw_port.Get(), 1), 0);
  const std::vector<std::pair<std::string, long>> cases = {
      {Local(real.Port()), 1},
      {"[::1]:" + std::to_string(real.Port()), 1},
      {real.Uri("ipps"), 1},
      {"socket://localhost:" + std::to_string(real.Port()), 1},
      {Local(closed.Port()), kNotConnected},
      {"ipp://no-such-name.invalid/ipp/print", kNotConnected},
      {"127.0.0.77", 1},
      {"127.0.0.78", kNotConnected},
      {"usb://Vexmo/VX%20400?serial=123", 0},
      {"LPT1:", 0}};
  for (const auto& [port, status] : cases) {
    UsePort(port);
    EXPECT_EQ(Port(), (PortAnswer{true, status})) << port;
  }
}

TEST_F(NetworkCallTest, ACertificateIsReadTrustedAndReplaced) {
  std::optional<IppPrinter> real(std::in_place);
  UsePort(real->Uri("ipp"));
  std::optional<Record> record = Read();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->warnings, Codes{12045}) << "nobody knows the authority";
  EXPECT_EQ(record->identifier.size(), 36U);
  WriteSettings(kLongDeadline + R"(, "tls": {"trust_anchors": [")" + PrinterKeys("ca.crt").string() +
                R"("]})");
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
  EXPECT_TRUE(Save("in the vault", {kUser, kTarget}));
  const PasswordNames other{kUser, "another target"};
  {
    const KeyringServer service;
    setenv("DBUS_SESSION_BUS_ADDRESS", service.Address().c_str(), 1);
    EXPECT_TRUE(Save("in the keyring", other) && IsPresent(other));
    service.Lock();
    EXPECT_TRUE(!Delete(other) && !IsPresent(other)) << "what is locked cannot be read";
  }
  setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
  EXPECT_TRUE(IsPresent({kUser, kTarget}) && Delete({kUser, kTarget}));
}

TEST_F(NetworkCallTest, AQueueOfCupsIsAQueue) {
  const IppPrinter real;
  const CupsServer cups;
  cups.AddQueue("Office", real.Uri("ipp"));
  // libcups keeps the server of a thread's first use.
  OnThreads(1, [&](int) {
    setenv("CUPS_SERVER", cups.Server().c_str(), 1);
    EXPECT_EQ(Port("Office"), (PortAnswer{true, 1}));
    const std::string json = *Bidi({.queue = "Office"}).text;
    EXPECT_EQ(ItemOf(json, "PrinterMakeAndModel"), "Vexmo VX 400");
    EXPECT_EQ(Port("No such queue"), (PortAnswer{true, 0}));
  });
}

TEST_F(NetworkCallTest, SettingsWithASecretAreForTheOwnerAlone) {
  const SnmpAgent agent({.community = "hidden"});
  WriteSettings(SnmpPort(agent.Port(), "hidden"));
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Status("127.0.0.1"), Yes(kUnreadableStatus));
  const std::string message = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(message.find("network.json: the file holds an SNMP community or passphrase"), std::string::npos)
      << message;
  chmod((HostFolder::Path() / "network.json").c_str(), 0600);
  EXPECT_EQ(Status("127.0.0.1"), Yes(StatusText(3, 0, 0)));
}

/// Every export, over and over, on the calling thread. A busy machine is slow, and loses datagrams.
class ManyCalls : public NetworkCallTest {
 protected:
  void SetUp() override {
    NetworkCallTest::SetUp();
    WriteSettings(R"("deadline_ms": 60000, "snmp": {"retries": 5, "port": )" + std::to_string(agent_.Port()) +
                  "}");
    UsePort(printer_.Uri("ipp"));
    WritePrinter();
  }

  /// A queue that comes and goes has its answers or none.
  static void CallAll(int rounds,
                      const std::string& user_name = kUser,
                      const std::string& queue_name = kQueue) {
    const bool passes = queue_name != kQueue;
    StraightCalls calls(user_name, "target", queue_name);
    calls.address = Argument("127.0.0.1");
    for (int round = 0; round < rounds; ++round) {
      CustomBidiLong status = 0;
      EXPECT_TRUE(calls.Bidi() ? calls.Response().find("Vexmo VX 400") != std::string::npos : passes);
      EXPECT_TRUE(calls.Status() && calls.Response() == StatusText(3, 0, 0));
      EXPECT_TRUE(calls.Port(&status) && (status == 1 || (passes && status == 0)));
      EXPECT_TRUE(calls.Save("secret") && calls.IsPresent() && calls.Delete());
      DeviceCertificate* const record = calls.Read();
      EXPECT_TRUE(record != nullptr ? calls.Check(record) && DeleteDeviceCertificate(record) : passes);
      CoTaskMemFree(record);
    }
  }

 protected:
  IppPrinter printer_;

 private:
  SnmpAgent agent_;
};

TEST_F(ManyCalls, SixteenThreadsAtOnceWhileAQueueComesAndGoesAndTheTraceGoesOnAndOff) {
  const std::string passing = "CustomBidi passing queue";
  const TcpPeer in_turn(PassOnInTurn(printer_.Port()));
  UsePort(Local(in_turn.Port()));
  AddQueue(passing, "LPT1:");
  {
    const std::jthread changer([&](const std::stop_token& stop) {
      for (bool on = true; !stop.stop_requested(); on = !on) {
        SetTrace(on);
        custom_bidi_tools::RemoveQueue(passing);
        AddQueue(passing, on ? Local(in_turn.Port()) : "LPT1:");
      }
    });
    OnThreads(16, [&](int i) { CallAll(8, "user " + std::to_string(i), i % 2 == 0 ? kQueue : passing); });
  }
  TakeTrace();
  EXPECT_EQ(LeftOpen(), "");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(NetworkCallTest, NoSecretStaysInMemory) {
  const Socket socket = Socket::Bound(SOCK_DGRAM);
  const pid_t agent = fork();
  while (agent == 0) {  // with a memory of its own, it answers a request with itself
    char request[1500];
    sockaddr sender{};
    socklen_t sender_size = sizeof(sender);
    const ssize_t size = recvfrom(socket.Get(), request, sizeof(request), 0, &sender, &sender_size);
    request[7 + request[6]] = '\xA2';
    sendto(socket.Get(), request, static_cast<size_t>(size), 0, &sender, sender_size);
  }
  const std::string name = (HostFolder::Path() / "network.json").string();
  for (const size_t size : {12, 40}) {  // a string keeps the first within itself
    for (const std::string version : {"1", "2c", "3"}) {
      const Socket file(open(name.c_str(), O_WRONLY | O_TRUNC));
      fchmod(file.Get(), 0600);
      dprintf(file.Get(), R"({"snmp": {"version": "%s", "user": "a", "port": %d)", version.c_str(),
              socket.Port());
      for (const char* member : {"community", "authentication_passphrase", "privacy_passphrase"}) {
        dprintf(file.Get(), ", \"%s\": \"", member);
        for (size_t i = 0; i < size; ++i) {
          dprintf(file.Get(), "%c", SecretUnit(size, i));
        }
        dprintf(file.Get(), "\"");
      }
      dprintf(file.Get(), "}, \"deadline_ms\": 300}");
      Status("127.0.0.1");
      EXPECT_EQ(CountSecrets(size), 0) << version << ' ' << size;
    }
  }
  kill(agent, SIGKILL);
  waitpid(agent, nullptr, 0);
  std::string seen;
  std::generate_n(std::back_inserter(seen), 40, [&] { return SecretUnit(40, seen.size()); });
  EXPECT_GE(CountSecrets(40), 1) << "one that is there is found";
}
#endif

}  // namespace
}  // namespace custom_bidi_test
