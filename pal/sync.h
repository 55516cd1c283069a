#pragma once

#include <cstdint>

/// A lock that is all zero when free, needs no end, and is not recursive.
struct alignas(8) SRWLOCK {
  uint32_t state;
  uint32_t unused_;
};

inline constexpr SRWLOCK SRWLOCK_INIT{};

void AcquireSRWLockExclusive(SRWLOCK* lock);
void ReleaseSRWLockExclusive(SRWLOCK* lock);
