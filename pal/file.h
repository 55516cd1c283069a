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

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED {
  DWORD Offset;
  DWORD OffsetHigh;
};
struct LARGE_INTEGER {
  LONGLONG QuadPart;
};

/// Opens or creates a file that is appended to; see base/files.h for its name. `share` is always both
/// FILE_SHARE_READ and FILE_SHARE_WRITE, since files here cannot be locked; the disposition is OPEN_EXISTING
/// or CREATE_NEW. INVALID_HANDLE_VALUE on failure; ERROR_ACCESS_DENIED for anything but a regular file, for a
/// link in its place, and for another user's: what is written here must not end up in a file that somebody
/// else chose.
HANDLE CreateFileW(const WCHAR* path,
                   DWORD access,
                   DWORD share,
                   SECURITY_ATTRIBUTES* security,
                   DWORD disposition,
                   DWORD attributes,
                   HANDLE template_file);

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size_bytes);

/// Writes all of `buffer` at the file's end, as it is then, or fails. `written` receives what was written in
/// either case. The end is the one place to write at: both offsets of `overlapped` are 0xFFFFFFFF.
BOOL WriteFile(HANDLE file, const void* buffer, DWORD size_bytes, DWORD* written, OVERLAPPED* overlapped);

/// Closes what CreateFileW opened.
BOOL CloseHandle(HANDLE handle);
