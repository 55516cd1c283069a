#pragma once

#include "base/error_codes.h"
#include "base/types.h"

inline constexpr DWORD X509_ASN_ENCODING = 0x00000001;
inline constexpr DWORD PKCS_7_ASN_ENCODING = 0x00010000;
inline constexpr DWORD CERT_SHA1_HASH_PROP_ID = 3;

/// One certificate. Both pointers to undefined types are always null here: the certificate is not taken
/// apart, and it is in no store.
struct CERT_CONTEXT {
  DWORD dwCertEncodingType;
  BYTE* pbCertEncoded;  // a copy of the context's own
  DWORD cbCertEncoded;
  struct CERT_INFO* pCertInfo;
  void* hCertStore;
};
using PCCERT_CONTEXT = const CERT_CONTEXT*;

/// Makes a context of a DER-encoded X.509 certificate; the encoding names X509_ASN_ENCODING, alone or with
/// PKCS_7_ASN_ENCODING, else E_INVALIDARG. Bytes behind the certificate are kept, and count for the
/// thumbprint: that is what Wine does, and the safe side, for no such block is taken for the bare
/// certificate. Signature and dates are not looked at.
///
/// Null on failure. A block that is no certificate fails with CRYPT_E_ASN1_BADTAG (no sequence), _EOD (it
/// ends too early) or _CORRUPT. Windows has the same codes, yet may choose another for one block or the
/// other.
PCCERT_CONTEXT CertCreateCertificateContext(DWORD encoding, const BYTE* encoded, DWORD encoded_bytes);

/// Null is allowed. Always TRUE.
BOOL CertFreeCertificateContext(PCCERT_CONTEXT context);

/// Reads CERT_SHA1_HASH_PROP_ID, the SHA-1 digest of the encoded certificate, 20 bytes. `*size_bytes` is the
/// capacity of `data` and receives the size, also with a null `data`, which asks for it, and when `data` is
/// too small: ERROR_MORE_DATA. Any other property fails with CRYPT_E_NOT_FOUND.
BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT context, DWORD property, void* data, DWORD* size_bytes);
