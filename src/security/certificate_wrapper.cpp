// Making the wrapper and its vault, and reading from the device. What was read is judged in
// certificate_check.cpp.

#include "src/security/certificate_wrapper.h"

#include <algorithm>

#include "src/text.h"

namespace custom_bidi {
namespace {

constexpr DWORD kUuidChars = 256;

WString TextOrEmpty(const WCHAR* text) {
  return {text != nullptr ? text : W("")};
}

/// Asks the provider for a key of the one type that the system knows; null bytes ask for the length.
DWORD AskForCertificate(const DeviceCertificateProvider& provider, BYTE* bytes, DWORD* length_bytes) {
  const WCHAR* const names[2] = {W("RSA"), nullptr};
  const deviceio::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  return provider->GetDeviceCertificate(&key_types, bytes, length_bytes, &eight, 10, &unread);
}

void TraceNaming(HRESULT result, const WCHAR* success, const WCHAR* failure) {
  TraceLog(SUCCEEDED(result) ? success : failure);
}

/// The name of the vault's entry; empty without a device or a user.
WString BuildTargetName(const WString& device_uuid, const WString& user, const WString& driver) {
  if (device_uuid.empty() || user.empty()) {
    return {};
  }
  const WCHAR* const dot = W(".");
  return W("Vexmo.VIB") + (dot + driver) + dot + user + dot + device_uuid;
}

}  // namespace

CertStoreVault::CertStoreVault(HMODULE library,
                               const WString& device_uuid,
                               const WString& user,
                               const WString& driver) {
  TraceLog(W("[CertStoreVault]:Contructed"));
  const auto make_vault =
      FindEntry<deviceio::CreateVaultStoreProviderFunction>(library, deviceio::kCreateVaultStoreProvider);
  if (make_vault) {
    provider_ = VaultProvider(library, make_vault());
  }

  const WString target_name = BuildTargetName(device_uuid, user, driver);
  if (!target_name.empty() && provider_) {
    TraceNaming(provider_->SetTargetName(target_name.c_str()), W("[IxoWrapper]:Target Name Created"),
                W("[IxoWrapper]: Failed to SetTargetName()"));
  }
  if (!user.empty() && provider_) {
    TraceNaming(provider_->SetUserName(user.c_str()), W("[IxoWrapper]:USER Name Created"),
                W("[IxoWrapper]: Failed to SetUserName()"));
  }
}

CertStoreVault::~CertStoreVault() {
  TraceLog(W("[CertStoreVault]:Destroyed"));
}

CertificateHandlingWrapper::CertificateHandlingWrapper(PrinterAddress address,
                                                       HMODULE library,
                                                       const WCHAR* user,
                                                       const WCHAR* driver,
                                                       DWORD mode)
    : user_(TextOrEmpty(user)), library_(library), driver_(driver), mode_(mode) {
  TraceLog(W("[CertificateHandlingWrapper]:Contructed"));
  if (mode == kFullCheck && address) {
    MakeProvider(address, mode);
  }
  if (mode == kWithoutAddress) {
    MakeProvider({}, mode);
  }
}

CertificateHandlingWrapper::CertificateHandlingWrapper(HMODULE library,
                                                       const WCHAR* user,
                                                       const WCHAR* driver,
                                                       DWORD mode,
                                                       std::span<const BYTE> certificate,
                                                       const WarningList& warnings,
                                                       const WCHAR* device_uuid)
    : user_(TextOrEmpty(user)),
      warnings_(warnings),
      certificate_(certificate.begin(), certificate.end()),
      library_(library),
      driver_(driver),
      mode_(mode),
      device_uuid_(TextOrEmpty(device_uuid)) {
  TraceLog(W("[CertificateHandlingWrapper]:Contructed"));
  TraceLog(W("[DeviceCertificate]:Initialization Called"));
  if (certificate_.empty()) {
    TraceLog(W("[DeviceCertificate]:Certificate Error"));
  }
  if (warnings_.count() == 0) {
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  }
  if (mode == kFullCheck || mode == kWithoutAddress) {
    MakeProvider({}, mode);
  }
}

CertificateHandlingWrapper::~CertificateHandlingWrapper() {
  TraceLog(W("[CertificateHandlingWrapper]:Destroyed"));
  provider_.Reset();
  vault_store_.reset();
}

void CertificateHandlingWrapper::MakeProvider(PrinterAddress address, DWORD mode) {
  const auto make_provider =
      FindEntry<deviceio::CreateCertificateProviderFunction>(library_, deviceio::kCreateCertificateProvider);
  if (make_provider) {
    provider_ = DeviceCertificateProvider(library_, make_provider(address.Get(), mode));
  }
}

HRESULT CertificateHandlingWrapper::FetchCertificate() {
  if (!provider_) {
    return E_FAIL;
  }
  const bool has_certificate = SUCCEEDED(GetDeviceCertificate());
  const bool has_warnings = SUCCEEDED(GetCertificateAllSecurityWarnings());
  if (!has_certificate && !has_warnings) {
    TraceLog(W("[CertificateHandlingWrapper]:Could not fetch device Certificate. May be connectivity issue"));
    return E_FAIL;
  }
  if (mode_ == kWithoutAddress) {
    return ValidateCertificate();
  }

  WCHAR uuid[kUuidChars] = {};
  if (SUCCEEDED(GetDeviceUUID(uuid)) && !user_.empty()) {
    uuid[kUuidChars - 1] = 0;
    device_uuid_ = uuid;
  }
  return has_certificate && has_warnings && !device_uuid_.empty() ? S_OK : E_FAIL;
}

HRESULT CertificateHandlingWrapper::GetDeviceUUID(WCHAR* uuid) {
  if (!provider_) {
    TraceLog(
        W("[CertificateHandlingWrapper]:GetDeviceUUID API Failed as Certificate Provider is not available"));
    return E_FAIL;
  }
  DWORD length = 0;
  if (FAILED(provider_->GetDeviceUUID(uuid, kUuidChars, &length))) {
    return FailRead(W("[CertificateHandlingWrapper]:GetDeviceUUID API Failed"));
  }
  // The length is only judged: what counts of the text ends at its NUL.
  if (length == 0 || length >= kUuidChars) {
    return E_FAIL;
  }
  return S_OK;
}

HRESULT CertificateHandlingWrapper::GetCertificateAllSecurityWarnings() {
  if (!provider_) {
    TraceLog(
        W("[CertificateHandlingWrapper]:GetCertificateAllSecurityWarnings API Failed as Certificate "
          "Provider is not available"));
    return E_FAIL;
  }
  DWORD codes[WarningList::kCapacity] = {};
  DWORD count = 0;
  if (FAILED(provider_->GetCertificateAllSecurityWarnings(codes, WarningList::kCapacity, &count))) {
    return FailRead(W("[CertificateHandlingWrapper]:GetCertificateAllSecurityWarnings API Failed"));
  }
  if (count == 0) {
    TraceLog(W("[CertificateHandlingWrapper]:No Error reported"));
    return S_OK;
  }
  // There is room for ten, yet ten are too many.
  if (count >= WarningList::kCapacity) {
    return E_FAIL;
  }
  warnings_ = WarningList(codes, count);
  TraceLog(W("[CertificateHandlingWrapper]:Count of Error %u"), count);
  for (DWORD i = 0; i < count; ++i) {
    TraceLog(W("[CertificateHandlingWrapper]:Error[%d]=%d"), i, codes[i]);
  }
  return S_OK;
}

HRESULT CertificateHandlingWrapper::GetDeviceCertificate() {
  if (!provider_) {
    // Two blanks before "as".
    TraceLog(
        W("[CertificateHandlingWrapper]:GetDeviceCertificate API Failed  as Certificate Provider is not "
          "available"));
    return E_FAIL;
  }
  DWORD length_bytes = 0;
  if (AskForCertificate(provider_, nullptr, &length_bytes) == 0 && IsCertificateLength(length_bytes)) {
    const DWORD room_bytes = length_bytes;
    std::vector<BYTE> certificate(size_t{room_bytes} + 1);  // a null buffer would ask for the length again
    const DWORD code = AskForCertificate(provider_, certificate.data(), &length_bytes);
    // What a library names beyond the room that it was given cannot be there.
    certificate.resize(std::min(length_bytes, room_bytes));
    if (code == 0 && !certificate.empty()) {
      certificate_ = std::move(certificate);
      TraceLog(W("[CertificateHandlingWrapper]:GetDeviceCertificate API Succeded"));
      return S_OK;
    }
  }
  return FailRead(W("[CertificateHandlingWrapper]:GetDeviceCertificate API Failed"));
}

/// Traces the read that failed. The provider is asked for its reason, though nothing goes by the answer.
HRESULT CertificateHandlingWrapper::FailRead(const WCHAR* line) {
  provider_->GetLastErrorCode();
  TraceLog(line);
  return E_FAIL;
}

void CertificateHandlingWrapper::CopyCertificate(BYTE* buffer, DWORD* length_bytes) const {
  if (certificate_.empty()) {
    return;
  }
  *length_bytes = static_cast<DWORD>(certificate_.size());
  if (buffer != nullptr) {
    std::ranges::copy(certificate_, buffer);
  }
}

}  // namespace custom_bidi
