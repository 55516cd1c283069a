#pragma once

/// The codes that the stand-ins answer with.

#include <new>

#include "src/platform.h"

namespace custom_bidi::support {

constexpr HRESULT ResultFromWin32(DWORD code) {
  return static_cast<HRESULT>(0x80070000u | code);
}

/// The code within an HRESULT that was made of one; any other as it stands.
constexpr DWORD CodeOf(HRESULT result) {
  const auto bits = static_cast<DWORD>(result);
  return (bits & 0xFFFF0000) == 0x80070000 ? bits & 0xFFFF : bits;
}

inline constexpr HRESULT kNoMemory = ResultFromWin32(ERROR_NOT_ENOUGH_MEMORY);

/// What `body` gives, or `failed` where memory cannot be had for it.
template <class Result, class Body>
Result OrNoMemory(Result failed, Body&& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return failed;
  }
}

/// The same for what has no result that could say so: the code is raised, a DWORD.
template <class Body>
auto RaisingNoMemory(Body&& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    throw DWORD{ERROR_NOT_ENOUGH_MEMORY};
  }
}

/// What the device answers when it does not know an item or object.
inline constexpr HRESULT kElementNotFound = ResultFromWin32(1168);

}  // namespace custom_bidi::support
