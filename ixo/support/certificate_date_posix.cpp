#include "ixo/support/provider_answers.h"

#include <openssl/x509.h>

#include <limits>
#include <memory>

#include "base/openssl_errors.h"

namespace custom_bidi::support {
namespace {

/// What CryptoAPI says of bytes that are no certificate.
constexpr HRESULT kBadTag = static_cast<HRESULT>(0x8009310B);  // CRYPT_E_ASN1_BADTAG

struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

}  // namespace

HRESULT CheckDates(std::span<const BYTE> der, bool& valid) {
  if (der.size() > size_t{std::numeric_limits<int>::max()}) {
    return kBadTag;
  }
  const base::KeptOpenSslErrors kept;
  const BYTE* at = der.data();
  const std::unique_ptr<X509, FreeCertificate> certificate(
      d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  // Both are 0 for a date that cannot be understood.
  const int begin = certificate ? X509_cmp_current_time(X509_get0_notBefore(certificate.get())) : 0;
  const int end = certificate ? X509_cmp_current_time(X509_get0_notAfter(certificate.get())) : 0;
  if (begin == 0 || end == 0) {
    return kBadTag;
  }
  valid = begin < 0 && end > 0;
  return S_OK;
}

}  // namespace custom_bidi::support
