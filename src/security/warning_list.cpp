#include "src/security/warning_list.h"

#include <algorithm>

namespace custom_bidi {

WarningList::WarningList(const DWORD* codes, DWORD count)
    : count_(codes != nullptr ? std::min(count, kCapacity) : 0) {
  std::copy_n(codes, count_, codes_.begin());
}

bool WarningList::Holds(DWORD code) const {
  return std::ranges::find(codes(), code) != codes().end();
}

void WarningList::Append(DWORD code) {
  if (count_ < kCapacity)
    codes_[count_++] = code;
}

bool HasNonNegotiableError(std::span<const DWORD> codes) {
  // Trust-status bits of CryptoAPI, wincrypt.h.
  constexpr DWORD kNonNegotiable[] = {
      0x00000001,  // CERT_TRUST_IS_NOT_TIME_VALID
      0x00000004,  // CERT_TRUST_IS_REVOKED
      0x00000008,  // CERT_TRUST_IS_NOT_SIGNATURE_VALID
      0x00000010,  // CERT_TRUST_IS_NOT_VALID_FOR_USAGE
      0x04000000,  // CERT_TRUST_IS_EXPLICIT_DISTRUST
      0x00000020,  // CERT_TRUST_IS_UNTRUSTED_ROOT
      0x00000040,  // CERT_TRUST_REVOCATION_STATUS_UNKNOWN
      0x00100000,  // CERT_TRUST_HAS_WEAK_SIGNATURE
  };
  return std::ranges::find_first_of(codes, kNonNegotiable) != codes.end();
}

}  // namespace custom_bidi
