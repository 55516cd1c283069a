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

  void AskOnManyThreads() {
    OnAll([this](int number) {
      CustomBidiLong status = 0;
      StraightCalls calls(kUser, kTarget, number % 2 == 0 ? kQueue : kSilentQueue);
      for (int round = 0; round < kAskRounds; ++round) {
        wrong_ += !calls.Bidi() || calls.Response() != answer_;
        wrong_ += !calls.Status() || calls.Response() != StatusText(3, 0, 0);
        wrong_ += !calls.Port(&status) || status != 1;
      }
    });
  }

  /// The certificate is what is saved, each thread for a user of its own.
  void SaveOnManyThreads() {
    OnAll([this](int number) {
      const std::string user = "CustomBidi user " + std::to_string(number);
      const StraightCalls calls(user, "Vexmo.VIB.NQDRV4." + user + "." + kUuid);
      for (int round = 0; round < kSaveRounds; ++round) {
        DeviceCertificate* const record = calls.Read();
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
TEST_F(Concurrency, AnswersAreRightWithoutATraceAndWhileItGoesOnAndOff) {
  for (const bool on : {false, true}) {
    SetTrace(on);
    AskOnManyThreads();
    EXPECT_EQ(TakeTrace().empty(), !on);
  }
}

}  // namespace
}  // namespace custom_bidi_test
