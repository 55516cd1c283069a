#include "ixo/network/secret_cipher.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include "ixo/network/kept_errors.h"

namespace custom_bidi::network {
namespace {

constexpr DWORD kEncryptionFailed = 6000;  // ERROR_ENCRYPTION_FAILED

constexpr int kGroupBytes = 128;
constexpr size_t kKeyBytes = 16;
constexpr size_t kBlockBytes = 16;

struct FreeCrypto {
  void operator()(BN_CTX* memory) const { BN_CTX_free(memory); }
  void operator()(EVP_CIPHER_CTX* cipher) const { EVP_CIPHER_CTX_free(cipher); }
  void operator()(EVP_KDF* kdf) const { EVP_KDF_free(kdf); }
  void operator()(EVP_KDF_CTX* kdf) const { EVP_KDF_CTX_free(kdf); }
};
template <class Thing>
using Crypto = std::unique_ptr<Thing, FreeCrypto>;

/// HKDF without salt and info.
bool DeriveKey(vault::SecureBytes& shared, vault::SecureBytes& key) {
  const Crypto<EVP_KDF> kdf(EVP_KDF_fetch(nullptr, OSSL_KDF_NAME_HKDF, nullptr));
  const Crypto<EVP_KDF_CTX> derivation(kdf ? EVP_KDF_CTX_new(kdf.get()) : nullptr);
  char digest[] = "SHA256";
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_KEY, shared.data(), shared.size()),
      OSSL_PARAM_construct_end(),
  };
  key.resize(kKeyBytes);
  return derivation && EVP_KDF_derive(derivation.get(), key.data(), key.size(), parameters) == 1;
}

}  // namespace

DWORD SecretCipher::Offer(std::vector<BYTE>& half) {
  const KeptErrors kept;
  const Crypto<BN_CTX> memory(BN_CTX_secure_new());
  const Number prime(BN_get_rfc2409_prime_1024(nullptr));
  const Number base(BN_new());
  const Number power(BN_new());
  own_.reset(BN_secure_new());
  const bool made =
      memory && prime && base && power && own_ && BN_set_word(base.get(), 2) == 1 &&
      BN_priv_rand_range(own_.get(), prime.get()) == 1 &&
      BN_mod_exp_mont_consttime(power.get(), base.get(), own_.get(), prime.get(), memory.get(), nullptr) == 1;
  half.resize(kGroupBytes);
  return made && BN_bn2binpad(power.get(), half.data(), kGroupBytes) == kGroupBytes ? ERROR_SUCCESS
                                                                                    : kEncryptionFailed;
}

DWORD SecretCipher::Agree(std::span<const BYTE> half) {
  const KeptErrors kept;
  if (half.size() > kGroupBytes) {
    return ERROR_INVALID_DATA;
  }
  const Crypto<BN_CTX> memory(BN_CTX_secure_new());
  const Number prime(BN_get_rfc2409_prime_1024(nullptr));
  const Number other(BN_bin2bn(half.data(), static_cast<int>(half.size()), nullptr));
  const Number shared(BN_secure_new());
  if (!own_ || !memory || !prime || !other || !shared) {
    return kEncryptionFailed;
  }
  // 0, 1 and p - 1 would make a secret that anybody can tell.
  const Number last(BN_dup(prime.get()));
  if (!last || BN_sub_word(last.get(), 1) != 1) {
    return kEncryptionFailed;
  }
  if (BN_cmp(other.get(), BN_value_one()) <= 0 || BN_cmp(other.get(), last.get()) >= 0) {
    return ERROR_INVALID_DATA;
  }
  vault::SecureBytes bytes(kGroupBytes);
  const bool agreed = BN_mod_exp_mont_consttime(shared.get(), other.get(), own_.get(), prime.get(),
                                                memory.get(), nullptr) == 1 &&
                      BN_bn2binpad(shared.get(), bytes.data(), kGroupBytes) == kGroupBytes &&
                      DeriveKey(bytes, key_);
  own_.reset();
  return agreed ? ERROR_SUCCESS : kEncryptionFailed;
}

DWORD SecretCipher::Encrypt(std::span<const BYTE> plain,
                            std::vector<BYTE>& vector,
                            std::vector<BYTE>& encrypted) const {
  const KeptErrors kept;
  vector.resize(kBlockBytes);
  encrypted.resize(plain.size() + kBlockBytes);
  const Crypto<EVP_CIPHER_CTX> cipher(EVP_CIPHER_CTX_new());
  int length = 0;
  int rest = 0;
  const bool done =
      cipher && key_.size() == kKeyBytes && RAND_bytes(vector.data(), static_cast<int>(vector.size())) == 1 &&
      EVP_EncryptInit_ex(cipher.get(), EVP_aes_128_cbc(), nullptr, key_.data(), vector.data()) == 1 &&
      EVP_EncryptUpdate(cipher.get(), encrypted.data(), &length, plain.data(),
                        static_cast<int>(plain.size())) == 1 &&
      EVP_EncryptFinal_ex(cipher.get(), encrypted.data() + length, &rest) == 1;
  encrypted.resize(done ? static_cast<size_t>(length + rest) : 0);
  return done ? ERROR_SUCCESS : kEncryptionFailed;
}

DWORD SecretCipher::Decrypt(std::span<const BYTE> vector,
                            std::span<const BYTE> encrypted,
                            vault::SecureBytes& plain) const {
  const KeptErrors kept;
  if (vector.size() != kBlockBytes || encrypted.empty() || encrypted.size() % kBlockBytes != 0) {
    return ERROR_INVALID_DATA;
  }
  plain.resize(encrypted.size() + kBlockBytes);
  const Crypto<EVP_CIPHER_CTX> cipher(EVP_CIPHER_CTX_new());
  int length = 0;
  int rest = 0;
  const bool done =
      cipher && key_.size() == kKeyBytes &&
      EVP_DecryptInit_ex(cipher.get(), EVP_aes_128_cbc(), nullptr, key_.data(), vector.data()) == 1 &&
      EVP_DecryptUpdate(cipher.get(), plain.data(), &length, encrypted.data(),
                        static_cast<int>(encrypted.size())) == 1 &&
      EVP_DecryptFinal_ex(cipher.get(), plain.data() + length, &rest) == 1;
  plain.resize(done ? static_cast<size_t>(length + rest) : 0);
  return done ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

}  // namespace custom_bidi::network
