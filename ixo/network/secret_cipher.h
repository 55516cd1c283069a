#pragma once

#include <openssl/bn.h>

#include <memory>
#include <span>
#include <vector>

#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::network {

/// How a client and a Secret Service hide secrets from the bus between them: the algorithm
/// "dh-ietf1024-sha256-aes128-cbc-pkcs7" of the Secret Service API. Both agree on a key, by Diffie-Hellman in
/// the second group of RFC 2409 and HKDF with SHA-256 (RFC 5869), for AES-128 in CBC mode.
///
/// Every function returns 0; ERROR_ENCRYPTION_FAILED (6000); or ERROR_INVALID_DATA for what the other side
/// cannot have meant.
class SecretCipher {
 public:
  static constexpr char kAlgorithm[] = "dh-ietf1024-sha256-aes128-cbc-pkcs7";

  /// Begins the agreement; `half` is for the other side.
  DWORD Offer(std::vector<BYTE>& half);
  /// Ends it with the half that came back.
  DWORD Agree(std::span<const BYTE> half);

  DWORD Encrypt(std::span<const BYTE> plain, std::vector<BYTE>& vector, std::vector<BYTE>& encrypted) const;
  DWORD Decrypt(std::span<const BYTE> vector,
                std::span<const BYTE> encrypted,
                vault::SecureBytes& plain) const;

 private:
  struct WipeNumber {
    void operator()(BIGNUM* number) const { BN_clear_free(number); }
  };
  using Number = std::unique_ptr<BIGNUM, WipeNumber>;

  Number own_;
  vault::SecureBytes key_;
};

}  // namespace custom_bidi::network
