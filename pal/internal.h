#pragma once

/// What the files of this layer have in common: its books and faults, how a call fails, memory, handles.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "base/error_codes.h"
#include "base/types.h"
#include "pal/system.h"

namespace pal {

/// What is counted while it is out. All this costs a call one relaxed increment and one look at a
/// thread-local number.
enum class Kind {
  kHandle,
  kModule,
  kComInitialisation,
  kBstr,
  kDomObject,
  kBlock,
  kRegistryKey,
  kPrinter,
  kCertificate
};
inline constexpr int kKindCount = 9;

void CountUp(Kind kind);
void CountDown(Kind kind);

/// True when the call of `function` that asks is the one that a test wants to fail. Each function that can
/// fail asks once, before it has done anything.
bool MustFail(const char* function);

/// No call of this layer throws. What goes wrong below one inside is a shortage of memory, or as good as one.
template <class Result, class Body>
Result Guarded(Result failure, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
  }
}

/// The same for COM methods, which answer with the code.
template <class Body>
HRESULT GuardedMethod(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

/// Sets the last error and gives back `result`, for a return in one line.
template <class Result>
Result FailWith(LONG code, Result result) {
  SetLastError(static_cast<DWORD>(code));
  return result;
}

/// What GlobalAlloc and SysAllocStringLen do, for use inside this layer: in the books like theirs, but never
/// made to fail by a test that counts calls. Null when memory is short.
void* AllocateBlock(size_t size_bytes);
BSTR AllocateBstr(const OLECHAR* text, size_t length_chars);

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
      if (slot.is_open) {
        continue;
      }
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
    if (!slot) {
      return std::nullopt;
    }
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
