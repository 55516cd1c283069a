#pragma once

#include <utility>

#include "src/platform.h"

namespace custom_bidi {

/// Sole owner of a platform resource. `Traits` names the resource: its `Value` type, the `Empty` value and
/// `Close`. Closing keeps the thread's last error, so that a failure can still be read after its clean-up.
template <class Traits>
class Unique {
 public:
  using Value = typename Traits::Value;

  Unique() = default;
  explicit Unique(Value value) : value_(value) {}
  Unique(Unique&& other) noexcept : value_(other.Release()) {}
  Unique& operator=(Unique&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  Unique(const Unique&) = delete;
  Unique& operator=(const Unique&) = delete;
  ~Unique() { Reset(); }

  Value Get() const { return value_; }
  explicit operator bool() const { return value_ != Traits::Empty(); }

  /// Closes what is held and gives the address for a call that fills it.
  Value* Put() {
    Reset();
    return &value_;
  }

  /// Hands the value over to the caller.
  [[nodiscard]] Value Release() { return std::exchange(value_, Traits::Empty()); }

  void Reset(Value value = Traits::Empty()) noexcept {
    const Value old = std::exchange(value_, value);
    if (old == Traits::Empty()) {
      return;
    }
    const DWORD last_error = GetLastError();
    Traits::Close(old);
    SetLastError(last_error);
  }

 private:
  Value value_ = Traits::Empty();
};

}  // namespace custom_bidi
