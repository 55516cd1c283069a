#include "src/exports/module_paths.h"

#include "src/text.h"
#include "src/trace/trace_log.h"

namespace custom_bidi {
namespace {

constexpr DWORD kPathChars = 1024;

/// Writes the module's file name into `path`; the code, 0 on success.
DWORD ReadModulePath(WCHAR (&path)[kPathChars], bool own_module) {
  HMODULE module = nullptr;
  if (own_module) {
    constexpr DWORD kFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    // An address within this library stands for the library.
    static constexpr char kOwnAddress = 0;
    if (!GetModuleHandleExW(kFlags, reinterpret_cast<const WCHAR*>(&kOwnAddress), &module)) {
      const DWORD code = GetLastError();
      TraceErrorCode(code, W("GetModuleHandleEx failed!!"));
      return code;
    }
  }
  if (GetModuleFileNameW(module, path, kPathChars) == 0)
    return GetLastError();
  path[kPathChars - 1] = 0;  // not every system terminates a name that it cut
  return ERROR_SUCCESS;
}

}  // namespace

DWORD GetModuleFolder(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept {
  if (buffer == nullptr || capacity_chars == 0)
    return ERROR_PATH_NOT_FOUND;
  WCHAR path[kPathChars] = {};
  const DWORD code = ReadModulePath(path, own_module);
  if (code == ERROR_SUCCESS) {
    const WStringView whole(path);
    CopyText({buffer, capacity_chars}, whole.substr(0, whole.rfind(WCHAR{'\\'})));
  }
  return code;
}

DWORD GetModuleFullPath(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept {
  if (buffer == nullptr || capacity_chars == 0)
    return ERROR_PATH_NOT_FOUND;
  WCHAR path[kPathChars] = {};
  const DWORD code = ReadModulePath(path, own_module);
  if (code == ERROR_SUCCESS)
    CopyText({buffer, capacity_chars}, path);
  return code;
}

}  // namespace custom_bidi
