#include "src/trace/trace_log.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "src/system_text.h"
#include "tests/unit/trace_file.h"

namespace custom_bidi {
namespace {

using TraceLine = test::TraceFileTest;
using TraceError = test::TraceFileTest;

constexpr int kMillisecondsPerDay = 24 * 60 * 60 * 1000;

/// The time of day in the zone that the test was told to run in, else in the machine's.
int MillisecondsOfDay() {
  const char* const zone = std::getenv("TZ");
  if (zone != nullptr && std::string(zone) == "Asia/Kolkata") {
    using namespace std::chrono;
    const auto utc = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
    return static_cast<int>((utc + 5h + 30min).count() % kMillisecondsPerDay);
  }
  SYSTEMTIME now;
  GetLocalTime(&now);
  return ((now.wHour * 60 + now.wMinute) * 60 + now.wSecond) * 1000 + now.wMilliseconds;
}

int Number(const WString& text, size_t at, size_t digits) {
  int number = 0;
  for (const WCHAR unit : text.substr(at, digits)) {
    EXPECT_TRUE(unit >= '0' && unit <= '9');
    number = number * 10 + (unit - '0');
  }
  return number;
}

TEST_F(TraceLine, BeginsWithTheLocalTime) {
  const int before = MillisecondsOfDay();
  const WString line = TextOf([] { TraceLog(W("message")); });
  const int after = MillisecondsOfDay();

  ASSERT_GT(line.size(), kStampChars);
  WString punctuation = line.substr(0, kStampChars);
  for (const size_t digit : {1u, 2u, 4u, 5u, 7u, 8u, 10u, 11u, 12u})
    punctuation[digit] = '0';
  EXPECT_EQ(punctuation, W("[00:00:00.000]  "));
  const int stamp =
      ((Number(line, 1, 2) * 60 + Number(line, 4, 2)) * 60 + Number(line, 7, 2)) * 1000 + Number(line, 10, 3);
  // Around midnight the day begins anew.
  const int since_before = (stamp - before + kMillisecondsPerDay) % kMillisecondsPerDay;
  const int elapsed = (after - before + kMillisecondsPerDay) % kMillisecondsPerDay;
  EXPECT_LE(since_before, elapsed);
}

TEST_F(TraceLine, KeepsItsLineEndHoweverLong) {
  constexpr size_t kLongestMessage = 4077;  // 4095 with the stamp and the line end
  for (const size_t length : {size_t{0}, size_t{1}, kLongestMessage - 1, kLongestMessage, kLongestMessage + 1,
                              size_t{4095}, size_t{4096}, size_t{5000}}) {
    const WString message(length, 'm');
    const WString kept = message.substr(0, kLongestMessage);
    EXPECT_EQ(MessageOf(TextOf([&] { TraceLog(W("%s"), message); })), kept) << length;
    EXPECT_EQ(MessageOf(TextOf([&] { TraceLog(message.c_str()); })), kept) << length;
    EXPECT_EQ(MessageOf(TextOf([&] { WriteTraceLine(message.c_str()); })), kept) << length;
  }
}

TEST_F(TraceLine, IsNotCutWithinAPair) {
  const WString message = WString(4076, 'm') + W("\U0001F5A8 more");
  EXPECT_EQ(MessageOf(TextOf([&] { TraceLog(W("%s"), message); })), message.substr(0, 4076));
}

TEST_F(TraceLine, OfNothingIsNotWritten) {
  EXPECT_EQ(TextOf([] { WriteTraceLine(nullptr); }), W(""));
  EXPECT_EQ(TextOf([] {
              trace_internal::g_switch = false;
              TraceLog(W("off"));
              TraceErrorCode(ERROR_FILE_NOT_FOUND, W("off"));
            }),
            W(""));
}

TEST_F(TraceError, IsTheSystemsTextUnderTheLabel) {
  const SystemText system_text = SystemTextOf(ERROR_FILE_NOT_FOUND);
  ASSERT_TRUE(system_text);
  const WString text = system_text.Get();
  EXPECT_EQ(text.substr(text.size() - 2), W("\r\n"));
  const auto message = [this](const WCHAR* label) {
    return MessageOf(TextOf([label] { TraceErrorCode(ERROR_FILE_NOT_FOUND, label); }));
  };
  EXPECT_EQ(message(W("LoadLibrary-IXO DLL")), W("[LoadLibrary-IXO DLL]") + text + W("\n"));
  EXPECT_EQ(message(W("")), text + W("\n"));
  EXPECT_EQ(message(nullptr), text + W("\n"));
}

TEST_F(TraceError, WithoutTextIsTheLabelAlone) {
  constexpr DWORD kUnknown = 0x2FFFFFFF;
  EXPECT_EQ(MessageOf(TextOf([] { TraceErrorCode(kUnknown, W("%s label")); })), W("%s label: NULL\n"));
}

}  // namespace
}  // namespace custom_bidi
