#pragma once

#include <new>
#include <utility>

#include "pal/error_codes.h"
#include "pal/last_error.h"

namespace pal {

/// No call of this layer throws. What goes wrong below one inside is a shortage of memory, or as good as one.
template <class Result, class Body>
Result Guarded(Result failure, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
  }
}

/// The same for COM methods, which answer with the code.
template <class Body>
HRESULT GuardedMethod(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

/// Sets the last error and gives back `result`, for a return in one line.
template <class Result>
Result FailWith(LONG code, Result result) {
  SetLastError(static_cast<DWORD>(code));
  return result;
}

}  // namespace pal
