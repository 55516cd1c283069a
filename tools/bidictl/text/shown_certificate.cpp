#include "tools/bidictl/text/shown_certificate.h"

#include <algorithm>
#include <iterator>

namespace custom_bidi_tools {

namespace {

constexpr size_t kPemLineChars = 64;

std::string Base64(std::span<const uint8_t> bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) {
      group = group << 8 | (j < count ? bytes[i + j] : 0U);
    }
    for (size_t j = 0; j < 4; ++j) {
      text += j <= count ? kDigits[group >> (18 - 6 * j) & 63] : '=';
    }
  }
  return text;
}

struct NamedCode {
  uint32_t code;
  const char* name;
};

// winerror.h and wininet.h
constexpr NamedCode kCodes[] = {
    {1169, "ERROR_NO_MATCH"},
    {12037, "ERROR_INTERNET_SEC_CERT_DATE_INVALID"},
    {12038, "ERROR_INTERNET_SEC_CERT_CN_INVALID"},
    {12044, "ERROR_INTERNET_CLIENT_AUTH_CERT_NEEDED"},
    {12045, "ERROR_INTERNET_INVALID_CA"},
    {12055, "ERROR_INTERNET_SEC_CERT_ERRORS"},
    {12056, "ERROR_INTERNET_SEC_CERT_NO_REV"},
    {12057, "ERROR_INTERNET_SEC_CERT_REV_FAILED"},
    {12157, "ERROR_INTERNET_SECURITY_CHANNEL_ERROR"},
    {12169, "ERROR_INTERNET_SEC_INVALID_CERT"},
    {12170, "ERROR_INTERNET_SEC_CERT_REVOKED"},
};

// The error bits of CERT_TRUST_STATUS, wincrypt.h
constexpr NamedCode kTrustBits[] = {
    {0x00000001, "CERT_TRUST_IS_NOT_TIME_VALID"},
    {0x00000002, "CERT_TRUST_IS_NOT_TIME_NESTED"},
    {0x00000004, "CERT_TRUST_IS_REVOKED"},
    {0x00000008, "CERT_TRUST_IS_NOT_SIGNATURE_VALID"},
    {0x00000010, "CERT_TRUST_IS_NOT_VALID_FOR_USAGE"},
    {0x00000020, "CERT_TRUST_IS_UNTRUSTED_ROOT"},
    {0x00000040, "CERT_TRUST_REVOCATION_STATUS_UNKNOWN"},
    {0x00000080, "CERT_TRUST_IS_CYCLIC"},
    {0x00000100, "CERT_TRUST_INVALID_EXTENSION"},
    {0x00000200, "CERT_TRUST_INVALID_POLICY_CONSTRAINTS"},
    {0x00000400, "CERT_TRUST_INVALID_BASIC_CONSTRAINTS"},
    {0x00000800, "CERT_TRUST_INVALID_NAME_CONSTRAINTS"},
    {0x00001000, "CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT"},
    {0x00002000, "CERT_TRUST_HAS_NOT_DEFINED_NAME_CONSTRAINT"},
    {0x00004000, "CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT"},
    {0x00008000, "CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT"},
    {0x00010000, "CERT_TRUST_IS_PARTIAL_CHAIN"},
    {0x00020000, "CERT_TRUST_CTL_IS_NOT_TIME_VALID"},
    {0x00040000, "CERT_TRUST_CTL_IS_NOT_SIGNATURE_VALID"},
    {0x00080000, "CERT_TRUST_CTL_IS_NOT_VALID_FOR_USAGE"},
    {0x00100000, "CERT_TRUST_HAS_WEAK_SIGNATURE"},
    {0x01000000, "CERT_TRUST_IS_OFFLINE_REVOCATION"},
    {0x02000000, "CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY"},
    {0x04000000, "CERT_TRUST_IS_EXPLICIT_DISTRUST"},
    {0x08000000, "CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT"},
};

constexpr uint32_t kNonNegotiable[] = {0x01, 0x04, 0x08, 0x10, 0x20, 0x40, 0x00100000, 0x04000000};

constexpr char kNoName[] = "without a name";

bool IsWinInetCode(uint32_t code) {
  return code >= 12000 && code < 12200;
}

}  // namespace

std::string PemOf(std::span<const uint8_t> der) {
  const std::string base64 = Base64(der);
  std::string text = "-----BEGIN CERTIFICATE-----\n";
  for (size_t i = 0; i < base64.size(); i += kPemLineChars) {
    text += base64.substr(i, kPemLineChars) + "\n";
  }
  return text + "-----END CERTIFICATE-----\n";
}

std::string ColonHex(std::span<const uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) {
      text += ':';
    }
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

std::string WarningName(uint32_t code) {
  const auto* const known = std::ranges::find(kCodes, code, &NamedCode::code);
  if (known != std::end(kCodes)) {
    return known->name;
  }
  if (code == 0 || IsWinInetCode(code)) {
    return kNoName;
  }
  std::string names;
  uint32_t rest = code;
  for (const auto& [bit, name] : kTrustBits) {
    if ((code & bit) == 0) {
      continue;
    }
    rest &= ~bit;
    names += (names.empty() ? "" : " | ") + std::string(name);
  }
  return rest == 0 ? names : kNoName;
}

bool IsNonNegotiable(uint32_t code) {
  return std::ranges::find(kNonNegotiable, code) != std::end(kNonNegotiable);
}

Verdict JudgeCheck(std::span<const uint32_t> before, std::span<const uint32_t> after, bool is_kept) {
  if (std::ranges::any_of(before, IsNonNegotiable)) {
    return Verdict::kNonNegotiable;
  }
  // The device may report the same code itself: what counts is that there is one more.
  if (std::ranges::count(after, kErrorNoMatch) > std::ranges::count(before, kErrorNoMatch)) {
    return Verdict::kDiffers;
  }
  if (std::ranges::find(after, kErrorCertDateInvalid) != after.end()) {
    return Verdict::kDatesInvalid;
  }
  return is_kept ? Verdict::kMatches : Verdict::kNotKept;
}

std::string VerdictText(Verdict verdict) {
  switch (verdict) {
    case Verdict::kMatches:
      return "The certificate is the one kept in the vault, and its dates hold.";
    case Verdict::kNotKept:
      return "The vault keeps no certificate of this printer for this user; the dates of the printer's hold.";
    case Verdict::kDatesInvalid:
      return "The certificate's dates do not hold (12037).";
    case Verdict::kDiffers:
      return "The certificate is not the one kept in the vault (1169).";
    case Verdict::kNonNegotiable:
      return "A warning that nobody may wave through ended the check.";
  }
  return "";
}

std::string CertificateTarget(const std::string& user, const std::string& device_uuid) {
  return "Vexmo.VIB.NQDRV4." + user + "." + device_uuid;
}

}  // namespace custom_bidi_tools
