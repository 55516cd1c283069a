#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A certificate, its security warnings and what a check came to, as they are shown.
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

/// The two warnings that the library itself adds, by their Windows names.
inline constexpr uint32_t kErrorNoMatch = 1169;
inline constexpr uint32_t kErrorCertDateInvalid = 12037;

/// The code's name: of WinINet and Win32 where it is one of their codes, else of CryptoAPI, whose trust
/// status is one bit or several, joined by " | ". "without a name" where there is none.
std::string WarningName(uint32_t code);

/// True for a warning that ends every check: one of eight trust-status codes. A code of several bits is none
/// of them.
bool IsNonNegotiable(uint32_t code);

/// What a check came to. The order is that of gravity.
enum class Verdict {
  kMatches,        ///< it is the vault's copy, and its dates hold
  kNotKept,        ///< the vault has no copy; its dates hold
  kDatesInvalid,   ///< its dates do not hold; it does not differ from the vault's copy
  kDiffers,        ///< it is another one than the vault's copy
  kNonNegotiable,  ///< a warning ended the check, so neither the vault nor the dates were looked at
};

/// Tells the verdicts of VerifyCertificateValidity apart, by the list of warnings before and after it and by
/// whether the vault has a copy.
Verdict JudgeCheck(std::span<const uint32_t> before, std::span<const uint32_t> after, bool is_kept);

/// The verdict in one sentence.
std::string VerdictText(Verdict verdict);

/// The vault's name for the copy of a printer's certificate.
std::string CertificateTarget(const std::string& user, const std::string& device_uuid);

}  // namespace custom_bidi_tools
