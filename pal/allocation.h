#pragma once

#include <cstddef>
#include <string_view>

#include "pal/types.h"

namespace pal {

/// What GlobalAlloc and SysAllocStringLen do, for use inside this layer: in the books like theirs, but never
/// made to fail by a test that counts calls. Null when memory is short.
void* AllocateBlock(size_t size_bytes);
BSTR AllocateBstr(std::u16string_view text);

}  // namespace pal
