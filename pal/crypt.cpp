#include "pal/crypt.h"

#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <vector>

#include "base/openssl_errors.h"
#include "pal/internal.h"

namespace {

constexpr DWORD kSha1Bytes = 20;

struct OwnedContext : CERT_CONTEXT {
  std::vector<BYTE> bytes;
};

/// What is wrong with a block that is no certificate, which is a sequence throughout.
HRESULT DecodingError(const BYTE* encoded, DWORD encoded_bytes) {
  constexpr int kSequence = V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED;
  constexpr int kMalformed = 0x80;
  if (encoded[0] != kSequence) {
    return CRYPT_E_ASN1_BADTAG;
  }
  const unsigned char* next = encoded;
  long length = 0;
  int tag = 0;
  int tag_class = 0;
  const int form = ASN1_get_object(&next, &length, &tag, &tag_class, static_cast<long>(encoded_bytes));
  return (form & kMalformed) != 0 ? CRYPT_E_ASN1_EOD : CRYPT_E_ASN1_CORRUPT;
}

/// S_OK when the bytes begin with a certificate.
HRESULT CheckCertificate(const BYTE* encoded, DWORD encoded_bytes) {
  if (encoded == nullptr || encoded_bytes == 0) {
    return CRYPT_E_ASN1_EOD;
  }
  const base::KeptOpenSslErrors mark;
  const unsigned char* next = encoded;
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(
      d2i_X509(nullptr, &next, static_cast<long>(encoded_bytes)), &X509_free);
  return certificate ? S_OK : DecodingError(encoded, encoded_bytes);
}

BOOL Fail(LONG code) {
  return pal::FailWith(code, BOOL{FALSE});
}

}  // namespace

PCCERT_CONTEXT CertCreateCertificateContext(DWORD encoding, const BYTE* encoded, DWORD encoded_bytes) {
  constexpr PCCERT_CONTEXT kNone = nullptr;
  if (pal::MustFail("CertCreateCertificateContext")) {
    return pal::FailWith(E_OUTOFMEMORY, kNone);
  }
  if (encoding != X509_ASN_ENCODING && encoding != (X509_ASN_ENCODING | PKCS_7_ASN_ENCODING)) {
    return pal::FailWith(E_INVALIDARG, kNone);
  }
  if (const HRESULT result = CheckCertificate(encoded, encoded_bytes); FAILED(result)) {
    return pal::FailWith(result, kNone);
  }
  return pal::Guarded(kNone, [&]() -> PCCERT_CONTEXT {
    auto context = std::make_unique<OwnedContext>();
    context->bytes.assign(encoded, encoded + encoded_bytes);
    context->dwCertEncodingType = encoding;
    context->pbCertEncoded = context->bytes.data();
    context->cbCertEncoded = encoded_bytes;
    pal::CountUp(pal::Kind::kCertificate);
    return context.release();
  });
}

BOOL CertFreeCertificateContext(PCCERT_CONTEXT context) {
  if (context != nullptr) {
    delete static_cast<const OwnedContext*>(context);
    pal::CountDown(pal::Kind::kCertificate);
  }
  return TRUE;
}

BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT context,
                                       DWORD property,
                                       void* data,
                                       DWORD* size_bytes) {
  if (pal::MustFail("CertGetCertificateContextProperty")) {
    return Fail(E_OUTOFMEMORY);
  }
  if (context == nullptr || size_bytes == nullptr) {
    return Fail(E_INVALIDARG);
  }
  if (property != CERT_SHA1_HASH_PROP_ID) {
    return Fail(CRYPT_E_NOT_FOUND);
  }
  const DWORD capacity_bytes = *size_bytes;
  *size_bytes = kSha1Bytes;
  if (data == nullptr) {
    return TRUE;
  }
  if (capacity_bytes < kSha1Bytes) {
    return Fail(ERROR_MORE_DATA);
  }
  const base::KeptOpenSslErrors mark;
  return EVP_Digest(context->pbCertEncoded, context->cbCertEncoded, static_cast<unsigned char*>(data),
                    nullptr, EVP_sha1(), nullptr) == 1
             ? TRUE
             : Fail(E_FAIL);
}
