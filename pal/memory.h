#pragma once

#include <cstddef>

#include "pal/types.h"

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
