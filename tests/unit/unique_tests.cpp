#include "src/unique.h"

#include <gtest/gtest.h>

#include <vector>

namespace custom_bidi {
namespace {

std::vector<int> g_closed;

struct NumberTraits {
  using Value = int;
  static Value Empty() { return -1; }
  static void Close(Value value) {
    g_closed.push_back(value);
    SetLastError(ERROR_INVALID_HANDLE);
  }
};
using Number = Unique<NumberTraits>;

class UniqueTest : public testing::Test {
 protected:
  void SetUp() override { g_closed.clear(); }
};

TEST_F(UniqueTest, ClosesOnceAndKeepsTheLastError) {
  SetLastError(ERROR_FILE_NOT_FOUND);
  {
    const Number empty;
    const Number zero(0);  // not the empty value
    EXPECT_FALSE(empty);
    EXPECT_TRUE(zero);
  }
  EXPECT_EQ(g_closed, std::vector<int>{0});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(UniqueTest, MovesWithoutClosing) {
  Number first(1);
  Number second(std::move(first));
  Number third(3);
  third = std::move(second);
  EXPECT_EQ(g_closed, std::vector<int>{3});
  EXPECT_EQ(third.Get(), 1);
  Number& same = third;
  third = std::move(same);
  EXPECT_EQ(third.Get(), 1);
  EXPECT_EQ(g_closed, std::vector<int>{3});
}

TEST_F(UniqueTest, PutAndResetCloseWhatWasHeld) {
  Number number(1);
  *number.Put() = 2;
  EXPECT_EQ(g_closed, std::vector<int>{1});
  number.Reset(3);
  EXPECT_EQ(g_closed, (std::vector<int>{1, 2}));
  EXPECT_EQ(number.Release(), 3);
  number.Reset();
  EXPECT_EQ(g_closed, (std::vector<int>{1, 2}));
}

}  // namespace
}  // namespace custom_bidi
