#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

#include "pal/types.h"

namespace pal {

/// The handles of one kind and what they stand for, which is something small like a pointer. A handle says
/// its place, its kind and how often the place was used before, so one that was closed, or is of another
/// kind, is told from one that is open. A table is constant-initialised and has no destructor: handles may be
/// used while a module is initialised or taken down.
template <class Value, uintptr_t kKindTag>
class HandleTable {
 public:
  static constexpr size_t kCapacity = 1024;

  /// Null when all places are taken.
  HANDLE Insert(Value value) {
    const std::lock_guard lock(mutex_);
    for (size_t i = 0; i < kCapacity; ++i) {
      Slot& slot = slots_[i];
      if (slot.is_open)
        continue;
      ++slot.generation;
      slot.is_open = true;
      slot.value = value;
      return HandleOf(i);
    }
    return nullptr;
  }

  std::optional<Value> Find(HANDLE handle) {
    const std::lock_guard lock(mutex_);
    const Slot* slot = SlotOf(handle);
    return slot ? std::optional<Value>(slot->value) : std::nullopt;
  }

  /// What the handle stood for, now the caller's.
  std::optional<Value> Remove(HANDLE handle) {
    const std::lock_guard lock(mutex_);
    Slot* slot = SlotOf(handle);
    if (!slot)
      return std::nullopt;
    slot->is_open = false;
    return slot->value;
  }

 private:
  struct Slot {
    Value value;
    uint32_t generation;
    bool is_open;
  };

  // From the lowest bit: two of 0, as in all handles of Windows; the kind; the place; the generation.
  static constexpr int kKindShift = 2;
  static constexpr int kPlaceShift = 4;
  static constexpr int kGenerationShift = 14;
  static_assert(kKindTag >= 1 && kKindTag <= 3 && kCapacity == 1 << (kGenerationShift - kPlaceShift));

  HANDLE HandleOf(size_t place) const {
    return reinterpret_cast<HANDLE>(uintptr_t{slots_[place].generation} << kGenerationShift |
                                    place << kPlaceShift | kKindTag << kKindShift);
  }

  Slot* SlotOf(HANDLE handle) {
    const size_t place = reinterpret_cast<uintptr_t>(handle) >> kPlaceShift & (kCapacity - 1);
    return slots_[place].is_open && HandleOf(place) == handle ? &slots_[place] : nullptr;
  }

  std::mutex mutex_;
  Slot slots_[kCapacity]{};
};

inline constexpr uintptr_t kFileTag = 1;
inline constexpr uintptr_t kRegistryKeyTag = 2;
inline constexpr uintptr_t kPrinterTag = 3;

}  // namespace pal
