#pragma once

#include <filesystem>
#include <string>

namespace custom_bidi_test {

/// A file that stands beside these sources, such as "good.attributes".
std::filesystem::path PeerFile(const std::string& name);

/// A folder with a printer's `localhost.crt` (with the authority's certificate behind its own, unless it is
/// self-signed) and `localhost.key`:
///   "good"          for localhost, 127.0.0.1 and ::1
///   "expired"       the same, but no longer valid
///   "othername"     for other.example
///   "selfsigned"    by itself, otherwise as the good one
///   "weak"          with an RSA key of 1024 bits
///   "wrongusage"    for clients only
///   "revoked"       on the authority's list of revoked certificates
///   "badsignature"  one bit of its signature is wrong
std::filesystem::path PrinterKeys(const std::string& name);

/// The certificate of the authority that signed them, and its list of revoked certificates, as PEM.
std::filesystem::path PrinterAuthority();
std::filesystem::path PrinterRevocations();

}  // namespace custom_bidi_test
