#include "base/cups_queues.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

#include "base/utf.h"
#include "tests/pal/pal_fixture.h"
#include "tests/peers/local_servers.h"
#include "tests/peers/loopback_peers.h"
#include "tools/bidictl/platform/queue_store.h"

namespace {

using custom_bidi_test::CupsServer;
using custom_bidi_test::TcpPeer;

constexpr char kIppUri[] = "ipp://192.0.2.10:631/ipp/print";
constexpr char kUsbUri[] = "usb://Vexmo/VX%20400?serial=123";
constexpr char kUnknown[] = "error 1801";  // ERROR_INVALID_PRINTER_NAME

std::string LocalServer(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port);
}

/// The queue's port, "no port", or "error" with the code.
std::string PortOfQueue(std::u16string queue) {
  HANDLE printer = INVALID_HANDLE_VALUE;
  DWORD needed = 0;
  if (!OpenPrinterW(queue.data(), &printer, nullptr)) {
    return printer != nullptr ? "a handle in spite of an error" : "error " + std::to_string(GetLastError());
  }
  EXPECT_FALSE(GetPrinterW(printer, 2, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  // A block of just that size, so that a byte too many is seen by the address sanitizer.
  const auto block = static_cast<BYTE*>(GlobalAlloc(GPTR, needed));
  EXPECT_FALSE(GetPrinterW(printer, 2, block, needed - 1, &needed));
  EXPECT_TRUE(GetPrinterW(printer, 2, block, needed, &needed));
  const auto* const info = reinterpret_cast<const PRINTER_INFO_2W*>(block);
  EXPECT_EQ(std::u16string(info->pPrinterName), queue);
  const std::string port = info->pPortName != nullptr ? base::ToUtf8(info->pPortName) : "no port";
  GlobalFree(block);
  EXPECT_FALSE(CloseHandle(printer)) << "a handle of another kind";
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_FALSE(ClosePrinter(printer));
  return port;
}

class CupsQueueTest : public PalTest {
 protected:
  CupsQueueTest() { SetVariable("HOME", folder_.c_str()); }  // no settings of the user's own for CUPS
  ~CupsQueueTest() override { EXPECT_EQ(CountOpenFiles(), open_files_); }

  /// What a new thread, which has not asked libcups for its server yet, is told there.
  std::string PortOf(const std::string& server, const std::string& queue) {
    SetVariable("CUPS_SERVER", server.c_str());
    std::string port;
    std::thread([&] { port = PortOfQueue(base::ToUtf16(queue)); }).join();
    return port;
  }

 private:
  static long CountOpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  const long open_files_ = CountOpenFiles();
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

  SetVariable("CUPS_SERVER", cups.Server().c_str());
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
  WriteFileIn("registry.reg", printers + "Office]\n\"Port\"=\"192.0.2.99\"\n" + printers + "Office\\Data]\n" +
                                  printers + "Number]\n\"Port\"=dword:00000001\n" + printers +
                                  "Traced\\PrinterDriverData]\n\"DebugTraceEnable\"=dword:00000001\n");
  EXPECT_EQ(PortOf(cups.Server(), "oFFICE"), "192.0.2.99");
  EXPECT_EQ(PortOf(cups.Server(), "Traced"), kUsbUri) << "a key for the trace switch alone";
  EXPECT_EQ(PortOf(cups.Server(), "Number"), "no port");

  const custom_bidi_test::ClosedPort nobody;
  EXPECT_EQ(PortOf(LocalServer(nobody.Port()), "Traced"), "no port");
  for (const char* none : {"None", "", "Office\\Data", "..", "Office\\", "\\\\a\\Office"}) {
    EXPECT_EQ(PortOf((folder_ / "no_socket").string(), none), kUnknown) << none;
  }
}

TEST_F(CupsQueueTest, BidictlShowsBothKindsAndChangesOnlyItsOwn) {
  using namespace custom_bidi_tools;
  const CupsServer cups;
  SetVariable("CUPS_SERVER", cups.Server().c_str());
  std::vector<std::string> complaints;
  std::thread([&] { ListQueues(&complaints); }).join();
  EXPECT_TRUE(complaints.empty()) << "a spooler without a queue: " << complaints.front();
  cups.AddQueue("Office", kIppUri);
  cups.AddQueue("Desk", "usb://Vexmo/VX");
  const std::string desk = "Desk=usb://Vexmo/VX ";
  const std::string of_cups = desk + "Office=" + kIppUri + ' ';
  const struct {
    std::function<void()> action;
    std::string error;  // a part of it; empty for none
    std::string list;
  } steps[] = {{[] {}, "", of_cups},
               {[] { RemoveQueue("Office"); }, "is one of CUPS", of_cups},
               {[] { SetTrace("Office", true); }, "", of_cups},
               {[] { RemoveQueue("Office"); }, "is one of CUPS", of_cups},  // in spite of its switch
               {[] { SetTrace("Nowhere", true); }, "there is no queue 'Nowhere'", of_cups},
               {[] { RequireQueue("desk"); }, "", of_cups},
               {[] { EXPECT_EQ(FindPort("desk"), "usb://Vexmo/VX"); }, "", of_cups},
               {[] { EXPECT_TRUE(IsSpoolersQueue("oFFICE") && !IsSpoolersQueue("Nowhere")); }, "", of_cups},
               {[] { RequireQueue("Nowhere"); }, "there is no queue 'Nowhere'", of_cups},
               {[] { AddQueue("OFFICE", "192.0.2.99"); }, "", desk + "OFFICE=192.0.2.99 "},
               {[] { AddQueue("Alone", "LPT1:"); }, "", "Alone=LPT1: " + desk + "OFFICE=192.0.2.99 "},
               {[] { RemoveQueue("Office"); }, "", "Alone=LPT1: " + of_cups}};
  for (int number = 0; const auto& [action, error, list] : steps) {
    SCOPED_TRACE(number++);
    std::string said;
    std::string listed;
    std::thread([&] {
      try {
        action();
      } catch (const QueueError& raised) {
        said = raised.what();
      }
      for (const auto& [name, port] : ListQueues()) {
        listed += name + '=' + port + ' ';
      }
    }).join();
    EXPECT_TRUE(error.empty() ? said.empty() : said.find(error) != std::string::npos) << said;
    EXPECT_EQ(listed, list);
  }
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
