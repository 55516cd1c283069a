#pragma once

/// The diagnostic trace: time-stamped lines of UTF-16 text, appended to C:\temp\CustomBidi.log while the
/// registry value DebugTraceEnable of a print queue switches it on.
///
/// Switch and file belong to the process and are guarded, so calls may run at once. The trace never fails and
/// never stops an operation: a missing folder or a failed write only loses lines. None of these functions
/// throws.

#include <atomic>

#include "src/platform.h"
#include "src/text.h"

namespace custom_bidi {

namespace trace_internal {

inline constinit std::atomic<bool> g_switch{false};

void WriteFormatted(const WCHAR* format, std::span<const FormatArgument> arguments) noexcept;

}  // namespace trace_internal

inline bool TraceIsOn() noexcept {
  return trace_internal::g_switch.load(std::memory_order_relaxed);
}

/// Writes one line: `format` with its arguments (see FormatText), cut to 4095 characters. While the trace is
/// off this is a single test.
template <class... Arguments>
inline void TraceLog(const WCHAR* format, const Arguments&... arguments) noexcept {
  if (!TraceIsOn()) {
    return;
  }
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  trace_internal::WriteFormatted(format, list);
}

/// Writes the system's text for the Win32 code `code`, headed by `label` (which may be null or empty).
void TraceErrorCode(DWORD code, const WCHAR* label) noexcept;

/// Reads the queue's switch and, when it is on, opens the trace file. Off for a name that is too long for its
/// registry key (957 characters).
void StartTraceForQueue(const WCHAR* queue) noexcept;

/// Opens or creates the trace file unless it is open. Returns whether it is open. The folder is never
/// created.
bool OpenTraceFile() noexcept;

/// Appends one stamped line; nothing when the file is not open or `message` is null. A line longer than 4095
/// characters loses the end of its message, not its line end.
void WriteTraceLine(const WCHAR* message) noexcept;

/// A live request context's share in the trace file. The file closes when the last share goes, so no call's
/// end takes the file from under another one; the switch stays as it is.
class TraceShare {
 public:
  TraceShare() noexcept;
  ~TraceShare();
  TraceShare(const TraceShare&) = delete;
  TraceShare& operator=(const TraceShare&) = delete;
};

}  // namespace custom_bidi
