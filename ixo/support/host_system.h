#pragma once

/// What the families need of the system itself, in each lane in its own way.

#include <cstdio>
#include <string>
#include <string_view>

#include "src/platform.h"

namespace custom_bidi::support {

enum class Opening { kRead, kAppend };

/// Opens a file of the running executable's folder in binary, and makes one to append to; the caller closes
/// it. The name is plain ASCII; a pipe or a device is not opened. Null when that cannot be done, with ENOENT in errno when there is no such
/// file. `shown_path` receives the whole path as UTF-8.
std::FILE* OpenBesideHost(const char* name, Opening opening, std::string& shown_path);

/// Whether a file can be opened for reading: 0, or the Win32 code that says why not. The path is a Windows
/// path in both lanes.
DWORD CheckReadable(const WCHAR* path);

void Pause(DWORD milliseconds);

/// Well-formed UTF-8 to UTF-16.
WString Widen(std::string_view utf8);

}  // namespace custom_bidi::support
