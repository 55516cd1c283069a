#pragma once

#include "src/platform.h"

namespace custom_bidi::vault {

/// 0 when the two can name an entry, or the code that says why not.
DWORD CheckNames(WStringView target, WStringView user);

}  // namespace custom_bidi::vault
