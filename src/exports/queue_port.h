#pragma once

#include <span>

#include "src/platform.h"

namespace custom_bidi {

inline constexpr size_t kPortChars = 256;

/// Copies the port name of a print queue as the spooler gives it (several ports come as one list), at most
/// 255 characters and terminated. `port` stays as it was when the queue or its port cannot be had.
void GetQueuePortName(const WCHAR* queue, std::span<WCHAR, kPortChars> port) noexcept;

}  // namespace custom_bidi
