// The IPP client against a real printer, and against servers that misbehave.

#include "ixo/network/ipp/ipp_client.h"

#include <poll.h>

#include <cerrno>

#include "ixo/network/connection/connection.h"
#include "ixo/network/ipp/strings_file.h"
#include "ixo/network/snmp/snmp.h"
#include "tests/network/network_test.h"

/// What poll fails with on this thread, but not for ever, so that who waits without end is seen.
static thread_local int g_poll_error = 0;
static thread_local std::chrono::steady_clock::time_point g_poll_fails_until;

extern "C" int __real_poll(pollfd* files, nfds_t count, int wait_ms);
extern "C" int __wrap_poll(pollfd* files, nfds_t count, int wait_ms) {
  if (std::chrono::steady_clock::now() >= g_poll_fails_until) {
    return __real_poll(files, count, wait_ms);
  }
  errno = g_poll_error;
  return -1;
}

namespace custom_bidi::network {
namespace {

using namespace custom_bidi_test;

DWORD Ask(const std::string& port_name,
          const std::vector<std::string>& names,
          IppAnswer& answer,
          milliseconds deadline = kPatience) {
  TestAddress address(port_name);
  const Settings settings{.deadline = deadline, .max_answer_bytes = 100000};
  return InTime([&] { return GetPrinterAttributes(address, settings, names, "en", answer); }, deadline);
}

std::string Shown(const IppAnswer& answer, const std::string& name) {
  const auto value = ValueOf(answer, name);
  if (!value) {
    return "none";
  }
  VARIANT variant{};
  value->CopyTo(&variant);
  return variant.vt == VT_I4 ? "#" + std::to_string(variant.lVal) : base::ToUtf8(variant.bstrVal);
}

// As ipptool prints them, but for texts that are not part of a collection.
TEST(IppClient, ValuesHaveTheFormOfTheirKind) {
  const IppPrinter printer({.attributes = ODD_ATTRIBUTES});
  IppAnswer answer;
  for (const std::string& uri : {printer.Uri("ipp"), printer.Uri("ipps"), printer.Uri("ipp", "[::1]")}) {
    ASSERT_EQ(Ask(uri, {"all"}, answer), DWORD{ERROR_SUCCESS}) << uri;
  }
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"printer-device-id", "MFG:Vexmo;MDL:\"VX\";CID:Ä,;"},
      {"one", "#5"},
      {"many", "7,-3"},
      {"qualities", "3,4"},
      {"flags", "true,false"},
      {"words", "one,two"},
      {"range", "1-10,3-3"},
      {"resolutions", "300dpi,600x1200dpi,100dpcm"},
      {"when", "2026-01-02T03:04:05Z"},
      {"there", "2026-01-02T03:04:05-0230"},
      {"sizes", R"({x-dimension=1 text=a \"b\" \\ \[c], 'd' words=one,two r=300dpi ra=1-2 o=ab\ c )"
                R"(inner={key=value},{key=false}},{x-dimension=2})"},
      {"tray", R"(type=other;level=1,a\ b\\c"d)"},
      {"printer-geo-location", "none"},
      {"not-there", "none"},
      {"attributes-charset", "none"}  // not the printer's
  };
  for (const auto& [name, shown] : cases) {
    EXPECT_EQ(Shown(answer, name), shown) << name;
  }
  EXPECT_EQ(printer.AttributeRequests(), 3);
}

std::string Http(const std::string& body, const std::string& fields = "") {
  return "HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\n" + fields +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// An answer of IPP 2.0 with this status and request ID, in which printer-name is "P".
std::string Ipp(int status, char request_id, const std::string& more = "") {
  std::string bytes = {2, 0, static_cast<char>(status >> 8), static_cast<char>(status), 0, 0, 0, request_id};
  bytes += std::string("\x04\x42\x00\x0Cprinter-name\x00\x01P", 19) + more;
  return bytes + '\x03';
}

/// So many collections within each other.
std::string Nested(int depth) {
  std::string bytes("\x34\x00\x01\x63\x00\x00", 6);
  std::string ends("\x37\x00\x00\x00\x00", 5);
  for (int i = 1; i < depth; ++i) {
    bytes += std::string("\x4A\x00\x00\x00\x01m\x34\x00\x00\x00\x00", 11);
    ends += ends.substr(0, 5);
  }
  return bytes + ends;
}

TEST(IppClient, AMisbehavingPrinterCostsAtMostTheDeadline) {
  struct Misbehaviour {
    const char* name;
    TcpHandler handler;
    DWORD code;
    const char* scheme = "ipp";
    const char* failure = "";
  };
  const std::string good = Ipp(0, 1);
  const std::vector<Misbehaviour> cases = {
      {"good", Reply(Http(good)), ERROR_SUCCESS},
      {"until it closes", Reply("HTTP/1.0 200 OK\r\n\r\n" + good), ERROR_SUCCESS},
      {"announced", Reply("HTTP/1.1 100 Continue\r\n\r\n" + Http(good)), ERROR_SUCCESS},
      {"in chunks",
       Reply("HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\n\r\n8;x=y\r\n" + good.substr(0, 8) +
             "\r\n14\r\n" + good.substr(8) + "\r\n0\r\n\r\n"),
       ERROR_SUCCESS},
      {"IPP 1.1 alone",
       [](auto& socket) {
         const std::string head("\r\n\r\n\x01\x01\x00\x0B\x00\x00\x00\x01\x01\x47", 14);
         const bool is_old = socket.Read().find(head) != std::string::npos;
         socket.Write(Http(is_old ? Ipp(0, 1) : Ipp(0x0503, 1)));
       },
       ERROR_SUCCESS},
      {"ignored attributes", Reply(Http(Ipp(1, 1))), ERROR_SUCCESS},
      {"a few collections", Reply(Http(Ipp(0, 1, Nested(16)))), ERROR_SUCCESS},
      {"silent", StaySilent(), kTimeout},
      {"closes", CloseAtOnce(), kConnectionAborted},
      {"silent in the handshake", StaySilent(), kTimeout, "ipps"},
      {"plain in the handshake", Reply("HTTP/1.1 400 Bad Request\r\n\r\n"), kBadAnswer, "ipps"},
      {"drips", Drip(Http(good), milliseconds(50)), kStopped, "ipp", nullptr},
      {"stops", Stall(Http(good + "123").substr(0, 98)), kStopped, "ipp", "stopped after 28 of 31 bytes"},
      {"stops in the header", Stall("HTTP/1.1 "), kStopped, "ipp", "stopped after 9 of unknown bytes"},
      {"stops in the handshake", Stall("\x16\x03\x03"), kStopped, "ipps", "stopped after 3 of unknown bytes"},
      {"floods the header", Flood("HTTP/1.1 200 OK\r\n", "X: y\r\n"), kBadAnswer},
      {"floods one line", Flood("HTTP/1.1 200 OK\r\nX: ", std::string(4096, 'y')), kBadAnswer},
      {"floods announcements", Flood("", "HTTP/1.1 100 Continue\r\n\r\n"), kStopped, "ipp", nullptr},
      {"floods the body", Flood("HTTP/1.1 200 OK\r\n\r\n", std::string(4096, 'y')), kTooLarge},
      {"announces 100 MB", Reply("HTTP/1.1 200 OK\r\nContent-Length: 100000000\r\n\r\n"), kTooLarge},
      {"a chunk of 100 MB", Reply("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5F5E100\r\n"),
       kTooLarge},
      {"cut short", Reply(Http(good).substr(0, Http(good).size() - 3)), kConnectionAborted},
      {"speaks something else", Reply("220 mail.example ESMTP\r\n"), kBadAnswer},
      {"negative length", Reply("HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n"), kBadAnswer},
      {"bad chunk", Reply("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n"), kBadAnswer},
      {"404", Reply("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"), kBadAnswer},
      {"redirects", Reply("HTTP/1.1 301 Moved\r\nLocation: http://192.0.2.1/\r\nContent-Length: 0\r\n\r\n"),
       kBadAnswer},
      {"wants TLS and has none", Reply("HTTP/1.1 426 Upgrade Required\r\nContent-Length: 0\r\n\r\n"),
       kBadAnswer},
      {"no IPP", Reply(Http("<html>")), kBadAnswer},
      {"empty", Reply(Http("")), kBadAnswer},
      {"IPP cut short", Reply(Http(good.substr(0, good.size() - 4))), kBadAnswer},
      {"another request's answer", Reply(Http(Ipp(0, 2))), kBadAnswer},
      {"refuses", Reply(Http(Ipp(0x0406, 1))), kBadAnswer},
      {"collections without end", Reply(Http(Ipp(0, 1, Nested(5000)))), kBadAnswer},
      {"collections not begun", Reply(Http(Ipp(0, 1, std::string("\x37\x00\x00\x00\x00", 5)))), kBadAnswer}};
  AtOnce(cases, [](const Misbehaviour& row) {
    const TcpPeer peer(row.handler);
    IppAnswer answer;
    const milliseconds deadline = row.code == kTimeout || row.code == kStopped ? kDeadline : kPatience;
    EXPECT_EQ(Ask(Local(peer.Port(), row.scheme), {"printer-name"}, answer, deadline), row.code);
    if (row.code == ERROR_SUCCESS) {
      EXPECT_EQ(Shown(answer, "printer-name"), "P");
    }
    EXPECT_TRUE(row.failure == nullptr || row.failure == answer.failure) << answer.failure;
  });
}

TEST(IppClient, WhoStopsAmidAnAnswerIsAskedOnceMore) {
  const std::string good = Http(Ipp(0, 1));
  const std::string half = good.substr(0, good.size() / 2);
  const struct {
    const char* name;
    TcpHandler handler;
    DWORD code;
    int connections;
  } kCases[] = {{"once", Stall(half, 1, Reply(good)), ERROR_SUCCESS, 2},
                {"twice", Stall(half, 2, Reply(good)), kStopped, 2},
                {"silent", Stall("", 1, Reply(good)), kTimeout, 1},
                {"only slow", Drip(good, milliseconds(1800) / good.size()), ERROR_SUCCESS, 1}};
  AtOnce(kCases, [](const auto& row) {
    const TcpPeer peer(row.handler);
    TestAddress address(Local(peer.Port()));
    IppAnswer answer;
    EXPECT_EQ(GetPrinterAttributes(address, {.deadline = milliseconds(3000)}, {}, "en", answer), row.code);
    EXPECT_EQ(peer.Connections(), row.connections);
    EXPECT_EQ(address.TheStanding().MayTry(Protocol::kSnmp), row.code != kTimeout);
  });
}

TEST(Waiting, EndsWhateverTheSystemSays) {
  const TcpPeer silent(StaySilent());
  const Socket silent_agent = Socket::Bound(SOCK_DGRAM);
  SnmpSettings snmp;
  snmp.port = silent_agent.Port();
  std::vector<SocketAddress> addresses;
  Resolve("127.0.0.1", silent.Port(), Deadline(kPatience), addresses);
  Connection connected;
  connected.Open(addresses, Deadline(kPatience));
  std::vector<BYTE> bytes(1);
  std::vector<std::optional<SnmpValue>> values;
  const std::vector<std::string> oids = {"1.3.6.1.2.1.1.4.0"};
  const std::function<DWORD()> kWaits[] = {
      [&] { return Connection().Open(addresses, Deadline(kDeadline)); },
      [&, length = size_t{0}]() mutable { return connected.Read(bytes, length, Deadline(kDeadline)); },
      [&] { return GetObjects("127.0.0.1", snmp, oids, Deadline(kDeadline), values); }};
  for (const auto& [error, code] : {std::pair{EINTR, kTimeout}, std::pair{ENOMEM, kNoResources}}) {
    for (const auto& wait : kWaits) {
      g_poll_error = error;
      g_poll_fails_until = std::chrono::steady_clock::now() + kDeadline + kSlack;
      EXPECT_EQ(InTime(wait), code) << "wait " << &wait - kWaits;
    }
  }
  g_poll_fails_until = {};
}

TEST(PrinterStrings, OnlyThePrinterItselfIsAsked) {
  const std::string content = "\"a\" = \"b\";";
  const TcpPeer peer(Reply(Http(content)));
  const std::string port = std::to_string(peer.Port());
  const std::string own = "http://127.0.0.1:" + port;
  const std::string one = "127.0.0.1:" + port;
  const std::string two = "127.0.0.2:" + port;
  const struct {
    std::string printer, uri;
    DWORD code;
    bool follow_other_hosts = false;
  } kCases[] = {{one, own + "/strings?language=en", ERROR_SUCCESS},
                {one, "http://localhost:" + port + "/en.strings", ERROR_SUCCESS},
                {one, "http://no-such-name.invalid:" + port + "/en.strings", ERROR_SUCCESS},
                {one, "http://127.0.0.2:" + port + "/en.strings", ERROR_ACCESS_DENIED},
                {two, own + "/en.strings", ERROR_ACCESS_DENIED},
                {two, own + "/en.strings", ERROR_SUCCESS, true},
                {two, own + "/strings?language=en", ERROR_ACCESS_DENIED, true},
                {"192.0.2.10:" + port, own + "/en.strings", ERROR_ACCESS_DENIED, true},
                {"192.0.2.10:" + port, "http://[::ffff:127.0.0.1]:" + port + "/", ERROR_ACCESS_DENIED, true},
                {"127.0.0.1", own + "/admin?delete=1", ERROR_ACCESS_DENIED},
                {"192.0.2.10", "http://192.0.2.10:" + port + "/", ERROR_ACCESS_DENIED},
                {one, "http://127.0.0.1/en.strings", ERROR_ACCESS_DENIED},
                {one, "http://127.0.0.1:631/en.strings", ERROR_ACCESS_DENIED},
                {one, "https://127.0.0.1:" + port + "/en.strings", kBadAnswer},
                {one, own + "/a HTTP/1.1\r\nX: y", kBadAnswer},
                {one, own + "/a?b\r\nX: y", kBadAnswer},
                {one, "ftp://127.0.0.1:" + port + "/en.strings", kBadAnswer},
                {one, "file:///etc/passwd", kBadAnswer},
                {one, "nonsense", kBadAnswer}};
  for (const auto& [printer, uri, code, follow] : kCases) {
    TestAddress address(printer);
    const Settings settings{.deadline = kPatience, .follow_other_hosts = follow};
    std::string fetched;
    EXPECT_EQ(FetchStrings(address, settings, uri, fetched), code) << printer << ' ' << uri;
    EXPECT_EQ(fetched, code == ERROR_SUCCESS ? content : "") << printer << ' ' << uri;
  }
}

}  // namespace
}  // namespace custom_bidi::network
