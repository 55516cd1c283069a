#pragma once

#include "src/platform.h"

namespace custom_bidi {

/// Reads hexadecimal digits as the C library's wcstoul does at base 16, on Windows: white space, a sign and
/// 0x in front are allowed, the number ends at the first other character, no digits give 0, and what does not
/// fit into 32 bits gives 4294967295. A negative number is taken modulo 2^32.
DWORD ParseErrorState(WStringView text) noexcept;

}  // namespace custom_bidi
