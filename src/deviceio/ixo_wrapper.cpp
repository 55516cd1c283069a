#include "src/deviceio/ixo_wrapper.h"

#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

/// False when the library is not loaded; `code` is then the system's, which may be 0. Written on failure
/// only.
bool TryLoad(const WCHAR* path,
             const WCHAR* trace_format,
             const WCHAR* failure_label,
             Module& module,
             DWORD& code) {
  TraceLog(trace_format, path);
  DWORD failure = ERROR_FILENAME_EXCED_RANGE;
  if (path[0] == '.') {
    // The host's folder could not be had. The current folder is no place for libraries: anybody may own it.
    failure = ERROR_MOD_NOT_FOUND;
  } else if (TextLength(path) <= kMaxModulePathChars) {
    const HMODULE loaded = LoadLibraryW(path);
    failure = GetLastError();
    if (loaded != nullptr && loaded != static_cast<void*>(INVALID_HANDLE_VALUE)) {
      module.Reset(loaded);
      return true;
    }
  }
  TraceErrorCode(failure, failure_label);
  code = failure;
  return false;
}

bool TryLoadIxo(const WCHAR* path, Module& module, DWORD& code) {
  return TryLoad(path, W("IXO_DLL: [%s]"), W("LoadLibrary-IXO DLL"), module, code);
}

DWORD RefusePath() {
  TraceLog(W(">> IxoWrapper: Invalid DLL Name"));
  return ERROR_INVALID_PARAMETER;
}

}  // namespace

IxoWrapper::~IxoWrapper() {
  FreeModules();
}

DWORD IxoWrapper::LoadIxoLibraries(const WCHAR* ixo_path,
                                   const WCHAR* xdm_path,
                                   const WCHAR* cert_path) noexcept {
  if (IsNullOrEmpty(ixo_path) || IsNullOrEmpty(xdm_path) || IsNullOrEmpty(cert_path)) {
    return RefusePath();
  }

  DWORD code = ERROR_SUCCESS;
  if (TryLoadIxo(ixo_path, ixo_module_, code) &&
      TryLoad(xdm_path, W("XDM_DLL: [%s]"), W("LoadLibrary-XDM DLL"), xdm_module_, code) &&
      TryLoad(cert_path, W("IXOCert_DLL: [%s]"), W("LoadLibrary-IXO Cert DLL"), cert_module_, code)) {
    return ERROR_SUCCESS;
  }
  // A failure without a code counts as none: what was loaded stays until the teardown.
  if (code != ERROR_SUCCESS) {
    FreeModules();
  }
  return code;
}

DWORD IxoWrapper::LoadIxoLibrary(const WCHAR* ixo_path) noexcept {
  if (IsNullOrEmpty(ixo_path)) {
    return RefusePath();
  }
  DWORD code = ERROR_SUCCESS;
  TryLoadIxo(ixo_path, ixo_module_, code);
  return code;
}

/// In the order of loading, which is not the reverse of the members'.
void IxoWrapper::FreeModules() noexcept {
  ixo_module_.Reset();
  xdm_module_.Reset();
  cert_module_.Reset();
}

}  // namespace custom_bidi
