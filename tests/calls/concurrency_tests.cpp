// Calls from several threads at once.

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr int kThreads = 16;
constexpr int kAskRounds = 8;
constexpr int kSaveRounds = 3;
constexpr char kSilentQueue[] = "CustomBidi silent queue";
constexpr char kOffline[] = "192.0.2.30";
constexpr char kPassingQueue[] = "CustomBidi passing queue";

class Concurrency : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    AddQueue(kSilentQueue, "192.0.2.20");
    WriteDataMap({"A", "Media"});
    printer["items"]["Media"] = "a4,letter";
    printer["certificate"]["warnings"] = "[2]"_json;
    answer_ = *Bidi().text;
    printer.erase("log");  // which tells the calls of one load apart only when they come one by one
    WritePrinter();
  }

  /// Every other thread asks for the other queue. One that comes and goes has its answers or none.
  void AskOnManyThreads(const char* other_queue = kSilentQueue) {
    OnAll([&](int number) {
      CustomBidiLong status = 0;
      StraightCalls calls(kUser, kTarget, number % 2 == 0 ? kQueue : other_queue);
      const bool passes = number % 2 != 0 && other_queue == kPassingQueue;
      for (int round = 0; round < kAskRounds; ++round) {
        wrong_ += calls.Bidi() ? calls.Response() != answer_ : !passes;
        wrong_ += !calls.Status() || calls.Response() != StatusText(3, 0, 0);
        wrong_ += !calls.Port(&status) || (status != 1 && (!passes || (status != 0 && status != -1)));
      }
    });
  }

  /// The certificate is what is saved, each thread for a user of its own.
  void SaveOnManyThreads(const char* other_queue = kSilentQueue) {
    OnAll([&](int number) {
      const std::string user = "CustomBidi user " + std::to_string(number);
      const StraightCalls calls(user, "Vexmo.VIB.NQDRV4." + user + "." + kUuid,
                                number % 2 == 0 ? kQueue : other_queue);
      for (int round = 0; round < kSaveRounds; ++round) {
        DeviceCertificate* const record = calls.Read();
        if (record == nullptr && number % 2 != 0 && other_queue == kPassingQueue) {
          continue;
        }
        if (record == nullptr || record->warning_count != 1 || record->warnings[0] != 2) {
          ++wrong_;
          return;
        }
        wrong_ += !calls.Save({reinterpret_cast<char*>(record->certificate), record->certificate_length});
        wrong_ += !calls.IsPresent() || !calls.Check(record) || record->warning_count != 0;
        wrong_ += !calls.Delete() || calls.IsPresent() || !calls.Check(record, kWithoutAddress);
        DeleteDeviceCertificate(record);
        CoTaskMemFree(record);
      }
    });
  }

 private:
  void OnAll(const std::function<void(int)>& work) {
    OnThreads(kThreads, work);
    EXPECT_EQ(wrong_, 0);
    EXPECT_EQ(LeftOpen(), "");
  }

  std::atomic<int> wrong_ = 0;
  std::string answer_;
};

TEST_F(Concurrency, AnswersAreRightAndLinesWholeWithATrace) {
  SetTrace(true);
  SetSwitch(kSilentQueue, RegistryBytes::Dword(1));
  AskOnManyThreads();
  std::set<std::string> known;
  for (const Lines& lines :
       {Method("CCIXML::CCIXML"), Method("CCIXML::~CCIXML"), BidiCall(kQueue, kAddress, 2),
        BidiCall(kSilentQueue, "192.0.2.20", 2), StatusInitialisation(kAddress), PortStatusOf(kAddress),
        PortStatusOf("192.0.2.20")}) {
    known.insert(lines.begin(), lines.end());
  }
  const Lines asked = TakeTrace();
  for (const std::string& line : asked) {
    EXPECT_TRUE(known.contains(line)) << line;
  }
  SaveOnManyThreads();
  const Lines saved = TakeTrace();  // which looks at each line's form
  // Every call was traced, so none lost its lines to another's end.
  for (const char* line :
       {kLoadSucceeded, "Load IXO DLL Success", "Load IXO / XDM / IXOCert Libraries Success"}) {
    EXPECT_EQ(std::ranges::count(asked, line), kThreads * kAskRounds) << line;
  }
  for (const char* line : {"[IxoWrapper]:Saved Target", "[IxoWrapper]:Deleted Target key",
                           "[CertificateHandlingWrapper]:Certificate matched with Vault"}) {
    EXPECT_EQ(std::ranges::count(saved, line), kThreads * kSaveRounds) << line;
  }
}

// The switch is the process's: whose lines are lost is anybody's guess, but what is written is whole.
TEST_F(Concurrency, AnswersAreRightWithoutATraceAndWhileItGoesOnAndOffAndAQueueComesAndGoes) {
  AskOnManyThreads();
  EXPECT_EQ(TakeTrace(), Lines());
  printer["addresses"]["queues"] = Json::object();  // a queue without a port has no address
  printer["addresses"]["ports"][kOffline] = R"({"active": false})"_json;
  WritePrinter();
  {
    const std::jthread changer([this](const std::stop_token& stop) {
      for (bool on = true; !stop.stop_requested(); on = !on) {
        SetTrace(on);
        AddQueue(kPassingQueue, on ? kAddress : kOffline);
        custom_bidi_tools::RemoveQueue(kPassingQueue);
      }
    });
    AskOnManyThreads(kPassingQueue);
    SaveOnManyThreads(kPassingQueue);
  }
  EXPECT_NE(TakeTrace(), Lines());
  AddQueue(kPassingQueue, kAddress);
  EXPECT_EQ(Port(kPassingQueue), (PortAnswer{true, 1}));
}

}  // namespace
}  // namespace custom_bidi_test
