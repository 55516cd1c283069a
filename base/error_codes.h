#pragma once

/// The Win32 codes and HRESULTs that this layer gives or that its callers name. Their types are those of the
/// Windows headers: codes are signed there, although GetLastError is not.

#include <string_view>

#include "base/types.h"

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG NO_ERROR = 0;
inline constexpr LONG ERROR_INVALID_FUNCTION = 1;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_INVALID_DATA = 13;
inline constexpr LONG ERROR_WRITE_FAULT = 29;
inline constexpr LONG ERROR_GEN_FAILURE = 31;
inline constexpr LONG ERROR_LOCK_VIOLATION = 33;
inline constexpr LONG ERROR_FILE_EXISTS = 80;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_DISK_FULL = 112;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_INVALID_NAME = 123;
inline constexpr LONG ERROR_INVALID_LEVEL = 124;
inline constexpr LONG ERROR_MOD_NOT_FOUND = 126;
inline constexpr LONG ERROR_PROC_NOT_FOUND = 127;
inline constexpr LONG ERROR_ALREADY_EXISTS = 183;
inline constexpr LONG ERROR_BAD_EXE_FORMAT = 193;
inline constexpr LONG ERROR_ENVVAR_NOT_FOUND = 203;
inline constexpr LONG ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr LONG ERROR_FILE_TOO_LARGE = 223;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr LONG ERROR_NOT_FOUND = 1168;
inline constexpr LONG ERROR_NO_MATCH = 1169;
inline constexpr LONG ERROR_INVALID_PRINTER_NAME = 1801;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT RPC_E_CHANGED_MODE = static_cast<HRESULT>(0x80010106);
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT CO_E_NOTINITIALIZED = static_cast<HRESULT>(0x800401F0);
inline constexpr HRESULT CRYPT_E_NOT_FOUND = static_cast<HRESULT>(0x80092004);
inline constexpr HRESULT CRYPT_E_ASN1_EOD = static_cast<HRESULT>(0x80093102);
inline constexpr HRESULT CRYPT_E_ASN1_CORRUPT = static_cast<HRESULT>(0x80093103);
inline constexpr HRESULT CRYPT_E_ASN1_BADTAG = static_cast<HRESULT>(0x8009310B);

namespace base {

/// The English text of a code, without CR LF; "%1" is the place of an argument. An HRESULT that was made of a
/// Win32 code has that one's text. Empty when there is none.
std::u16string_view TextOfCode(DWORD code);

}  // namespace base
