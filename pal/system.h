#pragma once

/// What a program asks of the system itself: the last error and the texts of errors, the time, locks, the
/// environment, the language.

#include <cstdarg>
#include <cstdint>

#include "base/error_codes.h"
#include "base/types.h"

/// The calling thread's last error. A call that succeeds leaves it as it was unless its header says
/// otherwise.
DWORD GetLastError();
void SetLastError(DWORD code);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

/// The English text of a Win32 code, ending in CR LF. `flags` is FORMAT_MESSAGE_ALLOCATE_BUFFER |
/// FORMAT_MESSAGE_FROM_SYSTEM, so `buffer` is really a WCHAR** and receives a block for LocalFree; `language`
/// is 0x400, the user's; `source` and `arguments` are null. Returns the length without the NUL. 0, with the
/// block null, and ERROR_MR_MID_NOT_FOUND when there is no text for the code, ERROR_INVALID_PARAMETER when
/// the text has a place for an argument.
DWORD FormatMessageW(DWORD flags,
                     const void* source,
                     DWORD code,
                     DWORD language,
                     WCHAR* buffer,
                     DWORD size_chars,
                     va_list* arguments);

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;      ///< 1 to 12
  WORD wDayOfWeek;  ///< 0 is Sunday
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

/// One reading of the system clock, in the zone that `TZ` names now, else in the machine's.
void GetLocalTime(SYSTEMTIME* time);

/// A lock that is all zero when free, needs no end, and is not recursive.
struct alignas(8) SRWLOCK {
  uint32_t state;
  uint32_t unused_;
};

inline constexpr SRWLOCK SRWLOCK_INIT{};

void AcquireSRWLockExclusive(SRWLOCK* lock);
void ReleaseSRWLockExclusive(SRWLOCK* lock);

/// Copies the variable's value and its NUL, and returns its length without the NUL; when `capacity_chars` is
/// too small, copies nothing and returns the capacity that is needed, NUL included. 0 and
/// ERROR_ENVVAR_NOT_FOUND when it is not set; 0 and ERROR_SUCCESS when it is set to nothing. Names are
/// case-sensitive here. PROCESSOR_ARCHITECTURE is always set: to the machine's unless the environment says
/// otherwise.
DWORD GetEnvironmentVariableW(const WCHAR* name, WCHAR* value, DWORD capacity_chars);

inline constexpr LCTYPE LOCALE_SISO639LANGNAME = 0x59;

/// The user's language as ISO 639 has it, two letters (three for the few languages that have no two): that of
/// LC_ALL, LC_MESSAGES or LANG, the first that is set and not empty; "en" when that names no language, as "C"
/// does. `locale` is 0, the user's. Returns the units written, NUL included; with a capacity of 0 the units
/// needed; 0 on failure.
int GetLocaleInfoW(LCID locale, LCTYPE type, WCHAR* text, int capacity_chars);
