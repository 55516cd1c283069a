#include "src/security/device_certificate.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "src/trace/trace_log.h"

namespace custom_bidi {

// The caller reads the record directly.
static_assert(sizeof(DeviceCertificate) == 40);
static_assert(offsetof(DeviceCertificate, identifier) == 0);
static_assert(offsetof(DeviceCertificate, certificate_length) == 8);
static_assert(offsetof(DeviceCertificate, certificate) == 16);
static_assert(offsetof(DeviceCertificate, warning_count) == 24);
static_assert(offsetof(DeviceCertificate, warnings) == 32);

WarningList::WarningList(const DWORD* codes, DWORD count)
    : count_(codes != nullptr ? std::min(count, kCapacity) : 0) {
  std::copy_n(codes, count_, codes_.begin());
}

bool WarningList::Holds(DWORD code) const {
  return std::ranges::find(codes(), code) != codes().end();
}

void WarningList::Append(DWORD code) {
  if (count_ < kCapacity) {
    codes_[count_++] = code;
  }
}

bool HasNonNegotiableError(std::span<const DWORD> codes) {
  // Trust-status bits of CryptoAPI, wincrypt.h.
  constexpr DWORD kNonNegotiable[] = {
      0x00000001,  // CERT_TRUST_IS_NOT_TIME_VALID
      0x00000004,  // CERT_TRUST_IS_REVOKED
      0x00000008,  // CERT_TRUST_IS_NOT_SIGNATURE_VALID
      0x00000010,  // CERT_TRUST_IS_NOT_VALID_FOR_USAGE
      0x04000000,  // CERT_TRUST_IS_EXPLICIT_DISTRUST
      0x00000020,  // CERT_TRUST_IS_UNTRUSTED_ROOT
      0x00000040,  // CERT_TRUST_REVOCATION_STATUS_UNKNOWN
      0x00100000,  // CERT_TRUST_HAS_WEAK_SIGNATURE
  };
  return std::ranges::find_first_of(codes, kNonNegotiable) != codes.end();
}

namespace {

DeviceCertificatePtr NewRecord() {
  void* const storage = CoTaskMemAlloc(sizeof(DeviceCertificate));
  if (storage == nullptr) {
    throw std::bad_alloc();
  }
  DeviceCertificatePtr record(new (storage) DeviceCertificate{});
  TraceLog(W("[DeviceCertificate]:Contructed"));
  return record;
}

void SetCertificate(DeviceCertificate& record, std::span<const BYTE> certificate) {
  if (certificate.empty()) {
    TraceLog(W("[DeviceCertificate]:Certificate Error"));
    return;
  }
  record.certificate = new BYTE[certificate.size() + 1]();
  std::ranges::copy(certificate, record.certificate);
  record.certificate_length = static_cast<DWORD>(certificate.size());
}

void SetWarnings(DeviceCertificate& record, const WarningList& warnings) {
  record.warnings = new DWORD[WarningList::kCapacity]();
  record.warning_count = warnings.count();
  std::ranges::copy(warnings.codes(), record.warnings);
  if (warnings.count() == 0) {
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  }
}

void SetIdentifier(DeviceCertificate& record, WStringView identifier) {
  auto* const copy = static_cast<WCHAR*>(CoTaskMemAlloc((identifier.size() + 1) * sizeof(WCHAR)));
  if (copy == nullptr) {
    return;
  }
  *std::ranges::copy(identifier, copy).out = 0;
  record.identifier = copy;
}

void ReleaseContents(DeviceCertificate& record) noexcept {
  delete[] record.certificate;
  delete[] record.warnings;
  CoTaskMemFree(record.identifier);
  record = {};
}

}  // namespace

void DeviceCertificateDeleter::operator()(DeviceCertificate* record) const noexcept {
  ReleaseContents(*record);
  CoTaskMemFree(record);
}

DeviceCertificatePtr MakeDeviceCertificate(std::span<const BYTE> certificate,
                                           const WarningList& warnings,
                                           WStringView identifier) {
  DeviceCertificatePtr record = NewRecord();
  TraceLog(W("[DeviceCertificate]:Initialization Called"));
  SetCertificate(*record, certificate);
  SetWarnings(*record, warnings);
  SetIdentifier(*record, identifier);
  return record;
}

void ReleaseDeviceCertificate(DeviceCertificate* record) noexcept {
  TraceLog(W("[DeviceCertificate]:Destroyed"));
  if (record != nullptr) {
    ReleaseContents(*record);
  }
}

}  // namespace custom_bidi
