#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "tests/peers/cups_server.h"
#include "tests/peers/ipp_printer.h"
#include "tests/peers/peer_files.h"
#include "tests/peers/process.h"
#include "tests/peers/secret_service.h"
#include "tests/peers/snmp_agent.h"
#include "tests/peers/tcp_relay.h"
#include "tests/peers/udp_peer.h"

namespace custom_bidi_test {
namespace {

using std::chrono::milliseconds;

std::string Get(const SnmpAgent& agent, const std::string& version, const std::string& oid) {
  return RunProgram(
             agent.Client("snmpget", {version, "-c", "public", "-Oqvx", "-t", "0.2", "-r", "0"}, {oid}))
      .output;
}

TEST(SnmpAgent, AnswersWithTheObjectsThatItHas) {
  const SnmpAgent agent({.device_status = "5", .error_state = std::nullopt});
  EXPECT_EQ(Get(agent, "-v2c", SnmpAgent::kDeviceStatusOid), "5\n");
  EXPECT_EQ(Get(agent, "-v1", SnmpAgent::kPrinterStatusOid), "3\n");
  EXPECT_EQ(Get(agent, "-v2c", SnmpAgent::kErrorStateOid),
            "No Such Object available on this agent at this OID\n");
}

TEST(SnmpAgent, TakesNewValues) {
  const SnmpAgent agent;
  agent.Set(SnmpAgent::kPrinterStatusOid, "i", "1");
  agent.Set(SnmpAgent::kErrorStateOid, "x", "4010");
  EXPECT_EQ(Get(agent, "-v2c", SnmpAgent::kPrinterStatusOid), "1\n");
  EXPECT_EQ(Get(agent, "-v2c", SnmpAgent::kErrorStateOid), "\"40 10 \"\n");
  EXPECT_THROW(agent.Set("1.3.6.1.2.1.1.5.0", "s", "x"), std::runtime_error);
}

TEST(SnmpAgent, IsSilentForAVersionThatItDoesNotAnswer) {
  const SnmpAgent agent({.answers_v2c = false});
  EXPECT_EQ(Get(agent, "-v1", SnmpAgent::kDeviceStatusOid), "2\n");
  EXPECT_NE(Get(agent, "-v2c", SnmpAgent::kDeviceStatusOid).find("Timeout"), std::string::npos);
}

TEST(SnmpAgent, KnowsUsersWithPrivacy) {
  const SnmpAgent agent(
      {.answers_v1 = false, .answers_v2c = false, .users = {{"reader", "right-auth", "right-priv"}}});
  const auto get = [&](const char* privacy_password) {
    return RunProgram(agent.Client("snmpget",
                                   {"-v3", "-l", "authPriv", "-u", "reader", "-a", "SHA", "-A", "right-auth",
                                    "-x", "AES", "-X", privacy_password, "-Oqv", "-t", "0.2", "-r", "0"},
                                   {SnmpAgent::kDeviceStatusOid}))
        .output;
  };
  EXPECT_EQ(get("right-priv"), "2\n");
  EXPECT_NE(get("wrong-priv"), "2\n");
}

TEST(UdpRelay, CountsWhatPasses) {
  const SnmpAgent agent;
  const UdpRelay relay(agent.Port());
  Command question = agent.Client("snmpget", {"-v2c", "-c", "public", "-Oqv", "-t", "1", "-r", "0"},
                                  {SnmpAgent::kDeviceStatusOid});
  std::ranges::replace(question.words, "127.0.0.1:" + std::to_string(agent.Port()),
                       "127.0.0.1:" + std::to_string(relay.Port()));
  EXPECT_EQ(RunProgram(question).output, "2\n");
  EXPECT_EQ(RunProgram(question).output, "2\n");
  EXPECT_EQ(relay.DatagramsToTarget(), 2);
  EXPECT_EQ(relay.DatagramsToClient(), 2);
}

TEST(UdpPeer, AnswersAsItsHandlerSays) {
  UdpPeer peer([](const std::string& question) {
    return question == "silent" ? std::vector<std::string>() : std::vector<std::string>(2, question + '!');
  });
  const FileDescriptor client = ConnectLoopback(Transport::kUdp, peer.Port());
  for (const std::string_view question : {"silent", "loud"})
    ASSERT_GT(send(client.Get(), question.data(), question.size(), 0), 0);
  for (int answer = 0; answer < 2; ++answer) {
    char bytes[10] = {};
    EXPECT_EQ(recv(client.Get(), bytes, sizeof(bytes), 0), 5);
    EXPECT_STREQ(bytes, "loud!");
  }
  EXPECT_EQ(peer.Datagrams(), 2);
}

/// Sends a question and reads until `end` has come, the other side closes ("<closed>"), or nothing comes for
/// a while.
std::string Ask(uint16_t port, const std::string& question, const std::string& end) {
  const FileDescriptor client = ConnectLoopback(Transport::kTcp, port);
  const timeval limit = {.tv_sec = 0, .tv_usec = 300'000};
  setsockopt(client.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  send(client.Get(), question.data(), question.size(), MSG_NOSIGNAL);
  std::string answer;
  char block[4096];
  for (ssize_t size = 1; size > 0 && answer.find(end) == std::string::npos;) {
    size = recv(client.Get(), block, sizeof(block), 0);
    answer += size == 0 ? "<closed>" : std::string(block, size > 0 ? static_cast<size_t>(size) : 0);
  }
  return answer;
}

Outcome AskPrinter(const std::string& uri, const std::string& test = "get-printer-attributes.test") {
  return RunProgram({{"ipptool", "-T", "5", "-tv", uri, test}});
}

TEST(IppPrinter, IsWhatAnIppEverywherePrinterIs) {
  const IppPrinter printer;
  for (const char* scheme : {"ipp", "ipps"}) {
    const Outcome outcome = AskPrinter(printer.Uri(scheme));
    EXPECT_EQ(outcome.exit_code, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("MFG:Vexmo;MDL:VX 400;"), std::string::npos) << outcome.output;
  }
  EXPECT_EQ(printer.AttributeRequests(), 2);
  EXPECT_EQ(printer.FileRequests(), 0);
}

TEST(IppPrinter, ServesItsTextsThroughARelayToo) {
  const IppPrinter printer({.strings = PeerFile("good.strings")});
  const TcpRelay relay(printer.Port());
  const std::string request = "GET /en.strings HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const std::string answer = Ask(relay.Port(), request, "\"vexmo-print-quality\" = \"Vexmo quality\";");
  EXPECT_NE(answer.find("200 OK"), std::string::npos) << answer;
  EXPECT_EQ(printer.FileRequests(), 1);
  EXPECT_EQ(relay.Connections(), 1);
  EXPECT_EQ(relay.Requests(), 1);
  EXPECT_EQ(relay.BytesToTarget(), static_cast<long>(request.size()));
  EXPECT_GE(relay.BytesToClient(), static_cast<long>(answer.size()));
}

TEST(IppPrinter, ShowsTheCertificateThatItIsGiven) {
  constexpr std::pair<const char*, const char*> kProblems[] = {
      {"good", "0 (ok)"}, {"expired", "10 ("},    {"othername", "62 ("}, {"selfsigned", "18 ("},
      {"weak", "66 ("},   {"wrongusage", "26 ("}, {"revoked", "23 ("},   {"badsignature", "7 ("},
  };
  for (const auto& [name, problem] : kProblems) {
    const IppPrinter printer({.keys = PrinterKeys(name)});
    std::vector<std::string> words = {"openssl",          "s_client",
                                      "-connect",         "127.0.0.1:" + std::to_string(printer.Port()),
                                      "-CAfile",          PrinterAuthority(),
                                      "-verify_hostname", "localhost",
                                      "-auth_level",      "2"};
    if (name == std::string("revoked"))
      words.insert(words.end(), {"-crl_check", "-CRL", PrinterRevocations()});
    const Outcome outcome = RunProgram({std::move(words)});
    EXPECT_NE(outcome.output.find(std::string("Verify return code: ") + problem), std::string::npos)
        << name << ":\n"
        << outcome.output;
  }
}

TEST(TcpPeer, MisbehavesAsItsHandlerSays) {
  const TcpPeer silent(StaySilent());
  EXPECT_EQ(Ask(silent.Port(), "?", "!"), "");
  const TcpPeer closing(CloseAtOnce());
  EXPECT_EQ(Ask(closing.Port(), "", "!"), "<closed>");
  const TcpPeer answering(Answer("no"));
  EXPECT_EQ(Ask(answering.Port(), "?", "!"), "no<closed>");
  const TcpPeer flooding(Flood("head:", "x"));
  EXPECT_EQ(Ask(flooding.Port(), "?", "xxx").substr(0, 8), "head:xxx");

  const TcpPeer slow(Drip("slow", milliseconds(50)));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask(slow.Port(), "?", "!"), "slow<closed>");
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(200));
  EXPECT_EQ(slow.Connections(), 1);

  EXPECT_THROW(Ask(ClosedPort().Port(), "?", "!"), std::system_error);
}

TEST(TcpPeer, EndsWithConnectionsOpen) {
  auto peer = std::make_unique<TcpPeer>(Flood("", std::string(100000, 'x')));
  const FileDescriptor client = ConnectLoopback(Transport::kTcp, peer->Port());
  ASSERT_EQ(send(client.Get(), "x", 1, 0), 1);
  ASSERT_TRUE(WaitUntil([&] { return peer->Connections() == 1; }, milliseconds(5000)));
  peer.reset();
  char block[4096];
  ssize_t size = 0;
  while ((size = recv(client.Get(), block, sizeof(block), 0)) > 0) {
  }
}

TEST(CupsServer, HasTheQueuesThatItIsGiven) {
  const CupsServer cups;
  cups.AddQueue("Office", "ipp://192.0.2.10/ipp/print");
  cups.AddQueue("Desk", "usb://Vexmo/VX%20400?serial=123");
  EXPECT_EQ(RunProgram(cups.Client({"lpstat", "-v"})).output,
            "device for Desk: usb://Vexmo/VX%20400?serial=123\n"
            "device for Office: ipp://192.0.2.10/ipp/print\n");
  EXPECT_THROW(cups.AddQueue("Odd", "odd://192.0.2.10"), std::runtime_error);
}

TEST(SecretService, KeepsSecretsUntilItIsLocked) {
  const SecretService service;
  const auto secret_tool = [&](std::vector<std::string> words, std::string input = {}) {
    words.insert(words.begin(), "secret-tool");
    return RunProgram(
        {std::move(words), {{"DBUS_SESSION_BUS_ADDRESS", service.BusAddress()}}, std::move(input)});
  };
  EXPECT_EQ(secret_tool({"store", "--label=test", "user", "jdoe"}, "secret").exit_code, 0);
  EXPECT_EQ(secret_tool({"lookup", "user", "jdoe"}).output, "secret");
  service.Lock();
  EXPECT_EQ(secret_tool({"lookup", "user", "jdoe"}).output, "");
  EXPECT_NE(secret_tool({"store", "--label=test", "user", "other"}, "secret").exit_code, 0);
}

}  // namespace
}  // namespace custom_bidi_test
