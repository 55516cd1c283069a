#pragma once

/// The frame around every call into a device library.
///
/// The libraries are made by Microsoft's compiler. What that raises is a structured exception that a compiler
/// with exceptions of another kind neither catches nor cleans up under. So each bare call runs in a frame
/// that turns it into an exception of our own: a raised DWORD as that DWORD, anything else as
/// ForeignException. The library's frames are unwound and what it raised is destroyed, once, before that.
/// What our own compiler's code raises passes through as it is; so does a crash (an access violation, say),
/// which is the host's and its crash reporter's.

#include <concepts>
#include <type_traits>

namespace custom_bidi {

/// What a device library raised when it was no DWORD and not made by our compiler.
struct ForeignException {};

/// Runs `call(context)` in the frame. Nothing between the two may own anything: it would not be released.
void RunInDeviceFrame(void (*call)(void*), void* context);

/// Runs `call`, which makes one bare call into a device library and nothing else, and hands on its result.
template <std::invocable Call>
std::invoke_result_t<Call> CallDevice(Call call) {
  using Result = std::invoke_result_t<Call>;
  if constexpr (std::is_void_v<Result>) {
    RunInDeviceFrame([](void* context) { (*static_cast<Call*>(context))(); }, &call);
  } else {
    static_assert(std::is_trivially_destructible_v<Result>);
    struct Run {
      Call call;
      Result result;
    } run{call, {}};
    RunInDeviceFrame(
        [](void* context) {
          auto* const run = static_cast<Run*>(context);
          run->result = run->call();
        },
        &run);
    return run.result;
  }
}

}  // namespace custom_bidi
