#include "pal/test_hooks.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "base/thread_slot.h"
#include "pal/internal.h"

namespace pal {
namespace {

std::atomic<long> g_live_counts[kKindCount];

constexpr size_t kNameCapacity = 64;

struct Fault {
  char function[kNameCapacity];  // empty: any
  int calls_to_go;               // 0: none is to fail
  bool has_fired;
};
/// A Fault's address, where a test has asked for one.
[[gnu::init_priority(101)]] base::ThreadSlot g_fault;

Fault* TheFault() {
  return reinterpret_cast<Fault*>(g_fault.Get());
}

}  // namespace

void CountUp(Kind kind) {
  g_live_counts[static_cast<int>(kind)].fetch_add(1, std::memory_order_relaxed);
}

void CountDown(Kind kind) {
  g_live_counts[static_cast<int>(kind)].fetch_sub(1, std::memory_order_relaxed);
}

bool MustFail(const char* function) {
  Fault* const fault = TheFault();
  if (fault == nullptr || fault->calls_to_go == 0) {
    return false;
  }
  if (fault->function[0] != 0 && std::strcmp(fault->function, function) != 0) {
    return false;
  }
  if (--fault->calls_to_go != 0) {
    return false;
  }
  fault->has_fired = true;
  return true;
}

void FailNthCall(int n) {
  FailNthCallOf("", n);
}

void FailNthCallOf(const char* function, int n) {
  ClearFaults();
  auto fault = std::make_unique<Fault>(Fault{{}, n, false});
  std::memcpy(fault->function, function, std::min(std::strlen(function), kNameCapacity - 1));
  g_fault.Set(reinterpret_cast<uintptr_t>(fault.release()));
}

bool FaultFired() {
  return TheFault() != nullptr && TheFault()->has_fired;
}

void ClearFaults() {
  delete TheFault();
  g_fault.Set(0);
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
