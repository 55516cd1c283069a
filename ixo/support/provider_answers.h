#pragma once

/// What the providers of every family check and answer in the same way.

#include <algorithm>
#include <span>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::support {

/// Whether the question for a device's certificate is the one that the contract knows.
inline bool IsCertificateQuestion(const deviceio::KeyTypeList* key_types,
                                  const DWORD* length_bytes,
                                  const WORD* eight,
                                  DWORD ten,
                                  const DWORD* unread) {
  const bool asks_for_rsa = key_types != nullptr && key_types->count == 1 && key_types->names != nullptr &&
                            key_types->names[0] != nullptr && WStringView(key_types->names[0]) == W("RSA");
  return asks_for_rsa && length_bytes != nullptr && eight != nullptr && *eight == 8 && ten == 10 &&
         (unread != nullptr);
}

/// Tells the certificate's length, and copies it if there is a buffer, whose capacity `length_bytes` holds
/// then: ERROR_INSUFFICIENT_BUFFER when that is too little.
inline DWORD AnswerCertificate(std::span<const BYTE> der, BYTE* bytes, DWORD* length_bytes) {
  const DWORD capacity_bytes = *length_bytes;
  *length_bytes = static_cast<DWORD>(der.size());
  if (bytes == nullptr) {
    return ERROR_SUCCESS;
  }
  if (capacity_bytes < der.size()) {
    return ERROR_INSUFFICIENT_BUFFER;
  }
  std::ranges::copy(der, bytes);
  return ERROR_SUCCESS;
}

/// Whether the present moment lies within a certificate's dates. Negative, with `valid` untouched, when the
/// bytes are no certificate.
HRESULT CheckDates(std::span<const BYTE> der, bool& valid);

/// Takes one of the two names of a vault's entry. E_INVALIDARG for none, or one that is too long; `name` is
/// empty then, so that nothing is done under the one before.
inline HRESULT TakeVaultName(const WCHAR* given, size_t max_chars, WString& name) {
  const WStringView text = given != nullptr ? given : WStringView();
  const bool is_good = !text.empty() && text.size() <= max_chars;
  name = is_good ? text : WStringView();
  return is_good ? S_OK : E_INVALIDARG;
}

}  // namespace custom_bidi::support
