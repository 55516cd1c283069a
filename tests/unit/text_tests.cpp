#include "src/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace custom_bidi {
namespace {

constexpr size_t kRoomChars = 64;
constexpr WCHAR kUntouched = '#';

/// A buffer in which every write beyond the capacity shows.
struct GuardedBuffer {
  explicit GuardedBuffer(size_t capacity_chars) : capacity(capacity_chars) { units.fill(kUntouched); }

  std::span<WCHAR> Span() { return std::span(units).first(capacity); }
  WString Text() const { return units.data(); }
  bool BeyondIsUntouched() const {
    return std::all_of(units.begin() + static_cast<std::ptrdiff_t>(capacity), units.end(),
                       [](WCHAR unit) { return unit == kUntouched; });
  }

  std::array<WCHAR, kRoomChars> units;
  size_t capacity;
};

template <class... Arguments>
WString Formatted(const WCHAR* format, const Arguments&... arguments) {
  WCHAR text[kRoomChars];
  FormatText(text, format, arguments...);
  return text;
}

TEST(CopyText, CutsToFitAndNeverWithinAPair) {
  struct Case {
    size_t capacity;
    WString source;
    WString copied;
    bool fits;
  };
  const WString pair = W("\U0001F5A8");
  const WString lone_high(1, WCHAR{0xD83D});
  const Case cases[] = {
      {1, W(""), W(""), true},
      {1, W("a"), W(""), false},
      {4, W("abc"), W("abc"), true},
      {4, W("abcd"), W("abc"), false},
      {4, W("a") + pair, W("a") + pair, true},
      {3, W("a") + pair, W("a"), false},
      {4, pair + pair, pair, false},
      {2, pair, W(""), false},
      {2, lone_high, lone_high, true},  // what fits is never changed
      {3, W("a") + lone_high + W("bc"), W("a"), false},
  };
  for (const Case& c : cases) {
    GuardedBuffer buffer(c.capacity);
    EXPECT_EQ(CopyText(buffer.Span(), WStringView(c.source)), c.fits) << c.capacity;
    EXPECT_EQ(buffer.Text(), c.copied) << c.capacity;
    EXPECT_TRUE(buffer.BeyondIsUntouched()) << c.capacity;
  }
}

TEST(CopyText, LeavesAnEmptyTargetAlone) {
  GuardedBuffer buffer(0);
  EXPECT_FALSE(CopyText(buffer.Span(), W("a")));
  EXPECT_FALSE(CopyText(buffer.Span(), W("")));
  EXPECT_TRUE(buffer.BeyondIsUntouched());
}

TEST(CopyText, TakesNullAsEmpty) {
  GuardedBuffer buffer(4);
  EXPECT_TRUE(CopyText(buffer.Span(), static_cast<const WCHAR*>(nullptr)));
  EXPECT_EQ(buffer.Text(), W(""));
}

TEST(BstrText, EndsAtTheFirstNulOrTheLength) {
  EXPECT_TRUE(BstrText(nullptr).empty());
  constexpr WCHAR kUnits[] = W("ab\0cd");
  const BSTR with_nul = SysAllocStringLen(kUnits, 5);
  EXPECT_EQ(BstrText(with_nul), W("ab"));
  SysFreeString(with_nul);
  const BSTR shorter = SysAllocStringLen(kUnits, 1);
  EXPECT_EQ(BstrText(shorter), W("a"));
  SysFreeString(shorter);
}

TEST(FormatText, Converts) {
  constexpr auto kMax = std::numeric_limits<uint32_t>::max();
  constexpr auto kMin = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(Formatted(W("plain")), W("plain"));
  EXPECT_EQ(Formatted(W("")), W(""));
  EXPECT_EQ(Formatted(W("[%s][%ls]"), W("a"), WString(W("b"))), W("[a][b]"));
  EXPECT_EQ(Formatted(W("%s"), static_cast<const WCHAR*>(nullptr)), W("(null)"));
  EXPECT_EQ(Formatted(W("%6s|"), W("ab")), W("    ab|"));
  EXPECT_EQ(Formatted(W("%1s|"), W("ab")), W("ab|"));
  EXPECT_EQ(Formatted(W("%d %d %d"), 0, -1, kMin), W("0 -1 -2147483648"));
  EXPECT_EQ(Formatted(W("%u %u"), kMax, -1), W("4294967295 4294967295"));
  EXPECT_EQ(Formatted(W("%d"), kMax), W("-1"));
  EXPECT_EQ(Formatted(W("%x %X %X"), 0xC00Eu, 0xC00Eu, kMin), W("c00e C00E 80000000"));
  EXPECT_EQ(Formatted(W("%02d:%03d"), 5, 7), W("05:007"));
  EXPECT_EQ(Formatted(W("%02d"), 123), W("123"));
  EXPECT_EQ(Formatted(W("0x%08X"), 0xFFFEu), W("0x0000FFFE"));
  EXPECT_EQ(Formatted(W("%5d|%05d|%1d"), -42, -42, -42), W("  -42|-0042|-42"));
  EXPECT_EQ(Formatted(W("%ld"), int64_t{0x100000007}), W("7"));  // the low 32 bits count
  EXPECT_EQ(Formatted(W("100%% %d"), 1), W("100% 1"));
}

TEST(FormatText, WritesWhatItCannotConvertAsItStands) {
  EXPECT_EQ(Formatted(W("%d and %s")), W("%d and %s"));
  EXPECT_EQ(Formatted(W("%d %d"), 1), W("1 %d"));
  EXPECT_EQ(Formatted(W("%q %5z|"), 1, 2), W("%q %5z|"));
  EXPECT_EQ(Formatted(W("end %")), W("end %"));
  EXPECT_EQ(Formatted(W("end %05"), 1), W("end %05"));
  // An argument of the other kind is kept for the next conversion that takes it.
  EXPECT_EQ(Formatted(W("%s then %d"), 7), W("%s then 7"));
  EXPECT_EQ(Formatted(W("%08X then %s"), W("text")), W("%08X then text"));
}

TEST(FormatText, TakesNothingInArgumentsForAFormat) {
  EXPECT_EQ(Formatted(W("[%s]"), W("%s%d%%")), W("[%s%d%%]"));
}

TEST(FormatText, CutsToFitAndReturnsTheWholeLength) {
  const WString pair = W("\U0001F5A8");
  for (size_t capacity = 0; capacity < 12; ++capacity) {
    GuardedBuffer buffer(capacity);
    EXPECT_EQ(FormatText(buffer.Span(), W("a%s%s%d"), pair, pair, -42), 8u);
    EXPECT_TRUE(buffer.BeyondIsUntouched()) << capacity;
    if (capacity == 0)
      continue;
    const WString whole = W("a") + pair + pair + W("-42");
    size_t kept = std::min<size_t>(capacity - 1, whole.size());
    if (kept == 2 || kept == 4)  // would end within a pair
      --kept;
    EXPECT_EQ(buffer.Text(), whole.substr(0, kept)) << capacity;
  }
}

}  // namespace
}  // namespace custom_bidi
