#include "ixo/vault/sealing.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <memory>
#include <new>

#include "base/openssl_errors.h"

namespace custom_bidi::vault {
namespace {

// The number at the end is the format's version.
constexpr BYTE kHeader[] = {'C', 'B', 'V', 'A', 'U', 'L', 'T', '1'};
constexpr size_t kNonceBytes = 12;
constexpr size_t kTagBytes = 16;
static_assert(sizeof(kHeader) + kNonceBytes + kTagBytes == kSealBytes);

constexpr DWORD kEncryptionFailed = 6000;  // ERROR_ENCRYPTION_FAILED

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

Context NewContext() {
  Context context(EVP_CIPHER_CTX_new());
  if (!context) {
    throw std::bad_alloc();
  }
  return context;
}

}  // namespace

DWORD MakeKey(SecureBytes& key) {
  key.resize(kKeyBytes);
  return RAND_priv_bytes(key.data(), kKeyBytes) == 1 ? ERROR_SUCCESS : kEncryptionFailed;
}

DWORD Seal(const SecureBytes& key, std::span<const BYTE> plain, std::vector<BYTE>& sealed) {
  sealed.resize(kSealBytes + plain.size());
  BYTE* const nonce = std::ranges::copy(kHeader, sealed.data()).out;
  BYTE* const encrypted = nonce + kNonceBytes;
  BYTE* const tag = encrypted + plain.size();
  const base::KeptOpenSslErrors own_errors;
  const Context context = NewContext();
  int length = 0;
  const bool done = RAND_bytes(nonce, kNonceBytes) == 1 &&
                    EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce) == 1 &&
                    EVP_EncryptUpdate(context.get(), nullptr, &length, kHeader, sizeof(kHeader)) == 1 &&
                    EVP_EncryptUpdate(context.get(), encrypted, &length, plain.data(),
                                      static_cast<int>(plain.size())) == 1 &&
                    EVP_EncryptFinal_ex(context.get(), tag, &length) == 1 &&
                    EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, kTagBytes, tag) == 1;
  return done ? ERROR_SUCCESS : kEncryptionFailed;
}

DWORD Unseal(const SecureBytes& key, std::span<const BYTE> sealed, SecureBytes& plain) {
  plain.clear();
  if (sealed.size() < kSealBytes || !std::ranges::equal(sealed.first(sizeof(kHeader)), kHeader)) {
    return ERROR_INVALID_DATA;
  }
  const auto nonce = sealed.subspan(sizeof(kHeader), kNonceBytes);
  const auto encrypted = sealed.subspan(sizeof(kHeader) + kNonceBytes, sealed.size() - kSealBytes);
  const auto tag = sealed.last(kTagBytes);
  SecureBytes decrypted(encrypted.size());
  BYTE rest = 0;
  const base::KeptOpenSslErrors own_errors;
  const Context context = NewContext();
  int length = 0;
  const bool done =
      EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce.data()) == 1 &&
      EVP_DecryptUpdate(context.get(), nullptr, &length, kHeader, sizeof(kHeader)) == 1 &&
      EVP_DecryptUpdate(context.get(), decrypted.data(), &length, encrypted.data(),
                        static_cast<int>(encrypted.size())) == 1 &&
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, kTagBytes, const_cast<BYTE*>(tag.data())) ==
          1 &&
      EVP_DecryptFinal_ex(context.get(), &rest, &length) == 1;
  if (!done) {
    return ERROR_INVALID_DATA;
  }
  plain = std::move(decrypted);
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::vault
