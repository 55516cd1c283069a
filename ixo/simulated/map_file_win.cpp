#include "ixo/simulated/map_file.h"

namespace custom_bidi::simulated {

DWORD CheckMapFile(const WCHAR* path) {
  const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError();
  }
  CloseHandle(file);
  return 0;
}

}  // namespace custom_bidi::simulated
