#include "pal/test_hooks.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "pal/internal.h"

namespace pal {
namespace {

std::atomic<long> g_live_counts[kKindCount];

// Thread-locals of this layer have no destructor: one would keep the module loaded until the thread ends.
constexpr size_t kNameCapacity = 64;
thread_local char t_failing_function[kNameCapacity];  // empty: any
thread_local int t_calls_to_go = 0;                   // 0: none is to fail
thread_local bool t_fault_fired = false;

}  // namespace

void CountUp(Kind kind) {
  g_live_counts[static_cast<int>(kind)].fetch_add(1, std::memory_order_relaxed);
}

void CountDown(Kind kind) {
  g_live_counts[static_cast<int>(kind)].fetch_sub(1, std::memory_order_relaxed);
}

bool MustFail(const char* function) {
  if (t_calls_to_go == 0) {
    return false;
  }
  if (t_failing_function[0] != 0 && std::strcmp(t_failing_function, function) != 0) {
    return false;
  }
  if (--t_calls_to_go != 0) {
    return false;
  }
  t_fault_fired = true;
  return true;
}

void FailNthCall(int n) {
  FailNthCallOf("", n);
}

void FailNthCallOf(const char* function, int n) {
  const size_t length = std::min(std::strlen(function), kNameCapacity - 1);
  std::memcpy(t_failing_function, function, length);
  t_failing_function[length] = 0;
  t_calls_to_go = n;
  t_fault_fired = false;
}

bool FaultFired() {
  return t_fault_fired;
}

void ClearFaults() {
  FailNthCallOf("", 0);
}

long LiveObjects() {
  long sum = 0;
  for (const std::atomic<long>& count : g_live_counts) {
    sum += count.load(std::memory_order_relaxed);
  }
  return sum;
}

std::string DescribeLiveObjects() {
  constexpr const char* kNames[kKindCount] = {"handles",       "modules",     "COM initialisations",
                                              "bstrs",         "DOM objects", "blocks",
                                              "registry keys", "printers",    "certificates"};
  std::string text;
  for (int kind = 0; kind < kKindCount; ++kind) {
    const long count = g_live_counts[kind].load(std::memory_order_relaxed);
    if (count != 0) {
      text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + kNames[kind];
    }
  }
  return text.empty() ? "nothing" : text;
}

}  // namespace pal
