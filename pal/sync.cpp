#include "pal/sync.h"

#include <atomic>

namespace {
constexpr uint32_t kFree = 0;
constexpr uint32_t kHeld = 1;
}  // namespace

void AcquireSRWLockExclusive(SRWLOCK* lock) {
  std::atomic_ref<uint32_t> state(lock->state);
  while (state.exchange(kHeld, std::memory_order_acquire) != kFree)
    state.wait(kHeld, std::memory_order_relaxed);
}

void ReleaseSRWLockExclusive(SRWLOCK* lock) {
  std::atomic_ref<uint32_t> state(lock->state);
  state.store(kFree, std::memory_order_release);
  state.notify_one();
}
