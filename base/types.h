#pragma once

/// The basic types of Windows with the widths that they have there.

#include <cstddef>
#include <cstdint>
#include <cstring>

using BOOL = int32_t;
using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using CHAR = char;
using SHORT = int16_t;
using USHORT = uint16_t;
using INT = int32_t;
using UINT = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using FLOAT = float;
using DOUBLE = double;
using LSTATUS = LONG;
using HRESULT = LONG;
using ACCESS_MASK = DWORD;
using REGSAM = ACCESS_MASK;
using LCID = DWORD;
using LCTYPE = DWORD;

using WCHAR = char16_t;
using OLECHAR = WCHAR;
using BSTR = OLECHAR*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;

using HANDLE = void*;
using HGLOBAL = HANDLE;
using HLOCAL = HANDLE;
// NOLINTBEGIN(bugprone-reserved-identifier): the names that Windows has
using HMODULE = struct HINSTANCE__*;
using HKEY = struct HKEY__*;
// NOLINTEND(bugprone-reserved-identifier)
using FARPROC = intptr_t (*)();

// Macros as on Windows, guarded as there: other libraries' headers have the same two.
#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(intptr_t{-1});

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(const GUID& a, const GUID& b) {
  return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

constexpr bool SUCCEEDED(HRESULT result) {
  return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
  return result < 0;
}
