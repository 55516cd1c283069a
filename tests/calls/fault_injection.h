#pragma once

/// Every single thing that a call asks of the platform, and every allocation, fails once. Native tests: there
/// the platform layer can be told to fail.

#include <functional>

#include "pal/test_hooks.h"
#include "tests/calls/failing_new.h"
#include "tests/support/call_test.h"

namespace custom_bidi_test {

struct Injector {
  const char* name;
  void (*arm)(int n);
  /// Calls it off; whether it struck.
  bool (*disarm)();
};

inline constexpr Injector kPlatform = {"call of the platform", pal::FailNthCall, [] {
                                         const bool fired = pal::FaultFired();
                                         pal::ClearFaults();
                                         return fired;
                                       }};
inline constexpr Injector kMemory = {"allocation", [](int n) { FailNthAllocation(n); },
                                     [] { return FailNthAllocation(0); }};

/// Runs `call` with its first, second, … acquisition failing, until nothing is left to fail; then it has to
/// succeed. `check` gets its result each time, and has to give back what the call handed out.
inline void FailEach(const Injector& injector,
                     const std::function<bool()>& call,
                     const std::function<void(bool ok)>& check) {
  constexpr int kNeverSoMany = 20000;
  for (int n = 1; n < kNeverSoMany; ++n) {
    SCOPED_TRACE(std::string(injector.name) + " " + std::to_string(n));
    injector.arm(n);
    const bool ok = call();
    const bool struck = injector.disarm();
    check(ok);
    ASSERT_EQ(LeftOpen(), "");
    if (!struck) {
      EXPECT_TRUE(ok);
      EXPECT_GT(n, 10) << "hardly anything was made to fail";
      return;
    }
  }
  ADD_FAILURE() << "the call never came to its end";
}

}  // namespace custom_bidi_test
