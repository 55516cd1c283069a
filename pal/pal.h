#pragma once

/// The Windows calls that the library makes, for Linux: real names, real widths, real codes, the last error
/// per thread. It is a small layer. What nobody calls is not here, and an argument that is not supported
/// fails (ERROR_INVALID_PARAMETER, E_INVALIDARG); it is never ignored.
///
/// Everything is linked statically and hidden, so each module has a copy of its own: its own last error, its
/// own count of COM initialisations, its own books in test_hooks.h. Only BSTRs and GlobalAlloc blocks may be
/// released by another copy than the one that made them.

#include "base/error_codes.h"
#include "base/types.h"
#include "pal/com.h"
#include "pal/crypt.h"
#include "pal/file.h"
#include "pal/memory.h"
#include "pal/modules.h"
#include "pal/registry.h"
#include "pal/spooler.h"
#include "pal/system.h"
