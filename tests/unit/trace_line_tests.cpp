#include <gtest/gtest.h>

#include <chrono>

#include "src/system_text.h"
#include "tests/unit/trace_file.h"

namespace custom_bidi {
namespace {

using Trace = test::TraceFileTest;

/// A line's beginning now, in the zone that the test was told to run in, else in the machine's.
std::string Stamp() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  const char* const zone = std::getenv("TZ");
  if (zone != nullptr && std::string(zone) == "Asia/Kolkata") {
    using namespace std::chrono;
    const auto india = system_clock::now().time_since_epoch() + 5h + 30min;
    const hh_mm_ss time(duration_cast<milliseconds>(india % days(1)));
    now.wHour = static_cast<WORD>(time.hours().count());
    now.wMinute = static_cast<WORD>(time.minutes().count());
    now.wSecond = static_cast<WORD>(time.seconds().count());
    now.wMilliseconds = static_cast<WORD>(time.subseconds().count());
  }
  char stamp[32];
  std::snprintf(stamp, sizeof(stamp), "[%02d:%02d:%02d.%03d]  ", now.wHour, now.wMinute, now.wSecond,
                now.wMilliseconds);
  return stamp;
}

TEST_F(Trace, BeginsALineWithTheLocalTime) {
  const std::string before = Stamp();
  const WString line = TextOf([] { TraceLog(W("message")); }).substr(0, kStampChars);
  const std::string after = Stamp();
  const std::string stamp(line.begin(), line.end());
  EXPECT_TRUE((before <= stamp && stamp <= after) || after < before) << stamp;  // but for midnight
}

TEST_F(Trace, KeepsALinesEndHoweverLongItIsAndCutsNoPair) {
  constexpr size_t kLongest = 4077;  // 4095 with the stamp and the line end
  for (const size_t length : {size_t{0}, size_t{1}, kLongest - 1, kLongest, kLongest + 1, size_t{4095},
                              size_t{4096}, size_t{5000}}) {
    const WString message(length, 'm');
    const WString kept = message.substr(0, kLongest);
    EXPECT_EQ(MessageOf([&] { TraceLog(W("%s"), message); }), kept) << length;
    EXPECT_EQ(MessageOf([&] { TraceLog(message.c_str()); }), kept) << length;
    EXPECT_EQ(MessageOf([&] { WriteTraceLine(message.c_str()); }), kept) << length;
  }
  const WString message = WString(kLongest - 1, 'm') + W("\U0001F5A8 more");
  EXPECT_EQ(MessageOf([&] { TraceLog(W("%s"), message); }), message.substr(0, kLongest - 1));
}

// The files have holes, so none takes room on the disk.
TEST_F(Trace, AppendsHoweverLargeTheFileIs) {
  constexpr uintmax_t kFourGiB = uintmax_t{4} << 30;
  for (const uintmax_t size : {kFourGiB - 2, kFourGiB, 2 * kFourGiB + 2}) {
    TextOf([] {});
    std::filesystem::resize_file(file_, size);
    const TraceShare share;
    ASSERT_TRUE(OpenTraceFile());
    WriteTraceLine(W("m"));
    EXPECT_EQ(std::filesystem::file_size(file_), size + 2 * (kStampChars + 3));
    EXPECT_EQ(std::ifstream(file_, std::ios::binary).get(), 0) << "its head is as it was";
  }
}

TEST_F(Trace, WritesNothingOfNothingOrWhileItIsOff) {
  EXPECT_EQ(TextOf([] {
              WriteTraceLine(nullptr);
              trace_internal::g_switch = false;
              TraceLog(W("off"));
              TraceErrorCode(ERROR_FILE_NOT_FOUND, W("off"));
            }),
            W(""));
}

TEST_F(Trace, WritesTheSystemsTextOfACodeUnderItsLabel) {
  const SystemText system_text = SystemTextOf(ERROR_FILE_NOT_FOUND);
  ASSERT_TRUE(system_text);
  const WString text = WString(system_text.Get()) + W("\n");
  EXPECT_TRUE(text.ends_with(W("\r\n\n")));
  constexpr DWORD kUnknown = 0x2FFFFFFF;
  EXPECT_EQ(MessageOf([] { TraceErrorCode(ERROR_FILE_NOT_FOUND, W("Label")); }), W("[Label]") + text);
  EXPECT_EQ(MessageOf([] { TraceErrorCode(ERROR_FILE_NOT_FOUND, W("")); }), text);
  EXPECT_EQ(MessageOf([] { TraceErrorCode(ERROR_FILE_NOT_FOUND, nullptr); }), text);
  EXPECT_EQ(MessageOf([] { TraceErrorCode(kUnknown, W("%s label")); }), W("%s label: NULL\n"));
}

}  // namespace
}  // namespace custom_bidi
