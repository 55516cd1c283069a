#pragma once

#include <array>

namespace custom_bidi::bench {

/// What a process holds of what runs out.
struct ProcessState {
  long memory_kib;  // of its own: resident, or committed on Windows
  long heap_kib;    // handed out by the heap, and not given back
  long handles;     // file descriptors
  long threads;
  long mappings;  // or loaded modules on Windows

  static constexpr std::array kNames = {"memory KiB", "heap KiB", "handles", "threads", "mappings"};
  std::array<long, 5> Values() const { return {memory_kib, heap_kib, handles, threads, mappings}; }
};

/// As it is now, once what is free has been given back to the system.
ProcessState StateOfProcess();

}  // namespace custom_bidi::bench
