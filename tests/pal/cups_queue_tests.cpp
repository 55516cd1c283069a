#include "pal/cups_queues.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "pal/text.h"
#include "tests/pal/pal_fixture.h"
#include "tests/peers/cups_server.h"
#include "tests/peers/tcp_peer.h"

namespace {

using custom_bidi_test::CupsServer;
using custom_bidi_test::TcpPeer;

constexpr char kIppUri[] = "ipp://192.0.2.10:631/ipp/print";
constexpr char kUsbUri[] = "usb://Vexmo/VX%20400?serial=123";
constexpr char kUnknown[] = "error 1801";  // ERROR_INVALID_PRINTER_NAME

std::string LocalServer(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port);
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

  /// What a new thread, which has not asked libcups for its server yet, makes of that server.
  template <class Question>
  static void AskServer(const std::string& server, Question question) {
    const ScopedVariable variable("CUPS_SERVER", server.c_str());
    std::thread(question).join();
  }

  static std::string PortOf(const std::string& server, const std::string& queue) {
    std::string port;
    AskServer(server, [&] { port = PortInThisThread(pal::ToUtf16(queue)); });
    return port;
  }

  /// The queue's port, "no port", or "error" with the code.
  static std::string PortInThisThread(std::u16string queue) {
    SetLastError(0xDEADBEEF);
    HANDLE printer = INVALID_HANDLE_VALUE;
    if (!OpenPrinterW(queue.data(), &printer, nullptr))
      return printer ? "a handle in spite of an error" : "error " + std::to_string(GetLastError());
    alignas(PRINTER_INFO_2W) BYTE block[4096] = {};
    DWORD needed = 0;
    EXPECT_TRUE(GetPrinterW(printer, 2, block, sizeof(block), &needed)) << GetLastError();
    const WCHAR* port = reinterpret_cast<const PRINTER_INFO_2W*>(block)->pPortName;
    const std::string text = port ? pal::ToUtf8(port) : "no port";
    EXPECT_TRUE(ClosePrinter(printer));
    return text;
  }

 private:
  static long CountOpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  std::optional<ScopedVariable> user_home_;
  long open_files_ = 0;
};

TEST_F(CupsQueueTest, DeviceUriIsThePort) {
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  cups.AddQueue("B\xC3\xBCro_100%_+&", "socket://192.0.2.11");
  cups.AddQueue("Desk", kUsbUri);
  EXPECT_EQ(PortOf(cups.Server(), "Office"), kIppUri);
  EXPECT_EQ(PortOf(cups.Server(), "oFFICE"), kIppUri);
  EXPECT_EQ(PortOf(cups.Server(), "B\xC3\xBCro_100%_+&"), "socket://192.0.2.11");
  EXPECT_EQ(PortOf(cups.Server(), "Desk"), kUsbUri);

  std::vector<pal::CupsQueue> queues;
  AskServer(cups.Server(), [&] { queues = pal::ListCupsQueues(); });
  ASSERT_EQ(queues.size(), 3U);
  std::ranges::sort(queues, {}, &pal::CupsQueue::name);
  EXPECT_EQ(queues[0].name, u"B\u00FCro_100%_+&");
  EXPECT_EQ(queues[1].name, u"Desk");
  EXPECT_EQ(pal::ToUtf8(queues[1].device_uri), kUsbUri);
  EXPECT_EQ(pal::ToUtf8(queues[2].device_uri), kIppUri);
}

TEST_F(CupsQueueTest, NamesThatCupsDoesNotHave) {
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  for (const char* name : {"Offic", "Office2", "%4Fffice", "Office?", "Office?x=1", " Office", "Office "})
    EXPECT_EQ(PortOf(cups.Server(), name), kUnknown) << name;
  EXPECT_EQ(PortOf(cups.Server(), std::string(10000, 'x')), kUnknown);

  const TcpPeer unasked(custom_bidi_test::StaySilent());
  for (const char* name : {"", "/Office", "Office/", "../printers/Office", "Office#1", "Office\n", "\x7F"})
    EXPECT_EQ(PortOf(LocalServer(unasked.Port()), name), kUnknown) << name;
  EXPECT_EQ(unasked.Connections(), 0) << "CUPS has no such names";
}

TEST_F(CupsQueueTest, TheRegistryComesFirst) {
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  cups.AddQueue("Traced", kUsbUri);
  WriteRegistry(
      "Windows Registry Editor Version 5.00\n"
      "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Office]\n"
      "\"Port\"=\"192.0.2.99\"\n"
      "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Traced\\PrinterDriverData]\n"
      "\"DebugTraceEnable\"=dword:00000001\n"
      "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Alone]\n");
  EXPECT_EQ(PortOf(cups.Server(), "Office"), "192.0.2.99");
  EXPECT_EQ(PortOf(cups.Server(), "Traced"), kUsbUri) << "a key for the trace switch alone";
  EXPECT_EQ(PortOf(cups.Server(), "Alone"), "no port");

  const custom_bidi_test::ClosedPort nobody;
  EXPECT_EQ(PortOf(LocalServer(nobody.Port()), "Traced"), "no port");
}

TEST_F(CupsQueueTest, SeveralThreadsAtOnce) {
  constexpr int kThreads = 8;
  const CupsServer cups;
  cups.AddQueue("Office", kIppUri);
  const ScopedVariable variable("CUPS_SERVER", cups.Server().c_str());
  std::atomic<int> found = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 5; ++round)
        found += PortInThisThread(u"Office") == kIppUri ? 1 : 0;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(found, 5 * kThreads);
}

TEST_F(CupsQueueTest, WithoutAServer) {
  const custom_bidi_test::ClosedPort nobody;
  EXPECT_EQ(PortOf(LocalServer(nobody.Port()), "Office"), kUnknown);
  EXPECT_EQ(PortOf((home_ / "no_socket").string(), "Office"), kUnknown);
}

TEST_F(CupsQueueTest, ServersThatDoNotAnswerAsTheyShould) {
  using custom_bidi_test::Answer;
  const std::pair<const char*, custom_bidi_test::TcpHandler> handlers[] = {
      {"silent", custom_bidi_test::StaySilent()},
      {"closing", custom_bidi_test::CloseAtOnce()},
      {"failing", Answer("HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n")},
      {"asking for a password", Answer("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic "
                                       "realm=\"CUPS\"\r\nContent-Length: 0\r\n\r\n")},
      {"not IPP", Answer("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 6\r\n\r\n<html>")},
      {"cut short",
       Answer("HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nContent-Length: 100\r\n\r\n\x02")},
      {"not HTTP", Answer("\x15\x03\x01\n\n")},
  };
  for (const auto& [name, handler] : handlers) {
    const TcpPeer peer(handler);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(PortOf(LocalServer(peer.Port()), "Office"), kUnknown) << name;
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_LT(taken, std::chrono::seconds(4)) << name;
    EXPECT_EQ(peer.Connections(), 1) << name;
    printf("%s %ld ms\n", name, (long)std::chrono::duration_cast<std::chrono::milliseconds>(taken).count());
  }
}

}  // namespace
