#pragma once

#include "pal/types.h"

/// Copies the variable's value and its NUL, and returns its length without the NUL; when `capacity_chars` is
/// too small, copies nothing and returns the capacity that is needed, NUL included. 0 and
/// ERROR_ENVVAR_NOT_FOUND when it is not set; 0 and ERROR_SUCCESS when it is set to nothing. Names are
/// case-sensitive here. PROCESSOR_ARCHITECTURE is always set: to the machine's unless the environment says
/// otherwise.
DWORD GetEnvironmentVariableW(const WCHAR* name, WCHAR* value, DWORD capacity_chars);
