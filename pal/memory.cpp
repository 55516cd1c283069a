#include "pal/memory.h"

#include <algorithm>
#include <cstdlib>

#include "pal/accounting.h"
#include "pal/allocation.h"
#include "pal/guarded.h"

namespace {

void* FreeBlock(void* block) {
  if (block) {
    std::free(block);
    pal::CountDown(pal::Kind::kBlock);
  }
  return nullptr;
}

}  // namespace

void* pal::AllocateBlock(size_t size_bytes) {
  void* block = std::calloc(std::max<size_t>(size_bytes, 1), 1);
  if (block)
    CountUp(Kind::kBlock);
  return block;
}

HGLOBAL GlobalAlloc(UINT flags, size_t size_bytes) {
  if (pal::MustFail("GlobalAlloc"))
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, HGLOBAL{});
  if (flags != GPTR)
    return pal::FailWith(ERROR_INVALID_PARAMETER, HGLOBAL{});
  void* block = pal::AllocateBlock(size_bytes);
  return block ? block : pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, HGLOBAL{});
}

HGLOBAL GlobalFree(HGLOBAL block) {
  return FreeBlock(block);
}

HLOCAL LocalFree(HLOCAL block) {
  return FreeBlock(block);
}

void* CoTaskMemAlloc(size_t size_bytes) {
  if (pal::MustFail("CoTaskMemAlloc"))
    return nullptr;
  void* block = std::malloc(std::max<size_t>(size_bytes, 1));
  if (block)
    pal::CountUp(pal::Kind::kBlock);
  return block;
}

void CoTaskMemFree(void* block) {
  FreeBlock(block);
}
