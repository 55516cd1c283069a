#pragma once

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

/// Whether the data-map file can be opened for reading: 0, or the Win32 code that says why not. The path is a
/// Windows path in both lanes.
DWORD CheckMapFile(const WCHAR* path);

}  // namespace custom_bidi::simulated
