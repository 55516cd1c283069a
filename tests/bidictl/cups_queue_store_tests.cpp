#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <thread>

#include "tests/peers/local_servers.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi_tools {
namespace {

/// What the action says is wrong. Its thread is new, and so knows no other CUPS yet.
std::string ErrorOf(const std::function<void()>& action) {
  std::string error;
  std::jthread([&] {
    try {
      action();
    } catch (const QueueError& raised) {
      error = raised.what();
    }
  }).join();
  return error;
}

std::string List() {
  std::string list;
  const std::string error = ErrorOf([&] {
    for (const auto& [name, port] : ListQueues()) {
      list += name + '=' + port + ' ';
    }
  });
  return error + list;
}

/// A registry of its own beside a CUPS with two queues.
TEST(CupsQueueStore, ShowsBothKindsAndChangesOnlyItsOwn) {
  const custom_bidi_test::TemporaryFolder home;
  const custom_bidi_test::CupsServer cups;
  setenv("CUSTOMBIDI_HOME", home.Path().c_str(), 1);
  setenv("CUPS_SERVER", cups.Server().c_str(), 1);
  cups.AddQueue("Office", "ipp://192.0.2.10/ipp/print");
  cups.AddQueue("Desk", "usb://Vexmo/VX");
  const std::string of_cups = "Desk=usb://Vexmo/VX Office=ipp://192.0.2.10/ipp/print ";
  const struct {
    const char* what;
    std::function<void()> action;
    const char* error;  // a part of it; empty for none
    std::string list;
  } steps[] = {{"CUPS alone", [] {}, "", of_cups},
               {"not its own", [] { RemoveQueue("Office"); }, "is one of CUPS", of_cups},
               {"trace of a CUPS queue", [] { SetTrace("Office", true); }, "", of_cups},
               {"not its own, with a switch", [] { RemoveQueue("Office"); }, "is one of CUPS", of_cups},
               {"trace of none", [] { SetTrace("Nowhere", true); }, "there is no queue 'Nowhere'", of_cups},
               {"any case", [] { RequireQueue("desk"); }, "", of_cups},
               {"none", [] { RequireQueue("Nowhere"); }, "there is no queue 'Nowhere'", of_cups},
               {"the registry's first", [] { AddQueue("OFFICE", "192.0.2.99"); }, "",
                "Desk=usb://Vexmo/VX OFFICE=192.0.2.99 "},
               {"one more", [] { AddQueue("Alone", "LPT1:"); }, "",
                "Alone=LPT1: Desk=usb://Vexmo/VX OFFICE=192.0.2.99 "},
               {"its own again", [] { RemoveQueue("Office"); }, "", "Alone=LPT1: " + of_cups}};
  for (const auto& [what, action, error, list] : steps) {
    const std::string said = ErrorOf(action);
    EXPECT_TRUE(*error == 0 ? said.empty() : said.find(error) != std::string::npos) << what << ": " << said;
    EXPECT_EQ(List(), list) << what;
  }
}

}  // namespace
}  // namespace custom_bidi_tools
