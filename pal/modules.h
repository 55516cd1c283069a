#pragma once

#include "base/types.h"

inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 2;
inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

/// Loads a shared library by its path (path.h); the system's folders are not searched. Blanks at the end of
/// the path do not count, nor does the case of letters in the file's own name, as against the folders'. A
/// name without extension gets ".dll", one that ends in a dot none. ERROR_MOD_NOT_FOUND
/// when the file, or a library that it needs, is missing; ERROR_BAD_EXE_FORMAT when the file is no whole
/// library for this machine; ERROR_ACCESS_DENIED when it may not be read. A null path is
/// ERROR_INVALID_PARAMETER.
HMODULE LoadLibraryW(const WCHAR* path);

/// Undoes one LoadLibraryW. ERROR_INVALID_HANDLE for null.
BOOL FreeLibrary(HMODULE module);

/// A function that the module itself exports; what only its dependencies export is ERROR_PROC_NOT_FOUND too,
/// and so is anything in a null module.
FARPROC GetProcAddress(HMODULE module, const char* name);

/// The module that holds the address `name`: `flags` is GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
/// GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, and the module is not to be freed. ERROR_MOD_NOT_FOUND, and
/// a null module, when no module holds the address.
BOOL GetModuleHandleExW(DWORD flags, const WCHAR* name, HMODULE* module);

/// The full path of the module's file, or, for a null module, of the process's executable, which it keeps
/// when the file is removed or replaced. Returns the length
/// without the NUL. A name that does not fit is cut and terminated, the result is then `capacity_chars`, and
/// the last error ERROR_INSUFFICIENT_BUFFER. 0 on any other failure.
DWORD GetModuleFileNameW(HMODULE module, WCHAR* name, DWORD capacity_chars);
