// In a file of its own: where a compiler sees into them, it takes malloc and free for a mismatched pair.

#include <cstdlib>
#include <new>

// From the linker: where the program's code begins and ends.
extern "C" const char __executable_start;
extern "C" const char etext;

namespace {

thread_local int t_asked_for = 0;
thread_local int t_to_go = 0;  // 0: none is to fail

/// Null when the allocation that `caller` asks for is to fail, or does.
void* Allocate(size_t size, const void* caller) {
  if (t_to_go != 0 && caller >= &__executable_start && caller < &etext && --t_to_go == 0) {
    return nullptr;
  }
  return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(size_t size) {
  if (void* const block = Allocate(size, __builtin_return_address(0))) {
    return block;
  }
  throw std::bad_alloc();
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size, __builtin_return_address(0));
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, size_t) noexcept {
  std::free(block);
}

// Else the address sanitizer's own would take what the one above has allocated for a mismatched pair.
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  std::free(block);
}

namespace custom_bidi_test {

/// From now on the n-th allocation that the program's own code makes on this thread fails, counting from 1; 0
/// calls it off. Returns whether the one asked for before has failed. The library's code is the program's.
bool FailNthAllocation(int n) {
  const bool failed = t_asked_for != 0 && t_to_go == 0;
  t_asked_for = t_to_go = n;
  return failed;
}

}  // namespace custom_bidi_test
