// The IPP client against a real printer, and against servers that misbehave.

#include "ixo/network/ipp_client.h"

#include <gtest/gtest.h>

#include <chrono>

#include "ixo/network/ipp_value.h"
#include "ixo/network/printer_strings.h"
#include "pal/text.h"
#include "tests/peers/ipp_printer.h"
#include "tests/peers/peer_files.h"
#include "tests/peers/process.h"
#include "tests/peers/tcp_peer.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi::network {
namespace {

using custom_bidi_test::Answer;
using custom_bidi_test::IppPrinter;
using custom_bidi_test::TcpHandler;
using custom_bidi_test::TcpPeer;

constexpr milliseconds kDeadline{400};
/// What a sanitized build on a busy machine may take on top.
constexpr milliseconds kSlack{600};

class TestAddress final : public DeviceAddress {
 public:
  explicit TestAddress(const std::string& port_name)
      : DeviceAddress(*LocationFromPortName(pal::ToUtf16(port_name)), 1) {}
  LONG IsActive() override { return 0; }
  const WCHAR* GetAddressString() override { return W(""); }
};

Settings ShortSettings() {
  Settings settings;
  settings.deadline = kDeadline;
  settings.max_answer_bytes = 100000;
  return settings;
}

DWORD Ask(const std::string& port_name, const std::vector<std::string>& names, IppAnswer& answer) {
  TestAddress address(port_name);
  return GetPrinterAttributes(address, ShortSettings(), names, "en", answer);
}

std::string Shown(const IppAnswer& answer, const std::string& name) {
  const auto value = ValueOf(answer, name);
  if (!value) {
    return "none";
  }
  VARIANT variant{};
  value->CopyTo(&variant);
  return variant.vt == VT_I4 ? "#" + std::to_string(variant.lVal) : pal::ToUtf8(variant.bstrVal);
}

// As ipptool prints them, but for texts that are not part of a collection.
TEST(IppClient, ValuesHaveTheFormOfTheirKind) {
  const custom_bidi_test::TemporaryFolder folder;
  const auto attributes = folder.WriteFile("odd.attributes", R"(
ATTR textWithoutLanguage printer-device-id "MFG:Vexmo;MDL:\"VX\";CID:Ä,;"
ATTR integer one 5
ATTR integer many 7,-3
ATTR enum qualities 3,4
ATTR boolean flags true,false
ATTR keyword words "one","two"
ATTR rangeOfInteger range 1-10,3-3
ATTR resolution resolutions 300x300dpi,600x1200dpi,100x100dpcm
ATTR dateTime when 2026-01-02T03:04:05Z
ATTR dateTime there 2026-01-02T03:04:05-0230
ATTR collection sizes {
    MEMBER integer x-dimension 1
    MEMBER textWithoutLanguage text "a \"b\" \\ [c], 'd'"
    MEMBER keyword words "one","two"
    MEMBER resolution r 300x300dpi
    MEMBER rangeOfInteger ra 1-2
    MEMBER octetString o "ab c"
    MEMBER collection inner {
        MEMBER keyword key "value"
    },{
        MEMBER boolean key false
    }
},{
    MEMBER integer x-dimension 2
}
ATTR octetString tray "type=other;level=1","a b\\c\"d"
)");
  const IppPrinter printer({.attributes = attributes});
  IppAnswer answer;
  const std::vector<std::string> names = {"all"};
  for (const std::string& uri : {printer.Uri("ipp"), printer.Uri("ipps"), printer.Uri("ipp", "[::1]")}) {
    ASSERT_EQ(Ask(uri, names, answer), DWORD{ERROR_SUCCESS}) << uri;
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
      {"attributes-charset", "none"},  // not the printer's
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
  std::string bytes = std::string(
      "\x34\x00\x01"
      "c\x00\x00",
      6);
  for (int i = 1; i < depth; ++i) {
    bytes += std::string("\x4A\x00\x00\x00\x01m\x34\x00\x00\x00\x00", 11);
  }
  for (int i = 0; i < depth; ++i) {
    bytes += std::string("\x37\x00\x00\x00\x00", 5);
  }
  return bytes;
}

struct Misbehaviour {
  const char* name;
  TcpHandler handler;
  DWORD code;
};

TEST(IppClient, AMisbehavingPrinterCostsAtMostTheDeadline) {
  const std::string good = Ipp(0, 1);
  const std::vector<Misbehaviour> cases = {
      {"good", Answer(Http(good)), ERROR_SUCCESS},
      {"until it closes", Answer("HTTP/1.0 200 OK\r\n\r\n" + good), ERROR_SUCCESS},
      {"announced", Answer("HTTP/1.1 100 Continue\r\n\r\n" + Http(good)), ERROR_SUCCESS},
      {"in chunks",
       Answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\n\r\n8;x=y\r\n" + good.substr(0, 8) +
              "\r\n14\r\n" + good.substr(8) + "\r\n0\r\n\r\n"),
       ERROR_SUCCESS},
      {"ignored attributes", Answer(Http(Ipp(1, 1))), ERROR_SUCCESS},
      {"a few collections", Answer(Http(Ipp(0, 1, Nested(16)))), ERROR_SUCCESS},
      {"silent", custom_bidi_test::StaySilent(), kTimeout},
      {"closes", custom_bidi_test::CloseAtOnce(), kConnectionAborted},
      {"drips", custom_bidi_test::Drip(Http(good), milliseconds(20)), kTimeout},
      {"floods the header", custom_bidi_test::Flood("HTTP/1.1 200 OK\r\n", "X: y\r\n"), kBadAnswer},
      {"floods one line", custom_bidi_test::Flood("HTTP/1.1 200 OK\r\nX: ", std::string(4096, 'y')),
       kBadAnswer},
      {"floods announcements", custom_bidi_test::Flood("", "HTTP/1.1 100 Continue\r\n\r\n"), kTimeout},
      {"floods the body", custom_bidi_test::Flood("HTTP/1.1 200 OK\r\n\r\n", std::string(4096, 'y')),
       kTooLarge},
      {"announces 100 MB", Answer("HTTP/1.1 200 OK\r\nContent-Length: 100000000\r\n\r\n"), kTooLarge},
      {"a chunk of 100 MB", Answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5F5E100\r\n"),
       kTooLarge},
      {"cut short", Answer(Http(good).substr(0, Http(good).size() - 3)), kConnectionAborted},
      {"speaks something else", Answer("220 mail.example ESMTP\r\n"), kBadAnswer},
      {"negative length", Answer("HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n"), kBadAnswer},
      {"bad chunk", Answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n"), kBadAnswer},
      {"404", Answer("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"), kBadAnswer},
      {"redirects", Answer("HTTP/1.1 301 Moved\r\nLocation: http://192.0.2.1/\r\nContent-Length: 0\r\n\r\n"),
       kBadAnswer},
      {"wants TLS and has none", Answer("HTTP/1.1 426 Upgrade Required\r\nContent-Length: 0\r\n\r\n"),
       kBadAnswer},
      {"no IPP", Answer(Http("<html>")), kBadAnswer},
      {"empty", Answer(Http("")), kBadAnswer},
      {"IPP cut short", Answer(Http(good.substr(0, good.size() - 4))), kBadAnswer},
      {"another request's answer", Answer(Http(Ipp(0, 2))), kBadAnswer},
      {"refuses", Answer(Http(Ipp(0x0406, 1))), kBadAnswer},
      {"collections without end", Answer(Http(Ipp(0, 1, Nested(5000)))), kBadAnswer},
      {"collections not begun", Answer(Http(Ipp(0, 1, std::string("\x37\x00\x00\x00\x00", 5)))), kBadAnswer},
  };
  for (const auto& [name, handler, code] : cases) {
    const TcpPeer peer(handler);
    const std::vector<std::string> names = {"printer-name"};
    IppAnswer answer;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask("127.0.0.1:" + std::to_string(peer.Port()), names, answer), code) << name;
    const auto cost = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(cost, kDeadline + kSlack) << name;
    RecordProperty(name, static_cast<int>(std::chrono::duration_cast<milliseconds>(cost).count()));
    if (code == ERROR_SUCCESS) {
      EXPECT_EQ(Shown(answer, "printer-name"), "P") << name;
    }
  }
}

TEST(IppClient, ASilentHandshakeIsOverAtTheDeadline) {
  const TcpPeer peer(custom_bidi_test::StaySilent());
  const TcpPeer plain(Answer("HTTP/1.1 400 Bad Request\r\n\r\n"));
  const std::vector<std::string> names = {"printer-name"};
  IppAnswer answer;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask("ipps://127.0.0.1:" + std::to_string(peer.Port()) + "/", names, answer), kTimeout);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kDeadline + kSlack);
  EXPECT_EQ(Ask("ipps://127.0.0.1:" + std::to_string(plain.Port()) + "/", names, answer), kBadAnswer);
}

TEST(IppClient, ADeviceThatIsNotThereIsAskedOnce) {
  const TcpPeer peer(custom_bidi_test::StaySilent());
  TestAddress address("127.0.0.1:" + std::to_string(peer.Port()));
  const std::vector<std::string> names = {"printer-name"};
  IppAnswer answer;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(GetPrinterAttributes(address, ShortSettings(), names, "en", answer), kTimeout);
  }
  EXPECT_EQ(peer.Connections(), 1);
  EXPECT_FALSE(address.TheStanding().MayTry(Protocol::kSnmp));
}

TEST(IppClient, AnOlderPrinterIsAskedInItsVersion) {
  const TcpPeer peer([](custom_bidi_test::Socket& socket) {
    const std::string request = socket.Read();
    const bool is_old = request.find("\r\n\r\n\x01\x01") != std::string::npos;
    socket.Write(Http(is_old ? Ipp(0, 1) : Ipp(0x0503, 1)));
  });
  IppAnswer answer;
  EXPECT_EQ(Ask("127.0.0.1:" + std::to_string(peer.Port()), {"printer-name"}, answer), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(peer.Connections(), 2);
}

TEST(PrinterStrings, OnlyThePrinterItselfIsAsked) {
  const std::string content = "\"a\" = \"b\";";
  const TcpPeer peer(Answer(Http(content)));
  const std::string port = std::to_string(peer.Port());
  struct Case {
    std::string printer;
    std::string uri;
    DWORD code;
  };
  const std::vector<Case> cases = {
      {"127.0.0.1", "http://127.0.0.1:" + port + "/en.strings", ERROR_SUCCESS},
      {"127.0.0.1", "http://localhost:" + port + "/en.strings", ERROR_SUCCESS},
      {"127.0.0.1", "http://no-such-name.invalid:" + port + "/en.strings", ERROR_SUCCESS},
      {"127.0.0.1", "http://127.0.0.2:" + port + "/en.strings", ERROR_ACCESS_DENIED},
      {"127.0.0.2", "http://127.0.0.1:" + port + "/en.strings", ERROR_ACCESS_DENIED},
      {"127.0.0.1", "https://127.0.0.1:" + port + "/en.strings", kBadAnswer},
      {"127.0.0.1", "http://127.0.0.1:" + port + "/a HTTP/1.1\r\nX: y", kBadAnswer},
      {"127.0.0.1", "http://127.0.0.1:" + port + "/a?b\r\nX: y", kBadAnswer},
      {"127.0.0.1", "ftp://127.0.0.1:" + port + "/en.strings", kBadAnswer},
      {"127.0.0.1", "file:///etc/passwd", kBadAnswer},
      {"127.0.0.1", "nonsense", kBadAnswer},
  };
  for (const auto& [printer, uri, code] : cases) {
    TestAddress address(printer);
    std::string fetched;
    EXPECT_EQ(FetchStrings(address, ShortSettings(), uri, fetched), code) << printer << ' ' << uri;
    EXPECT_EQ(fetched, code == ERROR_SUCCESS ? content : "") << printer << ' ' << uri;
  }
  Settings follow = ShortSettings();
  follow.follow_other_hosts = true;
  TestAddress address("127.0.0.2");
  std::string fetched;
  EXPECT_EQ(FetchStrings(address, follow, "http://127.0.0.1:" + port + "/x", fetched), DWORD{ERROR_SUCCESS});
}

}  // namespace
}  // namespace custom_bidi::network
