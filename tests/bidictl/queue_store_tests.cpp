#include "tools/bidictl/queue_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <thread>

#include "src/platform.h"

namespace custom_bidi_tools {
namespace {

/// Starts and ends without the queues that the tests add.
class QueueStore : public testing::Test {
 protected:
  void SetUp() override { RemoveAll(); }
  void TearDown() override { RemoveAll(); }

  static std::optional<DWORD> TraceSwitch() {
    HKEY key = nullptr;
    const WCHAR path[] =
        W("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\bidictl-test\\PrinterDriverData");
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
      return std::nullopt;
    DWORD value = 0;
    DWORD size = sizeof(value);
    const auto code = RegQueryValueExW(key, W("DebugTraceEnable"), nullptr, nullptr,
                                       reinterpret_cast<BYTE*>(&value), &size);
    RegCloseKey(key);
    return code == ERROR_SUCCESS ? std::optional(value) : std::nullopt;
  }

  static std::string PortOf(const std::string& name) {
    const auto queues = ListQueues();
    const auto found = std::ranges::find(queues, name, &Queue::name);
    return found == queues.end() ? "no queue" : found->port;
  }

 private:
  static void RemoveAll() {
    for (const auto& queue : ListQueues()) {
      if (queue.name.starts_with("bidictl-test"))
        RemoveQueue(queue.name);
    }
  }
};

TEST_F(QueueStore, AddsListsAndRemoves) {
  AddQueue("bidictl-test b", "192.0.2.10");
  AddQueue("bidictl-test A Büro [1] \"2\" \xF0\x9F\x98\x80", "LPT1:");
  EXPECT_EQ(PortOf("bidictl-test b"), "192.0.2.10");
  EXPECT_EQ(PortOf("bidictl-test A Büro [1] \"2\" \xF0\x9F\x98\x80"), "LPT1:");

  RemoveQueue("BIDICTL-test B");
  EXPECT_EQ(PortOf("bidictl-test b"), "no queue");
  EXPECT_EQ(PortOf("bidictl-test A Büro [1] \"2\" \xF0\x9F\x98\x80"), "LPT1:");
}

TEST_F(QueueStore, RefusesASecondQueueOfOneName) {
  AddQueue("bidictl-test", "192.0.2.10");
  EXPECT_THROW(AddQueue("Bidictl-Test", "192.0.2.11"), QueueError);
  EXPECT_EQ(PortOf("bidictl-test"), "192.0.2.10");
}

TEST_F(QueueStore, RefusesAnUnknownQueue) {
  EXPECT_THROW(RemoveQueue("bidictl-test"), QueueError);
  EXPECT_THROW(SetTrace("bidictl-test", true), QueueError);
  EXPECT_THROW(RequireQueue("bidictl-test"), QueueError);
  EXPECT_EQ(PortOf("bidictl-test"), "no queue");
}

TEST_F(QueueStore, RefusesNamesThatAQueueCannotHave) {
  for (const char* name : {"", "bidictl-test\\x", "bidictl-test,x", "bidictl-test\n", "bidictl-test\xFF"})
    EXPECT_THROW(AddQueue(name, "192.0.2.10"), QueueError) << name;
  for (const char* port : {"", "a\rb", "\xC3"})
    EXPECT_THROW(AddQueue("bidictl-test", port), QueueError) << port;
  EXPECT_EQ(PortOf("bidictl-test"), "no queue");
}

TEST_F(QueueStore, SwitchesTheTraceWhereTheLibraryLooks) {
  AddQueue("bidictl-test", "192.0.2.10");
  EXPECT_EQ(TraceSwitch(), std::nullopt);
  SetTrace("BIDICTL-TEST", true);
  EXPECT_EQ(TraceSwitch(), 1U);
  SetTrace("bidictl-test", false);
  EXPECT_EQ(TraceSwitch(), 0U);
  EXPECT_EQ(PortOf("bidictl-test"), "192.0.2.10");

  SetTrace("bidictl-test", true);
  RemoveQueue("bidictl-test");
  AddQueue("bidictl-test", "192.0.2.10");
  EXPECT_EQ(TraceSwitch(), std::nullopt) << "the switch of a queue that was removed";
}

TEST_F(QueueStore, GivesTheSpoolerThePort) {
  AddQueue("bidictl-test", "192.0.2.10");
  HANDLE printer = nullptr;
  custom_bidi::WString name = W("bidictl-test");
  ASSERT_TRUE(OpenPrinterW(name.data(), &printer, nullptr));
  alignas(PRINTER_INFO_2W) BYTE block[8192] = {};
  DWORD needed = 0;
  EXPECT_TRUE(GetPrinterW(printer, 2, block, sizeof(block), &needed));
  EXPECT_TRUE(reinterpret_cast<const PRINTER_INFO_2W*>(block)->pPortName ==
              custom_bidi::WStringView(W("192.0.2.10")));
  ClosePrinter(printer);
}

TEST_F(QueueStore, LosesNothingWhenSeveralAddAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kQueues = 5;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int queue = 0; queue < kQueues; ++queue)
        AddQueue("bidictl-test " + std::to_string(thread) + "-" + std::to_string(queue), "192.0.2.10");
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(std::ranges::count_if(ListQueues(),
                                  [](const Queue& queue) { return queue.name.starts_with("bidictl-test"); }),
            kThreads * kQueues);
}

}  // namespace
}  // namespace custom_bidi_tools
