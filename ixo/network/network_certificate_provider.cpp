#include "ixo/network/network_certificate_provider.h"

#include <algorithm>

#include "ixo/network/device_uuid.h"
#include "ixo/support/certificate_answers.h"
#include "ixo/support/certificate_date.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

HRESULT ResultOf(DWORD code) {
  return code == ERROR_SUCCESS ? S_OK : device::ResultFromWin32(code);
}

}  // namespace

HRESULT NetworkCertificateProvider::GetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) {
  if (!uuid || capacity_chars == 0 || !length_chars) {
    return E_INVALIDARG;
  }
  *uuid = 0;
  *length_chars = 0;
  if (const DWORD code = ReadUuid()) {
    return ResultOf(Remember(code));
  }
  if (uuid_.size() >= capacity_chars) {
    return ResultOf(Remember(ERROR_INSUFFICIENT_BUFFER));
  }
  uuid[uuid_.copy(uuid, uuid_.size())] = 0;
  *length_chars = static_cast<DWORD>(uuid_.size());
  return S_OK;
}

HRESULT NetworkCertificateProvider::GetCertificateAllSecurityWarnings(DWORD* codes,
                                                                      DWORD capacity,
                                                                      DWORD* count) {
  if (!codes || !count) {
    return E_INVALIDARG;
  }
  *count = 0;
  if (const DWORD code = ReadCertificate()) {
    return ResultOf(Remember(code));
  }
  const std::vector<DWORD> warnings = WarningsOf(presented_.problems);
  std::copy_n(warnings.begin(), std::min<size_t>(warnings.size(), capacity), codes);
  *count = static_cast<DWORD>(warnings.size());
  return S_OK;
}

DWORD NetworkCertificateProvider::GetDeviceCertificate(const ixo::KeyTypeList* key_types,
                                                       BYTE* bytes,
                                                       DWORD* length_bytes,
                                                       const WORD* eight,
                                                       DWORD ten,
                                                       DWORD* unread) {
  if (!device::IsCertificateQuestion(key_types, length_bytes, eight, ten, unread)) {
    return ERROR_INVALID_PARAMETER;
  }
  if (const DWORD code = ReadCertificate()) {
    *length_bytes = 0;
    return Remember(code);
  }
  return Remember(device::AnswerCertificate(presented_.der, bytes, length_bytes));
}

HRESULT NetworkCertificateProvider::CheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) {
  if (!bytes || !valid) {
    return E_INVALIDARG;
  }
  *valid = 0;
  bool holds = false;
  const HRESULT result = device::CheckDates({bytes, length_bytes}, holds);
  if (FAILED(result)) {
    Remember(device::CodeOf(result));
    return result;
  }
  *valid = holds ? 1 : 0;
  return S_OK;
}

DWORD NetworkCertificateProvider::ReadCertificate() {
  if (!presented_code_) {
    presented_code_ = address_ ? ProbeCertificate(*address_, *settings_, presented_) : DWORD{ERROR_NOT_FOUND};
  }
  return *presented_code_;
}

DWORD NetworkCertificateProvider::ReadUuid() {
  if (!uuid_code_) {
    uuid_code_ = address_ ? ReadDeviceUuid(*address_, *settings_, uuid_) : DWORD{ERROR_NOT_FOUND};
  }
  return *uuid_code_;
}

/// Keeps the code of a failure, and gives it back.
DWORD NetworkCertificateProvider::Remember(DWORD code) {
  if (code != ERROR_SUCCESS) {
    last_error_ = code;
  }
  return code;
}

}  // namespace custom_bidi::network
