#pragma once

/// What every certificate provider answers in the same way.

#include <algorithm>
#include <span>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::device {

/// Whether the question for a device's certificate is the one that the contract knows.
inline bool IsCertificateQuestion(const ixo::KeyTypeList* key_types,
                                  const DWORD* length_bytes,
                                  const WORD* eight,
                                  DWORD ten,
                                  const DWORD* unread) {
  const bool asks_for_rsa = key_types && key_types->count == 1 && key_types->names && key_types->names[0] &&
                            WStringView(key_types->names[0]) == W("RSA");
  return asks_for_rsa && length_bytes && eight && *eight == 8 && ten == 10 && unread;
}

/// Tells the certificate's length, and copies it if there is a buffer, whose capacity `length_bytes` holds
/// then: ERROR_INSUFFICIENT_BUFFER when that is too little.
inline DWORD AnswerCertificate(std::span<const BYTE> der, BYTE* bytes, DWORD* length_bytes) {
  const DWORD capacity_bytes = *length_bytes;
  *length_bytes = static_cast<DWORD>(der.size());
  if (!bytes) {
    return ERROR_SUCCESS;
  }
  if (capacity_bytes < der.size()) {
    return ERROR_INSUFFICIENT_BUFFER;
  }
  std::ranges::copy(der, bytes);
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::device
