#include "ixo/simulated/certificate_provider.h"

#include <algorithm>

#include "ixo/simulated/noted_calls.h"
#include "ixo/support/provider_answers.h"

namespace custom_bidi::simulated {

HRESULT SimulatedCertificateProvider::DoGetDeviceUUID(WCHAR* uuid,
                                                      DWORD capacity_chars,
                                                      DWORD* length_chars) {
  if (uuid == nullptr || capacity_chars == 0 || length_chars == nullptr) {
    return E_INVALIDARG;
  }
  *uuid = 0;
  *length_chars = 0;
  const Course course = EnterNoted(Operation::kCertificateGetDeviceUuid, name_);
  if (course.StopsWork()) {
    return Remember(course.result);
  }
  const HRESULT result = ReadUuid(course.length, uuid, capacity_chars, length_chars);
  return Remember(FAILED(result) ? result : course.result);
}

HRESULT SimulatedCertificateProvider::ReadUuid(std::optional<DWORD> told,
                                               WCHAR* uuid,
                                               DWORD capacity_chars,
                                               DWORD* length_chars) const {
  if (certificate_ == nullptr || !certificate_->uuid) {
    return support::ResultFromWin32(ERROR_NOT_FOUND);
  }
  const WString& text = *certificate_->uuid;
  if (text.size() >= capacity_chars && !told) {
    return support::ResultFromWin32(ERROR_INSUFFICIENT_BUFFER);
  }
  // A text that fills the buffer has no end.
  std::copy_n(text.c_str(), std::min<size_t>(text.size() + 1, capacity_chars), uuid);
  *length_chars = told.value_or(static_cast<DWORD>(text.size()));
  return S_OK;
}

HRESULT SimulatedCertificateProvider::DoGetCertificateAllSecurityWarnings(DWORD* codes,
                                                                          DWORD capacity,
                                                                          DWORD* count) {
  if (codes == nullptr || count == nullptr) {
    return E_INVALIDARG;
  }
  *count = 0;
  const Course course = EnterNoted(Operation::kCertificateGetAllSecurityWarnings, name_);
  if (course.StopsWork()) {
    return Remember(course.result);
  }
  const HRESULT result = ReadWarnings(codes, capacity, count);
  *count = course.length.value_or(*count);
  return Remember(FAILED(result) ? result : course.result);
}

HRESULT SimulatedCertificateProvider::ReadWarnings(DWORD* codes, DWORD capacity, DWORD* count) const {
  if (certificate_ == nullptr) {
    return support::ResultFromWin32(ERROR_NOT_FOUND);
  }
  const std::vector<DWORD>& warnings = certificate_->warnings;
  std::copy_n(warnings.begin(), std::min<size_t>(warnings.size(), capacity), codes);
  *count = static_cast<DWORD>(warnings.size());
  return S_OK;
}

DWORD SimulatedCertificateProvider::DoGetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                                                           BYTE* bytes,
                                                           DWORD* length_bytes,
                                                           const WORD* eight,
                                                           DWORD ten,
                                                           DWORD* unread) {
  if (!support::IsCertificateQuestion(key_types, length_bytes, eight, ten, unread)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Course course = EnterNoted(Operation::kCertificateGetDeviceCertificate, name_);
  if (course.StopsCodedWork()) {
    *length_bytes = 0;
    return static_cast<DWORD>(Remember(course.result));
  }
  const DWORD code = ReadCertificate(course.length, bytes, length_bytes);
  if (code != ERROR_SUCCESS) {
    last_error_ = code;
    return code;
  }
  return static_cast<DWORD>(Remember(course.result));
}

DWORD SimulatedCertificateProvider::ReadCertificate(std::optional<DWORD> told,
                                                    BYTE* bytes,
                                                    DWORD* length_bytes) const {
  if (certificate_ == nullptr || !certificate_->der) {
    *length_bytes = 0;
    return ERROR_NOT_FOUND;
  }
  if (!told) {
    return support::AnswerCertificate(*certificate_->der, bytes, length_bytes);
  }
  if (bytes != nullptr) {
    std::copy_n(certificate_->der->begin(), std::min<size_t>(certificate_->der->size(), *length_bytes),
                bytes);
  }
  *length_bytes = *told;
  return ERROR_SUCCESS;
}

HRESULT SimulatedCertificateProvider::DoCheckCertificateDate(const BYTE* bytes,
                                                             DWORD length_bytes,
                                                             LONG* valid) {
  if (bytes == nullptr || valid == nullptr) {
    return E_INVALIDARG;
  }
  *valid = 0;
  const Course course = EnterNoted(Operation::kCertificateCheckDate, name_);
  if (course.StopsWork()) {
    return Remember(course.result);
  }
  bool holds = false;
  const HRESULT result = support::CheckDates({bytes, length_bytes}, holds);
  *valid = holds ? 1 : 0;
  return Remember(FAILED(result) ? result : course.result);
}

DWORD SimulatedCertificateProvider::DoGetLastErrorCode() {
  const Course course = EnterNoted(Operation::kCertificateGetLastErrorCode, name_);
  if (course.give_null || course.result != S_OK) {
    return static_cast<DWORD>(course.result);
  }
  return certificate_ != nullptr ? certificate_->last_error.value_or(last_error_) : last_error_;
}

/// Keeps the code of a failure, and gives the result back.
HRESULT SimulatedCertificateProvider::Remember(HRESULT result) {
  if (result != S_OK) {
    last_error_ = support::CodeOf(result);
  }
  return result;
}

}  // namespace custom_bidi::simulated
