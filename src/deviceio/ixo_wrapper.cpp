#include "src/deviceio/ixo_wrapper.h"

#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

DWORD LoadModule(const WCHAR* path, const WCHAR* trace_format, const WCHAR* failure_label, Module& module) {
  TraceLog(trace_format, path);
  DWORD code = ERROR_FILENAME_EXCED_RANGE;
  if (TextLength(path) <= kMaxModulePathChars) {
    const HMODULE loaded = LoadLibraryW(path);
    code = GetLastError();
    if (loaded != nullptr && loaded != static_cast<void*>(INVALID_HANDLE_VALUE)) {
      module.Reset(loaded);
      return ERROR_SUCCESS;
    }
  }
  TraceErrorCode(code, failure_label);
  return code;
}

DWORD LoadIxo(const WCHAR* path, Module& module) {
  return LoadModule(path, W("IXO_DLL: [%s]"), W("LoadLibrary-IXO DLL"), module);
}

DWORD RefusePath() {
  TraceLog(W(">> IxoWrapper: Invalid DLL Name"));
  return ERROR_INVALID_PARAMETER;
}

}  // namespace

IxoWrapper::~IxoWrapper() {
  // In the order of loading, which is not the reverse of the members'.
  ixo_module_.Reset();
  xdm_module_.Reset();
  cert_module_.Reset();
}

DWORD IxoWrapper::LoadIxoLibraries(const WCHAR* ixo_path,
                                   const WCHAR* xdm_path,
                                   const WCHAR* cert_path) noexcept {
  if (IsNullOrEmpty(ixo_path) || IsNullOrEmpty(xdm_path) || IsNullOrEmpty(cert_path))
    return RefusePath();

  Module ixo;
  Module xdm;
  Module cert;
  DWORD code = LoadIxo(ixo_path, ixo);
  if (code == ERROR_SUCCESS)
    code = LoadModule(xdm_path, W("XDM_DLL: [%s]"), W("LoadLibrary-XDM DLL"), xdm);
  if (code == ERROR_SUCCESS)
    code = LoadModule(cert_path, W("IXOCert_DLL: [%s]"), W("LoadLibrary-IXO Cert DLL"), cert);
  if (code != ERROR_SUCCESS)
    return code;

  ixo_module_ = std::move(ixo);
  xdm_module_ = std::move(xdm);
  cert_module_ = std::move(cert);
  return ERROR_SUCCESS;
}

DWORD IxoWrapper::LoadIxoLibrary(const WCHAR* ixo_path) noexcept {
  return IsNullOrEmpty(ixo_path) ? RefusePath() : LoadIxo(ixo_path, ixo_module_);
}

}  // namespace custom_bidi
