// Calls from several threads at once.

#include <atomic>
#include <set>
#include <thread>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 12;
constexpr char kSilentQueue[] = "CustomBidi silent queue";
constexpr char kLoadSucceeded[] = ">>>>>Custom Bidi :  LoadIPPResponse success!!!";

class Concurrency : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    AddQueue(kSilentQueue, "192.0.2.20");
    WriteDataMap({"A", "Media"});
    printer["items"]["Media"] = "a4,letter";
    WritePrinter();
  }

  /// All three queries for one queue, over and over; counts the answers that were wrong.
  void Ask(const std::string& queue_name, const std::string& answer, std::atomic<int>& wrong) {
    const WString queue = ToWide(queue_name);
    const WString address = ToWide(kAddress);
    std::vector<CustomBidiChar> response(4096);
    for (int round = 0; round < kRounds; ++round) {
      if (!GetBidiResponse(response.data(), queue.c_str(), nullptr, nullptr, 0) ||
          ToUtf8(response.data()) != answer)
        ++wrong;
      if (!GetStatusData(address.c_str(), response.data()) || ToUtf8(response.data()) != StatusText(3, 0, 0))
        ++wrong;
      CustomBidiLong status = 0;
      if (!GetPortStatus(queue.c_str(), &status) || status != 1)
        ++wrong;
    }
  }

  /// Eight threads, on the two queues in turn.
  void AskOnManyThreads() {
    const std::string answer = *Bidi().text;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
      threads.emplace_back([&, i] { Ask(i % 2 == 0 ? kQueue : kSilentQueue, answer, wrong); });
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(LeftOpen(), "");
  }
};

TEST_F(Concurrency, AnswersAreRightWithoutATrace) {
  AskOnManyThreads();
  EXPECT_TRUE(TakeTrace().empty());
}

TEST_F(Concurrency, AnswersAreRightAndLinesWholeWithATrace) {
  SetTrace(true);
  SetSwitch(kSilentQueue, RegistryBytes::Dword(1));
  AskOnManyThreads();

  std::set<std::string> known;
  for (const Lines& lines :
       {Method("CCIXML::CCIXML"), Method("CCIXML::~CCIXML"), BidiInitialisation(kQueue, kAddress),
        BidiInitialisation(kSilentQueue, "192.0.2.20"), DataMapLoading(2), Lines{kLoadSucceeded},
        StatusInitialisation(kAddress), PortStatusOf(kAddress), PortStatusOf("192.0.2.20")})
    known.insert(lines.begin(), lines.end());
  const Lines lines = TakeTrace();
  for (const std::string& line : lines)
    EXPECT_TRUE(known.contains(line)) << line;
  // Every call was traced, so none lost its lines to another's end.
  EXPECT_EQ(std::ranges::count(lines, kLoadSucceeded), 1 + kThreads * kRounds);
  EXPECT_EQ(std::ranges::count(lines, "Load IXO DLL Success"), kThreads * kRounds);
  EXPECT_EQ(std::ranges::count(lines, "Load IXO / XDM / IXOCert Libraries Success"), kThreads * kRounds);
}

// Each call reads the switch for its own queue, and the switch is the process's: whose lines are lost is
// anybody's guess, but what is written is whole.
TEST_F(Concurrency, AnswersAreRightWhileTheTraceGoesOnAndOff) {
  SetTrace(true);
  AskOnManyThreads();
  EXPECT_FALSE(TakeTrace().empty());
}

}  // namespace
}  // namespace custom_bidi_test
