#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace custom_bidi::support {

/// Overwrites memory in a way that no compiler leaves out.
inline void Wipe(void* memory, size_t size_bytes) {
  auto* const bytes = static_cast<volatile unsigned char*>(memory);
  for (size_t i = 0; i < size_bytes; ++i) {
    bytes[i] = 0;
  }
}

/// Wipes what it gives back.
template <class Value>
struct WipingAllocator {
  using value_type = Value;

  WipingAllocator() = default;
  template <class Other>
  explicit WipingAllocator(const WipingAllocator<Other>& /*other*/) {}

  Value* allocate(size_t count) { return std::allocator<Value>().allocate(count); }
  void deallocate(Value* values, size_t count) {
    Wipe(values, count * sizeof(Value));
    std::allocator<Value>().deallocate(values, count);
  }
  bool operator==(const WipingAllocator& /*other*/) const { return true; }
};

/// A text that is wiped at its end, also where a string keeps a short one within itself. It is set and never
/// grown, which would leave the shorter one behind.
class SecureText : public std::string {
 public:
  SecureText() = default;
  // Made as easily as any other string. NOLINTBEGIN(google-explicit-constructor)
  SecureText(const char* text) : std::string(text) {}
  SecureText(const std::string& text) : std::string(text) {}
  // NOLINTEND(google-explicit-constructor)
  explicit SecureText(std::string_view text) : std::string(text) {}
  SecureText(const SecureText& other) = default;
  SecureText(SecureText&& other) noexcept = default;
  SecureText& operator=(const SecureText& other) { return *this = SecureText(other); }
  SecureText& operator=(SecureText&& other) noexcept {
    Wipe(data(), capacity());
    std::string::operator=(std::move(other));
    return *this;
  }
  ~SecureText() { Wipe(data(), capacity()); }
};

}  // namespace custom_bidi::support
