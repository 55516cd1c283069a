#pragma once

#include "base/error_codes.h"
#include "base/types.h"

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;

/// Opens or creates a file; see path.h for its name. A folder is ERROR_ACCESS_DENIED. `share` is always both
/// FILE_SHARE_READ and FILE_SHARE_WRITE, since files here cannot be locked; the disposition is OPEN_EXISTING
/// or CREATE_NEW. INVALID_HANDLE_VALUE on failure.
HANDLE CreateFileW(const WCHAR* path,
                   DWORD access,
                   DWORD share,
                   SECURITY_ATTRIBUTES* security,
                   DWORD disposition,
                   DWORD attributes,
                   HANDLE template_file);

/// Goes to the end of the file, which is the one place it can go to: `distance` 0, `*distance_high` 0 or
/// null, `method` FILE_END. Returns the low 32 bits of the position, with the others in `*distance_high`, or
/// INVALID_SET_FILE_POINTER. That may be a position too: the last error is then 0. Without `distance_high`, a
/// position beyond 32 bits is a failure.
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distance_high, DWORD method);

/// Writes all of `buffer` or fails. `written` receives what was written in either case.
BOOL WriteFile(HANDLE file, const void* buffer, DWORD size_bytes, DWORD* written, OVERLAPPED* overlapped);

/// Closes what CreateFileW opened.
BOOL CloseHandle(HANDLE handle);
