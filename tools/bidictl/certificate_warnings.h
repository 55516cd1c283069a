#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The security warnings of a certificate in words.
namespace custom_bidi_tools {

/// The two that the library itself adds, by their Windows names.
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
