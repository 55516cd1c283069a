#pragma once

#include <cstdarg>

#include "pal/types.h"

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
