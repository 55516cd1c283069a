#pragma once

#include "src/platform.h"

namespace custom_bidi {

/// Copies the folder of the process's executable (of this library's own file with `own_module`) into
/// `buffer`, without the backslash at its end, at most `capacity_chars - 1` characters and terminated.
/// Returns 0, 3 for a missing buffer, or the system's code with the buffer untouched.
DWORD GetModuleFolder(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept;

/// The same for the file's full path.
DWORD GetModuleFullPath(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept;

}  // namespace custom_bidi
