#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "ixo/network/codes.h"

namespace custom_bidi::network {

enum class Protocol { kIpp, kSnmp, kTls };
inline constexpr size_t kProtocolCount = 3;

/// What is known of a device so far within one call, so that a device that is not there costs one deadline
/// and not one for each question: a protocol that met with silence is not tried again, and while nothing at
/// all was heard of the device, neither is any other.
class Standing {
 public:
  bool MayTry(Protocol protocol) const { return !silent_[Index(protocol)] && (heard_ || !any_silent_); }

  /// Takes down how an exchange ended: with a code of codes.h, or 0.
  void Note(Protocol protocol, DWORD code) {
    if (code == kTimeout || code == kHostUnreachable || code == kHostUnknown) {
      silent_[Index(protocol)] = true;
      any_silent_ = true;
    } else {
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
