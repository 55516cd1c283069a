// Making the wrapper and reading from the device; judging what was read is in certificate_check.cpp.

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
  const ixo::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  return provider->GetDeviceCertificate(&key_types, bytes, length_bytes, &eight, 10, &unread);
}

}  // namespace

CertificateHandlingWrapper::CertificateHandlingWrapper(ixo::PrinterAddress* address,
                                                       HMODULE library,
                                                       const WCHAR* user,
                                                       const WCHAR* driver,
                                                       DWORD mode)
    : user_(TextOrEmpty(user)), library_(library), driver_(driver), mode_(mode) {
  TraceLog(W("[CertificateHandlingWrapper]:Contructed"));
  if (mode == kFullCheck && address != nullptr)
    MakeProvider(address, mode);
  if (mode == kWithoutAddress)
    MakeProvider(nullptr, mode);
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
  if (certificate_.empty())
    TraceLog(W("[DeviceCertificate]:Certificate Error"));
  if (warnings_.count() == 0)
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  if (mode == kFullCheck || mode == kWithoutAddress)
    MakeProvider(nullptr, mode);
}

CertificateHandlingWrapper::~CertificateHandlingWrapper() {
  TraceLog(W("[CertificateHandlingWrapper]:Destroyed"));
  provider_.Reset();
  vault_store_.reset();
}

void CertificateHandlingWrapper::MakeProvider(ixo::PrinterAddress* address, DWORD mode) {
  auto* const make_provider =
      FindEntry<ixo::CreateCertificateProviderFunction>(library_, ixo::kCreateCertificateProvider);
  if (make_provider != nullptr)
    provider_ = DeviceCertificateProvider(library_, make_provider(address, mode));
}

HRESULT CertificateHandlingWrapper::FetchCertificate() {
  if (!provider_)
    return E_FAIL;
  const bool has_certificate = SUCCEEDED(GetDeviceCertificate());
  const bool has_warnings = SUCCEEDED(GetCertificateAllSecurityWarnings());
  if (!has_certificate && !has_warnings) {
    TraceLog(W("[CertificateHandlingWrapper]:Could not fetch device Certificate. May be connectivity issue"));
    return E_FAIL;
  }
  if (mode_ == kWithoutAddress)
    return ValidateCertificate();

  WCHAR uuid[kUuidChars] = {};
  DWORD length_chars = 0;
  if (SUCCEEDED(GetDeviceUUID(uuid, &length_chars)) && !user_.empty()) {
    uuid[kUuidChars - 1] = 0;
    device_uuid_ = uuid;
  }
  return has_certificate && has_warnings && !device_uuid_.empty() ? S_OK : E_FAIL;
}

HRESULT CertificateHandlingWrapper::GetDeviceUUID(WCHAR* uuid, DWORD* length_chars) {
  if (!provider_) {
    TraceLog(
        W("[CertificateHandlingWrapper]:GetDeviceUUID API Failed as Certificate Provider is not available"));
    return E_FAIL;
  }
  DWORD length = 0;
  if (FAILED(provider_->GetDeviceUUID(uuid, kUuidChars, &length)))
    return FailRead(W("[CertificateHandlingWrapper]:GetDeviceUUID API Failed"));
  if (length == 0 || length >= kUuidChars)
    return E_FAIL;
  *length_chars = length;
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
  if (FAILED(provider_->GetCertificateAllSecurityWarnings(codes, WarningList::kCapacity, &count)))
    return FailRead(W("[CertificateHandlingWrapper]:GetCertificateAllSecurityWarnings API Failed"));
  if (count == 0) {
    TraceLog(W("[CertificateHandlingWrapper]:No Error reported"));
    return S_OK;
  }
  // There is room for ten, yet ten are too many.
  if (count >= WarningList::kCapacity)
    return E_FAIL;
  warnings_ = WarningList(codes, count);
  TraceLog(W("[CertificateHandlingWrapper]:Count of Error %u"), count);
  for (DWORD i = 0; i < count; ++i)
    TraceLog(W("[CertificateHandlingWrapper]:Error[%d]=%d"), i, codes[i]);
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
  if (AskForCertificate(provider_, nullptr, &length_bytes) == 0) {
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

/// Keeps the provider's reason and traces the read that failed.
HRESULT CertificateHandlingWrapper::FailRead(const WCHAR* line) {
  last_error_ = provider_->GetLastErrorCode();
  TraceLog(line);
  return E_FAIL;
}

void CertificateHandlingWrapper::CopyCertificate(BYTE* buffer, DWORD* length_bytes) const {
  if (certificate_.empty())
    return;
  *length_bytes = static_cast<DWORD>(certificate_.size());
  if (buffer != nullptr)
    std::ranges::copy(certificate_, buffer);
}

}  // namespace custom_bidi
