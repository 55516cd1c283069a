#include "ixo/simulated/base64.h"

#include <cstdint>

namespace custom_bidi::simulated {

std::optional<std::vector<BYTE>> DecodeBase64(std::string_view text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::vector<BYTE> bytes;
  uint32_t bits = 0;
  size_t count = 0;
  size_t padding = 0;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      continue;
    }
    const size_t digit = kDigits.find(c);
    padding += c == '=' ? 1 : 0;
    if (c != '=' && (digit == std::string_view::npos || padding > 0)) {
      return std::nullopt;
    }
    bits = bits << 6 | static_cast<uint32_t>(c == '=' ? 0 : digit);
    if (++count % 4 == 0) {
      bytes.insert(bytes.end(),
                   {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)});
    }
  }
  if (count % 4 != 0 || padding > 2) {
    return std::nullopt;
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

}  // namespace custom_bidi::simulated
