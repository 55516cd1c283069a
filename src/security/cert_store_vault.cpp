#include "src/security/cert_store_vault.h"

namespace custom_bidi {
namespace {

void TraceNaming(HRESULT result, const WCHAR* success, const WCHAR* failure) {
  TraceLog(SUCCEEDED(result) ? success : failure);
}

}  // namespace

CertStoreVault::CertStoreVault(HMODULE library,
                               const WString& device_uuid,
                               const WString& user,
                               const WString& driver)
    : library_(library), device_uuid_(device_uuid), user_(user), driver_(driver) {
  TraceLog(W("[CertStoreVault]:Contructed"));
  auto* const make_vault =
      FindEntry<ixo::CreateVaultStoreProviderFunction>(library_, ixo::kCreateVaultStoreProvider);
  if (make_vault != nullptr)
    provider_ = VaultProvider(library_, make_vault());

  target_name_ = BuildTargetName();
  if (!target_name_.empty() && provider_) {
    TraceNaming(provider_->SetTargetName(target_name_.c_str()), W("[IxoWrapper]:Target Name Created"),
                W("[IxoWrapper]: Failed to SetTargetName()"));
  }
  if (!user_.empty() && provider_) {
    TraceNaming(provider_->SetUserName(user_.c_str()), W("[IxoWrapper]:USER Name Created"),
                W("[IxoWrapper]: Failed to SetUserName()"));
  }
}

CertStoreVault::~CertStoreVault() {
  TraceLog(W("[CertStoreVault]:Destroyed"));
}

WString CertStoreVault::BuildTargetName() const {
  if (device_uuid_.empty() || user_.empty())
    return {};
  const WCHAR* const dot = W(".");
  return W("Vexmo.VIB") + (dot + driver_) + dot + user_ + dot + device_uuid_;
}

}  // namespace custom_bidi
