#pragma once

#include <algorithm>
#include <chrono>

namespace custom_bidi::network {

using std::chrono::milliseconds;

/// The moment by which an exchange with a device must be over.
class Deadline {
 public:
  /// That long from now.
  explicit Deadline(milliseconds from_now) : at_(Clock::now() + from_now) {}

  bool IsOver() const { return Clock::now() >= at_; }

  /// What is left, for poll: never negative, and 0 only when it is over.
  int RemainingMs() const {
    const auto left = std::chrono::ceil<milliseconds>(at_ - Clock::now());
    return static_cast<int>(std::max<milliseconds::rep>(left.count(), 0));
  }

  /// A deadline after half of what is left, for a first attempt that leaves time for a second one.
  Deadline Halfway() const { return Deadline(milliseconds(RemainingMs() / 2)); }

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point at_;
};

}  // namespace custom_bidi::network
