#pragma once

#include <vector>

#include "ixo/support/secure_text.h"
#include "src/platform.h"

namespace custom_bidi::vault {

using support::Wipe;

/// Bytes that are wiped wherever they have been, also when the vector grows. What `clear` or a smaller size
/// leaves unused is wiped with the rest, at the end.
using SecureBytes = std::vector<BYTE, support::WipingAllocator<BYTE>>;

}  // namespace custom_bidi::vault
