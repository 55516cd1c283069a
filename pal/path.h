#pragma once

#include <string>
#include <string_view>

#include "pal/types.h"

namespace pal {

/// Turns a path as Windows writes it into the POSIX path that it stands for, which is always absolute. Both
/// slashes separate; a drive letter may be in either case; ".", ".." and doubled slashes are resolved in the
/// text, so nothing leads out of a drive. Names are looked up as they are written, case-sensitively, on C:
/// too.
///   Z:\a\b    /a/b
///   C:\a      <home>/drive_c/a
///   \a, /a    /a
///   a\b       relative to the working directory
/// Returns 0, or ERROR_PATH_NOT_FOUND for an empty path, any other drive and a path that begins with two
/// slashes, or ERROR_INVALID_NAME for a drive without a slash behind it ("Z:a") and for text that is not
/// UTF-16.
DWORD ToPosixPath(std::u16string_view path, std::string* posix_path);

/// The path on drive Z: of an absolute POSIX path. A relative one is taken from the working directory.
std::u16string ToWindowsPath(std::string_view posix_path);

}  // namespace pal
