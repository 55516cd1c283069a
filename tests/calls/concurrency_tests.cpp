// Calls from several threads at once.

#include <algorithm>
#include <atomic>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

constexpr int kThreads = 8;
constexpr int kAskRounds = 12;
constexpr int kSaveRounds = 4;
constexpr char kSilentQueue[] = "CustomBidi silent queue";

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

  /// Eight threads, each over and over: the three queries on the two queues in turn.
  void AskOnManyThreads() {
    CountWrong([this](int number) {
      CustomBidiLong status = 0;
      StraightCalls calls(kUser, kTarget, number % 2 == 0 ? kQueue : kSilentQueue);
      int wrong = 0;
      for (int round = 0; round < kAskRounds; ++round) {
        wrong += !calls.Bidi() || calls.Response() != answer_;
        wrong += !calls.Status() || calls.Response() != StatusText(3, 0, 0);
        wrong += !calls.Port(&status) || status != 1;
      }
      return wrong;
    });
  }

  /// From saving to deleting, with the certificate as what is saved, each thread for a user of its own.
  void SaveOnManyThreads() {
    CountWrong([](int number) {
      const std::string user = "CustomBidi user " + std::to_string(number);
      const StraightCalls calls(user, "Vexmo.VIB.NQDRV4." + user + "." + kUuid);
      int wrong = 0;
      for (int round = 0; round < kSaveRounds; ++round) {
        DeviceCertificate* const record = calls.Read();
        if (record == nullptr) {
          return ++wrong;
        }
        wrong += record->certificate_length <= 500 || record->warning_count != 1 || record->warnings[0] != 2;
        wrong += !calls.Save({reinterpret_cast<char*>(record->certificate), record->certificate_length});
        wrong += !calls.IsPresent() || !calls.Check(record) || record->warning_count != 0;
        wrong += !calls.Delete() || calls.IsPresent() || !calls.Check(record, kWithoutAddress);
        DeleteDeviceCertificate(record);
        CoTaskMemFree(record);
      }
      return wrong;
    });
  }

 private:
  void CountWrong(const std::function<int(int)>& work) {
    std::atomic<int> wrong = 0;
    OnThreads(kThreads, [&](int number) { wrong += work(number); });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(LeftOpen(), "");
  }

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
  const Lines lines = TakeTrace();
  for (const std::string& line : lines) {
    EXPECT_TRUE(known.contains(line)) << line;
  }
  // Every call was traced, so none lost its lines to another's end.
  for (const char* line :
       {kLoadSucceeded, "Load IXO DLL Success", "Load IXO / XDM / IXOCert Libraries Success"}) {
    EXPECT_EQ(std::ranges::count(lines, line), kThreads * kAskRounds) << line;
  }
}

TEST_F(Concurrency, EachUserHasAnEntryOfHisOwn) {
  SetTrace(true);
  SaveOnManyThreads();
  const Lines lines = TakeTrace();  // which looks at each line's form
  for (const char* line : {"[IxoWrapper]:Saved Target", "[IxoWrapper]:Deleted Target key",
                           "[CertificateHandlingWrapper]:Certificate matched with Vault"}) {
    EXPECT_EQ(std::ranges::count(lines, line), kThreads * kSaveRounds) << line;
  }
}

// Each call reads the switch for its own queue, and the switch is the process's: whose lines are lost is
// anybody's guess, but what is written is whole.
TEST_F(Concurrency, AnswersAreRightWithoutATraceAndWhileItGoesOnAndOff) {
  AskOnManyThreads();
  SaveOnManyThreads();
  EXPECT_TRUE(TakeTrace().empty());
  SetTrace(true);
  AskOnManyThreads();
  EXPECT_FALSE(TakeTrace().empty());
}

}  // namespace
}  // namespace custom_bidi_test
