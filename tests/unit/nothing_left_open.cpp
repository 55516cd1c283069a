// Every test of the program must end with nothing left open.

#include <gtest/gtest.h>

#include "pal/test_hooks.h"

namespace {

class NothingLeftOpen : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { before_ = pal::LiveObjects(); }
  void OnTestEnd(const testing::TestInfo&) override {
    EXPECT_EQ(pal::LiveObjects(), before_) << "left open: " << pal::DescribeLiveObjects();
    EXPECT_FALSE(pal::FaultFired()) << "a test must call its faults off";
  }

  long before_ = 0;
};

const bool g_is_listening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new NothingLeftOpen);  // which owns it
  return true;
}();

}  // namespace
