#pragma once

#include <optional>
#include <string>

#include "ixo/simulated/printer.h"
#include "ixo/support/contract_bases.h"

namespace custom_bidi::simulated {

/// Tells what the printer's file says of its certificate.
class SimulatedCertificateProvider final : public support::CertificateProvider {
 public:
  /// `name` is for the log; without a `certificate`, which may be null, every read fails.
  SimulatedCertificateProvider(std::string name, const Certificate* certificate)
      : name_(std::move(name)), certificate_(certificate) {}

  const std::string& Name() const { return name_; }

 private:
  HRESULT DoGetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) override;
  HRESULT DoGetCertificateAllSecurityWarnings(DWORD* codes, DWORD capacity, DWORD* count) override;
  /// With a buffer, `length_bytes` is its capacity on entry; ERROR_INSUFFICIENT_BUFFER, and the length that
  /// is needed, when that is too little.
  DWORD DoGetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                               BYTE* bytes,
                               DWORD* length_bytes,
                               const WORD* eight,
                               DWORD ten,
                               DWORD* unread) override;
  HRESULT DoCheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) override;
  DWORD DoGetLastErrorCode() override;

  // What is `told` in place of the true length comes with as much as the buffer holds.
  HRESULT ReadUuid(std::optional<DWORD> told, WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) const;
  HRESULT ReadWarnings(DWORD* codes, DWORD capacity, DWORD* count) const;
  DWORD ReadCertificate(std::optional<DWORD> told, BYTE* bytes, DWORD* length_bytes) const;
  HRESULT Remember(HRESULT result);

  const std::string name_;
  const Certificate* const certificate_;
  DWORD last_error_ = ERROR_SUCCESS;
};

}  // namespace custom_bidi::simulated
