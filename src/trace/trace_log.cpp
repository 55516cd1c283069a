#include "src/trace/trace_log.h"

#include <cstring>

#include "src/system_text.h"
#include "src/unique.h"

namespace custom_bidi {
namespace {

constexpr size_t kLineChars = 4096;
constexpr size_t kKeyChars = 1024;
constexpr DWORD kNoSwitch = 0xFFFFFFFF;
constexpr const WCHAR* kTraceFile = W("C:\\temp\\CustomBidi.log");
constexpr const WCHAR* kSwitchValue = W("DebugTraceEnable");
constexpr WStringView kLineEnd = W("\r\n");

/// What all calls of the process share. The handle is a plain one: it outlives every scope, and nothing may
/// be constructed or destroyed with the library itself.
struct SharedTraceFile {
  SRWLOCK lock = SRWLOCK_INIT;
  HANDLE handle = nullptr;
  unsigned shares = 0;
};

constinit SharedTraceFile g_file;

class TraceFileLock {
 public:
  TraceFileLock() noexcept { AcquireSRWLockExclusive(&g_file.lock); }
  ~TraceFileLock() { ReleaseSRWLockExclusive(&g_file.lock); }
  TraceFileLock(const TraceFileLock&) = delete;
  TraceFileLock& operator=(const TraceFileLock&) = delete;
};

bool IsOpen(HANDLE handle) {
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

HANDLE OpenForAppending(DWORD disposition) {
  return CreateFileW(kTraceFile, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// One write at the end of the file, wherever that is by then: other processes write there, too.
void AppendToFile(const void* bytes, size_t size_bytes) {
  OVERLAPPED end{};
  end.Offset = 0xFFFFFFFF;
  end.OffsetHigh = 0xFFFFFFFF;
  DWORD written_bytes = 0;
  WriteFile(g_file.handle, bytes, static_cast<DWORD>(size_bytes), &written_bytes, &end);
}

struct RegistryKeyTraits {
  using Value = HKEY;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { RegCloseKey(value); }
};

using RegistryKey = Unique<RegistryKeyTraits>;

DWORD ReadTraceSwitch(const WCHAR* key_path) {
  RegistryKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key_path, 0, KEY_READ, key.Put()) != ERROR_SUCCESS) {
    return kNoSwitch;
  }

  // The value's type does not matter: whatever it holds, up to 4 bytes, lands in the preset number.
  BYTE bytes[sizeof(DWORD)] = {0xFF, 0xFF, 0xFF, 0xFF};
  DWORD size_bytes = sizeof(bytes);
  if (RegQueryValueExW(key.Get(), kSwitchValue, nullptr, nullptr, bytes, &size_bytes) != ERROR_SUCCESS) {
    TraceLog(W("Query value fail!! [%s]"), kSwitchValue);
    return kNoSwitch;
  }
  DWORD value = 0;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

}  // namespace

namespace trace_internal {

void WriteFormatted(const WCHAR* format, std::span<const FormatArgument> arguments) noexcept {
  WCHAR message[kLineChars];
  FormatTextList(message, format, arguments);
  WriteTraceLine(message);
}

}  // namespace trace_internal

void TraceErrorCode(DWORD code, const WCHAR* label) noexcept {
  if (!TraceIsOn()) {
    return;
  }
  const SystemText text = SystemTextOf(code);
  WCHAR message[kLineChars] = {};
  if (text && !IsNullOrEmpty(label)) {
    FormatText(message, W("[%s]%s\n"), label, text.Get());
  } else if (text) {
    FormatText(message, W("%s\n"), text.Get());
  } else if (!IsNullOrEmpty(label)) {
    FormatText(message, W("%s: NULL\n"), label);
  }
  WriteTraceLine(message);
}

void StartTraceForQueue(const WCHAR* queue) noexcept {
  WCHAR key_path[kKeyChars];
  const size_t length = FormatText(
      key_path, W("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\%s\\PrinterDriverData"), queue);
  const DWORD value = length < kKeyChars ? ReadTraceSwitch(key_path) : kNoSwitch;
  const bool on = value != 0 && value != kNoSwitch;
  trace_internal::g_switch.store(on, std::memory_order_relaxed);
  if (on) {
    OpenTraceFile();
  }
}

bool OpenTraceFile() noexcept {
  const TraceFileLock lock;
  if (IsOpen(g_file.handle)) {
    return true;
  }
  g_file.handle = OpenForAppending(OPEN_EXISTING);
  if (!IsOpen(g_file.handle)) {
    g_file.handle = OpenForAppending(CREATE_NEW);
  }
  if (!IsOpen(g_file.handle) && GetLastError() == ERROR_FILE_EXISTS) {
    // Another process has made it in between.
    g_file.handle = OpenForAppending(OPEN_EXISTING);
  }
  if (!IsOpen(g_file.handle)) {
    g_file.handle = nullptr;
  }
  return g_file.handle != nullptr;
}

void WriteTraceLine(const WCHAR* message) noexcept {
  if (message == nullptr) {
    return;
  }
  const TraceFileLock lock;
  if (!IsOpen(g_file.handle)) {
    return;
  }

  SYSTEMTIME now;
  GetLocalTime(&now);
  WCHAR line[kLineChars];
  // Two blanks stand between the stamp and the message.
  size_t length =
      FormatText(line, W("[%02d:%02d:%02d.%03d]  "), now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
  const std::span<WCHAR> room = std::span(line).subspan(length, kLineChars - length - kLineEnd.size());
  FormatText(room, W("%s"), message);  // which cuts no pair
  length += TextLength(room.data());
  CopyText(std::span(line).subspan(length), kLineEnd);
  length += kLineEnd.size();

  LARGE_INTEGER size_bytes{};
  if (GetFileSizeEx(g_file.handle, &size_bytes) && size_bytes.QuadPart % LONGLONG{sizeof(WCHAR)} != 0) {
    // Half a unit is left of a line that a full disk cut. This makes it a whole one, most often the right one.
    AppendToFile("", 1);
  }
  AppendToFile(line, length * sizeof(WCHAR));
}

TraceShare::TraceShare() noexcept {
  const TraceFileLock lock;
  ++g_file.shares;
}

TraceShare::~TraceShare() {
  const TraceFileLock lock;
  if (--g_file.shares != 0 || !IsOpen(g_file.handle)) {
    return;
  }
  CloseHandle(g_file.handle);
  g_file.handle = nullptr;
}

}  // namespace custom_bidi
