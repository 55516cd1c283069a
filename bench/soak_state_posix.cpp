#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "bench/soak_state.h"
#include "tests/support/machine.h"

namespace custom_bidi::bench {
namespace {

/// A number of /proc/self/status.
long StatusNumber(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word == name + ":") {
      long number = 0;
      status >> number;
      return number;
    }
  }
  return 0;
}

long CountMappings() {
  std::ifstream maps("/proc/self/maps");
  return std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
}

}  // namespace

ProcessState StateOfProcess() {
  malloc_trim(0);
  const struct mallinfo2 heap = mallinfo2();
  return {.memory_kib = StatusNumber("VmRSS"),
          .heap_kib = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024),
          .handles = custom_bidi_test::CountOpenHandles(),
          .threads = StatusNumber("Threads"),
          .mappings = CountMappings()};
}

}  // namespace custom_bidi::bench
