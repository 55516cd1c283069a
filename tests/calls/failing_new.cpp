// In a file of its own: where a compiler sees into them, it takes malloc and free for a mismatched pair.
#include "tests/calls/failing_new.h"

#include <cstdlib>
#include <new>

// From the linker: where the program's code begins and ends.
extern "C" const char __executable_start;
extern "C" const char etext;

namespace {

thread_local int t_asked_for = 0;
thread_local int t_to_go = 0;  // 0: none is to fail

bool IsInProgram(const void* caller) {
  return caller >= &__executable_start && caller < &etext;
}

}  // namespace

void* operator new(size_t size) {
  if (t_to_go != 0 && IsInProgram(__builtin_return_address(0)) && --t_to_go == 0)
    throw std::bad_alloc();
  if (void* const block = std::malloc(size != 0 ? size : 1))
    return block;
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, size_t) noexcept {
  std::free(block);
}

bool custom_bidi_test::FailNthAllocation(int n) {
  const bool failed = t_asked_for != 0 && t_to_go == 0;
  t_asked_for = t_to_go = n;
  return failed;
}
