#include "ixo/simulated/vault_store_provider.h"

#include "ixo/simulated/noted_calls.h"
#include "ixo/support/provider_answers.h"
#include "ixo/vault/vault.h"

namespace custom_bidi::simulated {

DWORD SimulatedVaultStoreProvider::DoSaveTarget(const BYTE* bytes, DWORD length_bytes) {
  const Course course = EnterNoted(Operation::kVaultSaveTarget, name_, target_);
  if (course.StopsCodedWork()) {
    return static_cast<DWORD>(course.result);
  }
  if (bytes == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  const DWORD code = vault::Save(target_, user_, {bytes, length_bytes});
  return code == ERROR_SUCCESS ? static_cast<DWORD>(course.result) : code;
}

HRESULT SimulatedVaultStoreProvider::DoGetCertFromVault(BYTE** bytes, DWORD* length_bytes) {
  if (bytes == nullptr || length_bytes == nullptr) {
    return E_INVALIDARG;
  }
  *bytes = nullptr;
  *length_bytes = 0;
  const Course course = EnterNoted(Operation::kVaultGetCertFromVault, name_, target_);
  if (course.StopsWork()) {
    *length_bytes = course.length.value_or(0);
    return course.result;
  }
  vault::SecureBytes loaded;
  if (const DWORD code = vault::Load(target_, user_, loaded)) {
    return support::ResultFromWin32(code);
  }
  handed_out_ = std::move(loaded);
  *bytes = handed_out_.data();
  *length_bytes = course.length.value_or(static_cast<DWORD>(handed_out_.size()));
  return course.result;
}

DWORD SimulatedVaultStoreProvider::DoDeleteTarget() {
  const Course course = EnterNoted(Operation::kVaultDeleteTarget, name_, target_);
  if (course.StopsCodedWork()) {
    return static_cast<DWORD>(course.result);
  }
  const DWORD code = vault::Delete(target_, user_);
  return code == ERROR_SUCCESS ? static_cast<DWORD>(course.result) : code;
}

LONG SimulatedVaultStoreProvider::DoIsTargetPresent() {
  const Course course = EnterNoted(Operation::kVaultIsTargetPresent, name_, target_);
  if (course.give_null || course.result != S_OK) {
    return course.result;
  }
  if (target_.empty() || user_.empty()) {
    return 0;
  }
  bool present = false;
  if (const DWORD code = vault::IsPresent(target_, user_, present)) {
    throw code;  // "no" would be taken for an empty vault
  }
  return present ? 1 : 0;
}

HRESULT SimulatedVaultStoreProvider::DoSetTargetName(const WCHAR* target) {
  return SetName(Operation::kVaultSetTargetName, target, vault::kMaxTargetChars, target_);
}

HRESULT SimulatedVaultStoreProvider::DoSetUserName(const WCHAR* user) {
  return SetName(Operation::kVaultSetUserName, user, vault::kMaxUserChars, user_);
}

/// A name that is not taken leaves none, so that nothing is done under the one before.
HRESULT SimulatedVaultStoreProvider::SetName(Operation operation,
                                             const WCHAR* given,
                                             size_t max_chars,
                                             WString& name) {
  name.clear();
  const Course course = EnterNoted(operation, name_, given != nullptr ? given : W(""));
  if (course.StopsWork()) {
    return course.result;
  }
  const HRESULT result = support::TakeVaultName(given, max_chars, name);
  return FAILED(result) ? result : course.result;
}

}  // namespace custom_bidi::simulated
