#pragma once

/// The one guard of the library. Everything that an operation or a device library raises ends here: nothing
/// leaves an export, and nothing may end the host's process.

#include <concepts>
#include <type_traits>

#include "src/trace/trace_log.h"

namespace custom_bidi {

/// Runs `body`. A raised DWORD (a Win32 code) ends it with the result of `on_code(code)`, anything else that
/// is raised, failed allocations included, with the result of `on_other()`. Neither of the two may raise.
template <std::invocable Body, class OnCode, class OnOther>
std::invoke_result_t<Body> Guarded(Body&& body, OnCode&& on_code, OnOther&& on_other) noexcept {
  try {
    return body();
  } catch (DWORD code) {
    return on_code(code);
  } catch (...) {
    return on_other();
  }
}

/// Guards a request-context operation: a raised code is its result, traced under `label` unless it is 0;
/// anything else is traced by the operation's name and gives `otherwise`.
template <std::invocable Body>
DWORD GuardedOperation(const WCHAR* operation, const WCHAR* label, DWORD otherwise, Body&& body) noexcept {
  return Guarded(
      body,
      [label](DWORD code) {
        if (code != ERROR_SUCCESS) {
          TraceErrorCode(code, label);
        }
        return code;
      },
      [operation, otherwise] {
        TraceLog(W("Error in %s"), operation);
        return otherwise;
      });
}

/// Guards an operation on a device library: a raised code is its result, without a line; anything else is
/// traced by the operation's name and gives `otherwise`.
template <std::invocable Body>
DWORD GuardedDeviceCall(const WCHAR* operation, DWORD otherwise, Body&& body) noexcept {
  return Guarded(
      body, [](DWORD code) { return code; },
      [operation, otherwise] {
        TraceLog(W("Error in %s!!"), operation);
        return otherwise;
      });
}

}  // namespace custom_bidi
