#pragma once

#include <optional>
#include <vector>

#include "ixo/network/certificate/verification.h"
#include "ixo/network/location.h"
#include "ixo/network/settings.h"
#include "ixo/support/contract_bases.h"

namespace custom_bidi::network {

/// What a device presents in a TLS handshake.
struct PresentedCertificate {
  std::vector<BYTE> der;
  VerifyProblems problems;
};

/// Reads a device's certificate: from the port of IPP, or if there is no TLS to be had there, from that of
/// HTTPS. All of it takes no longer than the settings' deadline. A port that swallows everything, and one
/// that may not know TLS and stays silent, get half of it, so that the second port has its turn.
///
/// Only a handshake that was carried through counts, in which the device has shown that the certificate is
/// its own. Returns 0; ERROR_NOT_FOUND when the device presented none; the code of a file of the settings, as
/// OpenTrustStore says; or a code of exchange.h, that of the first port unless this was refused. The device's
/// standing is minded and kept.
DWORD ProbeCertificate(DeviceAddress& address,
                       const Settings& settings,
                       PresentedCertificate& presented,
                       uint16_t https_port = kHttpsPort);

/// Tells what a device on a network presents as its certificate, and its UUID. Either is asked for at its
/// first use and remembered, failure included, so that a device that is not there costs one deadline.
///
/// The certificate is handed out whatever its key is, although an RSA key is all that can be asked for:
/// callers show certificates, compare and keep them, which they can do with any, and many printers have none
/// but one with an EC key.
///
/// Without a device every read fails with ERROR_NOT_FOUND; dates can be checked with any provider.
class NetworkCertificateProvider final : public support::CertificateProvider {
 public:
  NetworkCertificateProvider() = default;
  /// Both outlive the provider.
  NetworkCertificateProvider(DeviceAddress& address, const Settings& settings)
      : address_(&address), settings_(&settings) {}

 private:
  /// Without the "urn:uuid:" that the printer writes in front. ERROR_NOT_FOUND when the printer has none.
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
  DWORD DoGetLastErrorCode() override { return last_error_; }

  DWORD ReadCertificate();
  DWORD ReadUuid();
  DWORD Remember(DWORD code);

  DeviceAddress* const address_ = nullptr;
  const Settings* const settings_ = nullptr;
  PresentedCertificate presented_;
  std::optional<DWORD> presented_code_;
  WString uuid_;
  std::optional<DWORD> uuid_code_;
  DWORD last_error_ = ERROR_SUCCESS;
};

}  // namespace custom_bidi::network
