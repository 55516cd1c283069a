#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace custom_bidi_tools {

/// What a certificate says, as UTF-8. Names begin with the most particular part ("CN=printer, O=Vexmo"),
/// times are UTC ("2024-01-31 23:59:59"), thumbprints are digits in pairs ("0A:1B").
struct CertificateText {
  std::string subject;
  std::string issuer;
  std::string valid_from;
  std::string valid_until;
  std::string sha1;
  std::string sha256;
};

/// Nothing when the bytes are no DER-encoded X.509 certificate.
std::optional<CertificateText> ReadCertificate(std::span<const uint8_t> der);

/// The certificate between its two lines of text, in base64.
std::string PemOf(std::span<const uint8_t> der);

/// Bytes as pairs of hexadecimal digits with colons between them.
std::string ColonHex(std::span<const uint8_t> bytes);

/// Frees what the library took from the COM task allocator.
void FreeTaskMemory(void* block);

}  // namespace custom_bidi_tools
