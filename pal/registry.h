#pragma once

/// The registry of the one file `<home>/registry.reg` (home_registry.h), read anew by each open.

#include "base/error_codes.h"
#include "base/types.h"

inline constexpr REGSAM KEY_READ = 0x20019;

inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(intptr_t{static_cast<LONG>(0x80000002)});

/// Opens a key below `key`, which is HKEY_LOCAL_MACHINE or an open key, for reading: `options` is 0, `access`
/// KEY_READ. The values are those of this moment. ERROR_FILE_NOT_FOUND when there is no such key.
LSTATUS RegOpenKeyExW(HKEY key, const WCHAR* subkey, DWORD options, REGSAM access, HKEY* opened);

/// Reads a value's bytes and type; a null or empty name is the key's unnamed value. `*size_bytes` is the
/// capacity on entry and the value's size on return, also with ERROR_MORE_DATA, when `data` stays as it was.
/// `type` and `data` may be null, `reserved` must be.
LSTATUS RegQueryValueExW(HKEY key,
                         const WCHAR* name,
                         DWORD* reserved,
                         DWORD* type,
                         BYTE* data,
                         DWORD* size_bytes);

LSTATUS RegCloseKey(HKEY key);
