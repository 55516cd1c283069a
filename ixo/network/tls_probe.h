#pragma once

#include <vector>

#include "ixo/network/address.h"
#include "ixo/network/certificate_warnings.h"
#include "ixo/network/settings.h"

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
/// OpenTrustStore says; or a code of codes.h, that of the first port unless this was refused. The device's
/// standing is minded and kept.
DWORD ProbeCertificate(DeviceAddress& address,
                       const Settings& settings,
                       PresentedCertificate& presented,
                       uint16_t https_port = kHttpsPort);

}  // namespace custom_bidi::network
