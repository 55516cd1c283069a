#pragma once

/// What callers allocate and free: blocks, texts, and the values that hold texts.

#include <cstddef>

#include "base/error_codes.h"
#include "base/types.h"

inline constexpr UINT GPTR = 0x40;

/// A zeroed block; `flags` is GPTR. Null on failure.
HGLOBAL GlobalAlloc(UINT flags, size_t size_bytes);
/// Null is allowed. Returns null.
HGLOBAL GlobalFree(HGLOBAL block);
/// Frees the text of FormatMessageW. Null is allowed. Returns null.
HLOCAL LocalFree(HLOCAL block);

/// A block that may cross a module boundary. Null on failure.
void* CoTaskMemAlloc(size_t size_bytes);
/// Null is allowed.
void CoTaskMemFree(void* block);

using VARTYPE = uint16_t;
using VARIANT_BOOL = int16_t;
using DATE = double;
using SCODE = LONG;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23
};

/// 24 bytes. Objects, arrays and references are not supported: no VARIANT here ever holds one.
struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    FLOAT fltVal;
    DOUBLE dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    DATE date;
    BSTR bstrVal;
    CHAR cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    void* unused_[2];  ///< the record of a real VARIANT, which gives it its size
  };
};

/// A BSTR is preceded by its length in bytes (4 bytes) and followed by a NUL that the length does not count.
/// It may hold NULs. A null BSTR is an empty text. The makers return null when memory is short.

/// A copy of a NUL-terminated text; null for null.
BSTR SysAllocString(const OLECHAR* text);
/// A copy of `length_chars` units; of zeros when `text` is null.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length_chars);
/// In units; 0 for null.
UINT SysStringLen(BSTR text);
/// Null is allowed.
void SysFreeString(BSTR text);

void VariantInit(VARIANT* variant);
/// Frees the BSTR, if it holds one, and makes it VT_EMPTY. DISP_E_BADVARTYPE, with `variant` as it was, for a
/// type that is not in VARENUM.
HRESULT VariantClear(VARIANT* variant);
