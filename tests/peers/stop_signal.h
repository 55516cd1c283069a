#pragma once

#include <chrono>

namespace custom_bidi_test {

/// Ends the waits of a peer's threads, now and from then on.
class StopSignal {
 public:
  StopSignal();
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  void Give();
  bool IsGiven() const { return !Sleep(std::chrono::milliseconds(0)); }

  /// Waits until `events` (as of poll) are there for the file. False once the signal is given.
  bool WaitFor(int file, short events) const;
  /// False when the signal ended the sleep.
  bool Sleep(std::chrono::milliseconds duration) const;

  int File() const { return event_; }

 private:
  int event_;
};

}  // namespace custom_bidi_test
