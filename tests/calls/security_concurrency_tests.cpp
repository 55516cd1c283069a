// Password and certificate calls from several threads at once, each for a user of its own.

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 4;

class SecurityConcurrency : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    printer.erase("log");  // which tells the calls of one load apart only when they come one by one
    printer["certificate"]["warnings"] = Codes{2};
    WritePrinter();
  }

  /// From saving to deleting, with the certificate as what is saved, over and over.
  static void Work(int number, std::atomic<int>& wrong) {
    const std::string user_name = "CustomBidi user " + std::to_string(number);
    const WString user = ToWide(user_name);
    const WString queue = ToWide(kQueue);
    const WString target = ToWide("Vexmo.VIB.NQDRV4." + user_name + "." + kUuid);
    const auto count = [&wrong](bool right) { wrong += right ? 0 : 1; };
    for (int round = 0; round < kRounds; ++round) {
      DeviceCertificate* const record = GetDeviceCertificate(user.c_str(), queue.c_str(), kFullCheck);
      if (record == nullptr) {
        count(false);
        continue;
      }
      count(record->certificate_length > 500 && record->warning_count == 1 && record->warnings[0] == 2);
      count(SavePassword(record->certificate, record->certificate_length, user.c_str(), target.c_str(),
                         queue.c_str()) == 1);
      count(IsPasswordPresent(user.c_str(), target.c_str(), queue.c_str()) == 1);
      count(VerifyCertificateValidity(user.c_str(), queue.c_str(), kFullCheck, record) == 1);
      count(record->warning_count == 0);
      count(DeletePassword(user.c_str(), target.c_str(), queue.c_str()) == 1);
      count(IsPasswordPresent(user.c_str(), target.c_str(), queue.c_str()) == 0);
      count(VerifyCertificateValidity(user.c_str(), queue.c_str(), kWithoutAddress, record) == 1);
      DeleteDeviceCertificate(record);
      CoTaskMemFree(record);
    }
  }

  static int CountWrong() {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
      threads.emplace_back([i, &wrong] { Work(i, wrong); });
    for (std::thread& thread : threads)
      thread.join();
    return wrong;
  }
};

TEST_F(SecurityConcurrency, EachUserHasAnEntryOfHisOwn) {
  EXPECT_EQ(CountWrong(), 0);
  EXPECT_EQ(LeftOpen(), "");
  EXPECT_TRUE(TakeTrace().empty());
}

TEST_F(SecurityConcurrency, LinesAreWholeWithATrace) {
  SetTrace(true);
  EXPECT_EQ(CountWrong(), 0);
  EXPECT_EQ(LeftOpen(), "");
  const Lines lines = TakeTrace();  // which looks at each line's form
  EXPECT_EQ(std::ranges::count(lines, "[IxoWrapper]:Saved Target"), kThreads * kRounds);
  EXPECT_EQ(std::ranges::count(lines, "[CertificateHandlingWrapper]:Certificate matched with Vault"),
            kThreads * kRounds);
  EXPECT_EQ(std::ranges::count(lines, "[IxoWrapper]:Deleted Target key"), kThreads * kRounds);
}

}  // namespace
}  // namespace custom_bidi_test
