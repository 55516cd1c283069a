#include "tools/bidictl/certificate_text.h"

#include <algorithm>

namespace custom_bidi_tools {

namespace {

constexpr size_t kPemLineChars = 64;

std::string Base64(std::span<const uint8_t> bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j)
      group = group << 8 | (j < count ? bytes[i + j] : 0U);
    for (size_t j = 0; j < 4; ++j)
      text += j <= count ? kDigits[group >> (18 - 6 * j) & 63] : '=';
  }
  return text;
}

}  // namespace

std::string PemOf(std::span<const uint8_t> der) {
  const std::string base64 = Base64(der);
  std::string text = "-----BEGIN CERTIFICATE-----\n";
  for (size_t i = 0; i < base64.size(); i += kPemLineChars)
    text += base64.substr(i, kPemLineChars) + "\n";
  return text + "-----END CERTIFICATE-----\n";
}

std::string ColonHex(std::span<const uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty())
      text += ':';
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

}  // namespace custom_bidi_tools
