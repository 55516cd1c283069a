#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::vault {

/// Overwrites memory in a way that no compiler leaves out.
inline void Wipe(void* memory, size_t size_bytes) {
  auto* const bytes = static_cast<volatile BYTE*>(memory);
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

/// Bytes that are wiped wherever they have been, also when the vector grows. What `clear` or a smaller size
/// leaves unused is wiped with the rest, at the end.
using SecureBytes = std::vector<BYTE, WipingAllocator<BYTE>>;

}  // namespace custom_bidi::vault
