#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <vector>

#include "bench/soak_state.h"
#include "tests/support/machine.h"

namespace custom_bidi::bench {
namespace {

/// Wine does not tell PrivateUsage.
long CommittedKib() {
  PROCESS_MEMORY_COUNTERS_EX counters{};
  counters.cb = sizeof(counters);
  K32GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                          sizeof(counters));
  return static_cast<long>(counters.PagefileUsage / 1024);
}

/// The blocks of all heaps that are in use.
long HeapKib() {
  std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
  heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
  SIZE_T bytes = 0;
  for (HANDLE heap : heaps) {
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry)) {
      bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    HeapUnlock(heap);
  }
  return static_cast<long>(bytes / 1024);
}

/// Those of this process in a snapshot of the system.
template <class Entry>
long Count(DWORD what, BOOL (*first)(HANDLE, Entry*), BOOL (*next)(HANDLE, Entry*), DWORD Entry::*process) {
  const DWORD own = GetCurrentProcessId();
  HANDLE snapshot = CreateToolhelp32Snapshot(what, own);
  Entry entry{};
  entry.dwSize = sizeof(entry);
  long count = 0;
  for (BOOL more = first(snapshot, &entry); more; more = next(snapshot, &entry)) {
    count += entry.*process == own;
  }
  CloseHandle(snapshot);
  return count;
}

}  // namespace

ProcessState StateOfProcess() {
  return {
      .memory_kib = CommittedKib(),
      .heap_kib = HeapKib(),
      .handles = custom_bidi_test::CountOpenHandles(),
      .threads = Count(TH32CS_SNAPTHREAD, Thread32First, Thread32Next, &THREADENTRY32::th32OwnerProcessID),
      .mappings = Count(TH32CS_SNAPMODULE, Module32FirstW, Module32NextW, &MODULEENTRY32W::th32ProcessID)};
}

}  // namespace custom_bidi::bench
