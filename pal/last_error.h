#pragma once

#include "pal/types.h"

/// The calling thread's last error. A call that succeeds leaves it as it was unless its header says
/// otherwise.
DWORD GetLastError();
void SetLastError(DWORD code);
