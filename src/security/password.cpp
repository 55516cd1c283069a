// The password kept in the credential vault.

#include "src/context/request_context.h"
#include "src/security/provider.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

DWORD Save(const VaultProvider& vault, const BYTE* password, DWORD length_bytes) {
  // The first byte alone says whether there is a password.
  if (password == nullptr || *password == 0) {
    TraceLog(W("[IxoWrapper]:Target is empty"));
    return ERROR_WRITE_FAULT;
  }
  const DWORD code = vault->SaveTarget(password, length_bytes);
  TraceLog(W("[IxoWrapper]:Saved Target"));
  return code;
}

DWORD NotPresent() {
  TraceLog(W("[IxoWrapper]:Target NOT present"));
  return ERROR_NOT_FOUND;
}

DWORD Present(const VaultProvider& vault) {
  if (vault->IsTargetPresent() == 0) {
    return NotPresent();
  }
  TraceLog(W("[IxoWrapper]:Target present"));
  return ERROR_SUCCESS;
}

DWORD Delete(const VaultProvider& vault) {
  if (vault->IsTargetPresent() == 0) {
    return NotPresent();
  }
  const DWORD code = vault->DeleteTarget();
  TraceLog(W("[IxoWrapper]:Deleted Target key"));
  return code;
}

/// False when the provider refuses one of the names: nothing may be done then, and nothing must look done.
bool SetNames(const VaultProvider& vault, const WCHAR* target, const WCHAR* user) {
  HRESULT target_status = E_FAIL;
  if (!IsNullOrEmpty(target)) {
    target_status = vault->SetTargetName(target);
    if (SUCCEEDED(target_status)) {
      TraceLog(W("[IxoWrapper]:Target Name Created"));
    }
  }
  if (IsNullOrEmpty(user) || FAILED(vault->SetUserName(user))) {
    return false;
  }
  TraceLog(W("[IxoWrapper]:USER Name Created"));
  return SUCCEEDED(target_status);
}

}  // namespace

DWORD CCustomBiDi::ProcessPassword(const BYTE* password,
                                   DWORD length_bytes,
                                   const WCHAR* user,
                                   const WCHAR* target,
                                   PasswordMode mode,
                                   const WCHAR* queue) noexcept {
  return GuardedOperation(
      W("CCustomBiDi::ProcessPassword"), W("Error in Run"), ERROR_SUCCESS, [&]() -> DWORD {
        if (IsNullOrEmpty(user)) {
          TraceLog(W(">>>> Custom Bidi : User is empty"));
          return ERROR_INVALID_PARAMETER;
        }
        if (IsNullOrEmpty(target)) {
          TraceLog(W(">>>> Custom Bidi : Target Name is empty"));
          return ERROR_INVALID_PARAMETER;
        }
        if (const DWORD code = StartForQueue(queue); code != ERROR_SUCCESS) {
          return code;
        }
        TraceLog(W(">>>> Custom Bidi : Print Queue Name is [%s]"), queue_);
        if (InitIOWrapperForSEPassword() != ERROR_SUCCESS) {
          return FailInitialisation();
        }
        if (ixo_.ProcessPasswordInCredManager(password, length_bytes, user, target, mode) != ERROR_SUCCESS) {
          TraceLog(W(">>>> Custom Bidi : IXO SEP Target Processing failed!!"));
          return kFailed;
        }
        return ERROR_SUCCESS;
      });
}

DWORD IxoWrapper::ProcessPasswordInCredManager(const BYTE* password,
                                               DWORD length_bytes,
                                               const WCHAR* user,
                                               const WCHAR* target,
                                               PasswordMode mode) noexcept {
  constexpr const WCHAR* kOperation = W("IxoWrapper::ProcessPasswordInCredManager");
  return GuardedDeviceCall(kOperation, ERROR_SUCCESS, [&]() -> DWORD {
    // The same line for every mode.
    TraceLog(W("[IxoWrapper]:Trying to save target"));
    const auto make_vault = FindEntry<deviceio::CreateVaultStoreProviderFunction>(
        cert_module_.Get(), deviceio::kCreateVaultStoreProvider);
    if (!make_vault) {
      TraceLog(W("[IxoWrapper]:GetProcAddress() for StoreProvider Failed"));
      return ERROR_GEN_FAILURE;
    }
    const VaultProvider vault(cert_module_.Get(), make_vault());
    if (!vault) {
      TraceLog(W("[IxoWrapper]:IXO Failed"));
      return ERROR_GEN_FAILURE;
    }
    TraceLog(W("[IxoWrapper]:Store provider Created "));
    if (!SetNames(vault, target, user)) {
      return ERROR_GEN_FAILURE;
    }
    switch (mode) {
      case PasswordMode::kSave:
        return Save(vault, password, length_bytes);
      case PasswordMode::kPresent:
        return Present(vault);
      case PasswordMode::kDelete:
        return Delete(vault);
    }
    return ERROR_SUCCESS;
  });
}

}  // namespace custom_bidi
