#include "pal/last_error.h"

namespace {
thread_local DWORD t_last_error = 0;
}

DWORD GetLastError() {
  return t_last_error;
}

void SetLastError(DWORD code) {
  t_last_error = code;
}
