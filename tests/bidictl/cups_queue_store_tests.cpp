#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <sstream>
#include <thread>

#include "tests/peers/cups_server.h"
#include "tools/bidictl/queue_store.h"

namespace custom_bidi_tools {
namespace {

/// A registry of its own beside a CUPS with the queues "Office" and "Desk".
class CupsQueueStore : public testing::Test {
 protected:
  CupsQueueStore() {
    setenv("CUSTOMBIDI_HOME", home_.Path().c_str(), 1);
    setenv("CUPS_SERVER", cups_.Server().c_str(), 1);
    cups_.AddQueue("Office", "ipp://192.0.2.10/ipp/print");
    cups_.AddQueue("Desk", "usb://Vexmo/VX");
  }

  /// What the action says is wrong. Its thread is new, and so knows no other CUPS yet.
  static std::string ErrorOf(const std::function<void()>& action) {
    std::string error;
    std::thread([&] {
      try {
        action();
      } catch (const QueueError& raised) {
        error = raised.what();
      }
    }).join();
    return error;
  }

  static std::string List() {
    std::ostringstream list;
    const auto write = [&] {
      for (const auto& [name, port] : ListQueues())
        list << name << '=' << port << ' ';
    };
    EXPECT_EQ(ErrorOf(write), "");
    return list.str();
  }

 private:
  custom_bidi_test::TemporaryFolder home_;
  custom_bidi_test::CupsServer cups_;
};

TEST_F(CupsQueueStore, ListsBothKindsAndTheRegistryFirst) {
  EXPECT_EQ(List(), "Desk=usb://Vexmo/VX Office=ipp://192.0.2.10/ipp/print ");
  EXPECT_EQ(ErrorOf([] { AddQueue("OFFICE", "192.0.2.99"); }), "");
  EXPECT_EQ(ErrorOf([] { AddQueue("Alone", "LPT1:"); }), "");
  EXPECT_EQ(List(), "Alone=LPT1: Desk=usb://Vexmo/VX OFFICE=192.0.2.99 ");
}

TEST_F(CupsQueueStore, SwitchesTheTraceOfACupsQueue) {
  EXPECT_EQ(ErrorOf([] { SetTrace("Office", true); }), "");
  EXPECT_EQ(List(), "Desk=usb://Vexmo/VX Office=ipp://192.0.2.10/ipp/print ");
  EXPECT_NE(ErrorOf([] { SetTrace("Nowhere", true); }).find("there is no queue 'Nowhere'"),
            std::string::npos);
  EXPECT_EQ(ErrorOf([] { RequireQueue("desk"); }), "");
  EXPECT_NE(ErrorOf([] { RequireQueue("Nowhere"); }), "");
}

TEST_F(CupsQueueStore, RemovesOnlyItsOwn) {
  EXPECT_NE(ErrorOf([] { RemoveQueue("Office"); }).find("is one of CUPS"), std::string::npos);
  EXPECT_EQ(ErrorOf([] { SetTrace("Office", true); }), "");
  EXPECT_NE(ErrorOf([] { RemoveQueue("Office"); }).find("is one of CUPS"), std::string::npos)
      << "with a switch";
  EXPECT_EQ(ErrorOf([] { AddQueue("Office", "192.0.2.99"); }), "");
  EXPECT_EQ(ErrorOf([] { RemoveQueue("Office"); }), "");
  EXPECT_EQ(List(), "Desk=usb://Vexmo/VX Office=ipp://192.0.2.10/ipp/print ");
}

}  // namespace
}  // namespace custom_bidi_tools
