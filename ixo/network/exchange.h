#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>

#include "src/platform.h"

/// What every exchange with a device has: a moment by which it is over, a code that it ends with, and what it
/// tells of the device.
namespace custom_bidi::network {

// What can go wrong on the way to a device, as Win32 codes (winerror.h, winsock2.h).
inline constexpr DWORD kNotSupported = 50;         // ERROR_NOT_SUPPORTED
inline constexpr DWORD kTooLarge = 223;            // ERROR_FILE_TOO_LARGE
inline constexpr DWORD kStopped = 299;             // ERROR_PARTIAL_COPY: something came, and then no more
inline constexpr DWORD kConnectionRefused = 1225;  // ERROR_CONNECTION_REFUSED
inline constexpr DWORD kHostUnreachable = 1232;    // ERROR_HOST_UNREACHABLE
inline constexpr DWORD kConnectionAborted = 1236;  // ERROR_CONNECTION_ABORTED
inline constexpr DWORD kNoResources = 1450;        // ERROR_NO_SYSTEM_RESOURCES: our machine, not the device
inline constexpr DWORD kTimeout = 1460;            // ERROR_TIMEOUT
inline constexpr DWORD kHostUnknown = 11001;       // WSAHOST_NOT_FOUND
inline constexpr DWORD kBadAnswer = ERROR_INVALID_DATA;

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

enum class Protocol { kIpp, kSnmp, kTls };
inline constexpr size_t kProtocolCount = 3;

/// How long one attempt at an exchange may take. A device that is slow to answer has all the time that there
/// is; one that has begun to answer, and then pauses, is worth a second attempt while there is time for it.
class Patience {
 public:
  /// For the only attempt, or the last. A deadline is one.
  // NOLINTNEXTLINE(google-explicit-constructor)
  Patience(Deadline end) : pause_end_(end), end_(end) {}
  /// For the first of two: a pause that lasts until `pause_end` ends it.
  Patience(Deadline pause_end, Deadline end) : pause_end_(pause_end), end_(end) {}

  Deadline End() const { return end_; }

  /// Until when to wait for the next bytes. A pause that has only just begun by the end of pauses is none.
  Deadline UntilNext(bool has_begun) const {
    return has_begun && pause_end_.RemainingMs() > end_.RemainingMs() / 8 ? pause_end_ : end_;
  }

 private:
  Deadline pause_end_;
  Deadline end_;
};

/// What is known of a device so far within one call, so that a device that is not there costs one deadline
/// and not one for each question: a protocol that met with silence is not tried again, and while nothing at
/// all was heard of the device, neither is any other.
class Standing {
 public:
  bool MayTry(Protocol protocol) const { return !silent_[Index(protocol)] && (heard_ || !any_silent_); }

  /// Takes down how an exchange ended: with a code of exchange.h, or 0.
  void Note(Protocol protocol, DWORD code) {
    if (code == kTimeout || code == kHostUnreachable || code == kHostUnknown) {
      silent_[Index(protocol)] = true;
      any_silent_ = true;
    } else if (code != kNoResources) {
      heard_ = true;
    }
  }

 private:
  static size_t Index(Protocol protocol) { return static_cast<size_t>(protocol); }

  std::array<std::atomic<bool>, kProtocolCount> silent_{};
  std::atomic<bool> any_silent_ = false;
  std::atomic<bool> heard_ = false;
};

}  // namespace custom_bidi::network
