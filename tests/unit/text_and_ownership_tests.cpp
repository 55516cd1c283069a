// Bounded text, and the owner of what the system hands out.

#include <gtest/gtest.h>

#include "src/text.h"
#include "src/unique.h"

namespace custom_bidi {
namespace {

const WString kPair = W("\U0001F5A8");
const WString kHighHalf = kPair.substr(0, 1);

/// What of 64 units stands in the first `capacity` after `write`; nothing is written behind them.
template <class Write>
WString Written(size_t capacity, Write&& write) {
  WString units(64, '#');
  write(std::span(units).first(capacity));
  EXPECT_EQ(units.find_first_not_of('#', capacity), WString::npos) << capacity;
  return units.substr(0, units.find(WCHAR{0}));
}

template <class... Arguments>
WString Formatted(const WCHAR* format, const Arguments&... arguments) {
  WCHAR text[64];
  FormatText(text, format, arguments...);
  return text;
}

TEST(CopyText, KeepsExactlyTheFirstUnitsThatFit) {
  const struct {
    size_t capacity;
    WString source, copied;
    bool fits;
  } cases[] = {
      {1, W(""), W(""), true},
      {1, W("a"), W(""), false},
      {4, W("abc"), W("abc"), true},
      {4, W("abcd"), W("abc"), false},
      {4, W("a") + kPair, W("a") + kPair, true},
      {3, W("a") + kPair, W("a") + kHighHalf, false},
      {4, kPair + kPair, kPair + kHighHalf, false},
      {0, W("a"), WString(64, '#'), false},
  };
  for (const auto& c : cases) {
    bool fits = false;
    EXPECT_EQ(Written(c.capacity, [&](auto span) { fits = CopyText(span, WStringView(c.source)); }),
              c.copied);
    EXPECT_EQ(fits, c.fits) << c.capacity;
  }
  const WCHAR* const null = nullptr;
  EXPECT_EQ(Written(4, [&](auto span) { EXPECT_TRUE(CopyText(span, null)); }), W(""));
}

TEST(BstrText, EndsAtTheFirstNulOrTheLength) {
  EXPECT_TRUE(BstrText(nullptr).empty());
  for (const auto& [length, text] : {std::pair(5u, W("ab")), std::pair(1u, W("a"))}) {
    const BSTR bstr = SysAllocStringLen(W("ab\0cd"), length);
    EXPECT_EQ(BstrText(bstr), text);
    SysFreeString(bstr);
  }
}

TEST(FormatText, Converts) {
  constexpr uint32_t kMax = 0xFFFFFFFF;
  EXPECT_EQ(Formatted(W("plain [%s][%ls]"), W("a"), WString(W("b"))), W("plain [a][b]"));
  EXPECT_EQ(Formatted(W("%s"), static_cast<const WCHAR*>(nullptr)), W("(null)"));
  EXPECT_EQ(Formatted(W("%s"), kHighHalf), kHighHalf);  // half a pair goes only where the text was cut
  EXPECT_EQ(Formatted(W("%6s|%1s|"), W("ab"), W("ab")), W("    ab|ab|"));
  EXPECT_EQ(Formatted(W("%d %d %d %d"), 0, -1, INT32_MIN, kMax), W("0 -1 -2147483648 -1"));
  EXPECT_EQ(Formatted(W("%u %u"), kMax, -1), W("4294967295 4294967295"));
  EXPECT_EQ(Formatted(W("%x %X %X"), 0xC0EAu, 0xC0EAu, INT32_MIN), W("c0ea C0EA 80000000"));
  EXPECT_EQ(Formatted(W("%02d:%03d %02d"), 5, 7, 123), W("05:007 123"));
  EXPECT_EQ(Formatted(W("%5d|%05d|%1d"), -42, -42, -42), W("  -42|-0042|-42"));
  EXPECT_EQ(Formatted(W("%ld"), int64_t{0x100000007}), W("7"));  // the low 32 bits count
  EXPECT_EQ(Formatted(W("100%% %d"), 1), W("100% 1"));
  // What cannot be converted stands as it is; an argument of the other kind waits for one that takes it.
  EXPECT_EQ(Formatted(W("%d and %s")), W("%d and %s"));
  EXPECT_EQ(Formatted(W("end %")), W("end %"));
  EXPECT_EQ(Formatted(W("end %05"), 1), W("end %05"));
  EXPECT_EQ(Formatted(W("%s then %d"), 7), W("%s then 7"));
}

TEST(FormatText, CutsToFitAndReturnsTheWholeLength) {
  const WString whole = W("a") + kPair + kPair + W("-42");
  for (size_t capacity = 0; capacity < 12; ++capacity) {
    const size_t room = std::min<size_t>(std::max<size_t>(capacity, 1) - 1, whole.size());
    const size_t kept = room == 2 || room == 4 ? room - 1 : room;  // else it would end within a pair
    const WString text = Written(
        capacity, [&](auto span) { EXPECT_EQ(FormatText(span, W("a%s%s%d"), kPair, kPair, -42), 8u); });
    EXPECT_EQ(text, capacity == 0 ? WString(64, '#') : whole.substr(0, kept)) << capacity;
  }
}

std::string g_closed;

struct LetterTraits {
  using Value = char;
  static Value Empty() { return ' '; }
  static void Close(Value value) {
    g_closed += value;
    SetLastError(ERROR_INVALID_HANDLE);
  }
};
using Letter = Unique<LetterTraits>;

TEST(Unique, ClosesOnceAndKeepsTheLastError) {
  SetLastError(ERROR_FILE_NOT_FOUND);
  {
    const Letter empty;
    const Letter zero('\0');  // not the empty value
    EXPECT_TRUE(!empty && zero);
    Letter letter(Letter('a'));
    letter = Letter('b');
    Letter& same = letter;
    letter = std::move(same);
    EXPECT_EQ(g_closed, "a");
    *letter.Put() = 'c';
    letter.Reset('d');
    EXPECT_EQ(g_closed, "abc");
    EXPECT_EQ(letter.Release(), 'd');
  }
  EXPECT_EQ(g_closed, std::string("abc") + '\0');
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace custom_bidi
