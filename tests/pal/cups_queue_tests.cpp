#include "base/cups_queues.h"

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "base/utf.h"
#include "tests/pal/pal_fixture.h"
#include "tests/peers/local_servers.h"
#include "tests/peers/loopback_peers.h"

namespace {

using custom_bidi_test::CupsServer;
using custom_bidi_test::TcpPeer;

constexpr char kIppUri[] = "ipp://192.0.2.10:631/ipp/print";
constexpr char kUsbUri[] = "usb://Vexmo/VX%20400?serial=123";
constexpr char kUnknown[] = "error 1801";  // ERROR_INVALID_PRINTER_NAME

std::string LocalServer(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port);
}

/// What a new thread, which has not asked libcups for its server yet, is told there.
std::string PortOf(const std::string& server, const std::string& queue) {
  const ScopedVariable variable("CUPS_SERVER", server.c_str());
  std::string port;
  std::thread([&] { port = PortOfQueue(base::ToUtf16(queue)); }).join();
  return port;
}

class CupsQueueTest : public PalTest {
 protected:
  void SetUp() override {
    PalTest::SetUp();
    user_home_.emplace("HOME", home_.c_str());  // no settings of the user's own for CUPS
    open_files_ = CountOpenFiles();
  }
  void TearDown() override {
    EXPECT_EQ(CountOpenFiles(), open_files_);
    user_home_.reset();
    PalTest::TearDown();
  }

 private:
  static long CountOpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  std::optional<ScopedVariable> user_home_;
  long open_files_ = 0;
};

TEST_F(CupsQueueTest, DeviceUriIsThePortOfTheNamesThatCupsHas) {
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  cups.AddQueue("B\xC3\xBCro_100%_+&", "socket://192.0.2.11");
  EXPECT_EQ(PortOf(cups.Server(), "oFFICE"), kIppUri);
  EXPECT_EQ(PortOf(cups.Server(), "B\xC3\xBCro_100%_+&"), "socket://192.0.2.11");
  for (const char* name : {"Offic", "Office2", "%4Fffice", "Office?", "Office?x=1", " Office", "Office "}) {
    EXPECT_EQ(PortOf(cups.Server(), name), kUnknown) << name;
  }
  EXPECT_EQ(PortOf(cups.Server(), std::string(10000, 'x')), kUnknown);

  const TcpPeer unasked(custom_bidi_test::StaySilent());
  for (const char* name : {"", "/Office", "Office/", "../printers/Office", "Office#1", "Office\n", "\x7F"}) {
    EXPECT_EQ(PortOf(LocalServer(unasked.Port()), name), kUnknown) << name;
  }
  EXPECT_EQ(unasked.Connections(), 0) << "CUPS has no such names";

  const ScopedVariable variable("CUPS_SERVER", cups.Server().c_str());
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([] { EXPECT_EQ(PortOfQueue(u"Office"), kIppUri); });
  }
}

TEST_F(CupsQueueTest, TheRegistryComesFirst) {
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  cups.AddQueue("Traced", kUsbUri);
  const std::string printers = "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
  WriteFileIn("registry.reg", printers + "Office]\n\"Port\"=\"192.0.2.99\"\n" + printers +
                                  "Traced\\PrinterDriverData]\n\"DebugTraceEnable\"=dword:00000001\n" +
                                  printers + "Alone]\n");
  EXPECT_EQ(PortOf(cups.Server(), "Office"), "192.0.2.99");
  EXPECT_EQ(PortOf(cups.Server(), "Traced"), kUsbUri) << "a key for the trace switch alone";
  EXPECT_EQ(PortOf(cups.Server(), "Alone"), "no port");

  const custom_bidi_test::ClosedPort nobody;
  EXPECT_EQ(PortOf(LocalServer(nobody.Port()), "Traced"), "no port");
  EXPECT_EQ(PortOf((home_ / "no_socket").string(), "Office2"), kUnknown);
}

TEST_F(CupsQueueTest, ServersThatDoNotAnswerAsTheyShould) {
  using custom_bidi_test::Reply;
  const custom_bidi_test::TcpHandler handlers[] = {
      custom_bidi_test::StaySilent(),
      custom_bidi_test::CloseAtOnce(),
      Reply("HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n"),
      Reply(
          "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"CUPS\"\r\nContent-Length: 0\r\n\r\n"),
      Reply("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 6\r\n\r\n<html>"),
      Reply("HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nContent-Length: 100\r\n\r\n\x02"),
      Reply("\x15\x03\x01\n\n"),
  };
  for (size_t i = 0; const auto& handler : handlers) {
    SCOPED_TRACE(i++);
    const TcpPeer peer(handler);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(PortOf(LocalServer(peer.Port()), "Office"), kUnknown);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(peer.Connections(), 1);
  }
}

}  // namespace
