#include "src/unique.h"

#include <gtest/gtest.h>

#include <string>

namespace custom_bidi {
namespace {

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
