#include "ixo/network/certificate_warnings.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <initializer_list>

namespace custom_bidi::network {
namespace {

// wininet.h: what a user may decide about.
constexpr DWORD kDateInvalid = 12037;       // ERROR_INTERNET_SEC_CERT_DATE_INVALID
constexpr DWORD kNameInvalid = 12038;       // ERROR_INTERNET_SEC_CERT_CN_INVALID
constexpr DWORD kUnknownIssuer = 12045;     // ERROR_INTERNET_INVALID_CA
constexpr DWORD kRevocationFailed = 12057;  // ERROR_INTERNET_SEC_CERT_REV_FAILED
constexpr DWORD kInvalid = 12169;           // ERROR_INTERNET_SEC_INVALID_CERT
// wincrypt.h: what nobody may overlook.
constexpr DWORD kRevoked = 0x00000004;            // CERT_TRUST_IS_REVOKED
constexpr DWORD kBadSignature = 0x00000008;       // CERT_TRUST_IS_NOT_SIGNATURE_VALID
constexpr DWORD kWrongUsage = 0x00000010;         // CERT_TRUST_IS_NOT_VALID_FOR_USAGE
constexpr DWORD kRevocationUnknown = 0x00000040;  // CERT_TRUST_REVOCATION_STATUS_UNKNOWN
constexpr DWORD kWeak = 0x00100000;               // CERT_TRUST_HAS_WEAK_SIGNATURE
constexpr DWORD kExplicitDistrust = 0x04000000;   // CERT_TRUST_IS_EXPLICIT_DISTRUST

struct Warning {
  DWORD code;
  std::initializer_list<int> problems;
};

/// In the order of importance. Revocation has two codes: lists were given that cannot be relied upon, which
/// may hide a revocation; or none was given that speaks of the certificate, as for a printer of another
/// authority, which is for the user to judge.
constexpr Warning kWarnings[] = {
    {kDateInvalid,
     {X509_V_ERR_CERT_NOT_YET_VALID, X509_V_ERR_CERT_HAS_EXPIRED, X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD,
      X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD}},
    {kNameInvalid, {X509_V_ERR_HOSTNAME_MISMATCH, X509_V_ERR_IP_ADDRESS_MISMATCH}},
    {kUnknownIssuer,
     {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT,
      X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY,
      X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, X509_V_ERR_CERT_CHAIN_TOO_LONG, X509_V_ERR_CERT_UNTRUSTED,
      X509_V_ERR_SUBJECT_ISSUER_MISMATCH, X509_V_ERR_AKID_SKID_MISMATCH,
      X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH, X509_V_ERR_PATH_LOOP, X509_V_ERR_STORE_LOOKUP}},
    {kRevoked, {X509_V_ERR_CERT_REVOKED}},
    {kBadSignature,
     {X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY,
      X509_V_ERR_CERT_SIGNATURE_FAILURE, X509_V_ERR_NO_ISSUER_PUBLIC_KEY,
      X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM, X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH,
      X509_V_ERR_SIGNATURE_ALGORITHM_INCONSISTENCY}},
    {kWrongUsage,
     {X509_V_ERR_PATH_LENGTH_EXCEEDED, X509_V_ERR_INVALID_PURPOSE, X509_V_ERR_KEYUSAGE_NO_CERTSIGN,
      X509_V_ERR_INVALID_NON_CA, X509_V_ERR_PROXY_PATH_LENGTH_EXCEEDED,
      X509_V_ERR_KEYUSAGE_NO_DIGITAL_SIGNATURE, X509_V_ERR_PROXY_CERTIFICATES_NOT_ALLOWED,
      X509_V_ERR_INVALID_CA, X509_V_ERR_PATHLEN_INVALID_FOR_NON_CA,
      X509_V_ERR_PATHLEN_WITHOUT_KU_KEY_CERT_SIGN, X509_V_ERR_KU_KEY_CERT_SIGN_INVALID_FOR_NON_CA,
      X509_V_ERR_CA_CERT_MISSING_KEY_USAGE}},
    {kWeak,
     {X509_V_ERR_EE_KEY_TOO_SMALL, X509_V_ERR_CA_KEY_TOO_SMALL, X509_V_ERR_CA_MD_TOO_WEAK,
      X509_V_ERR_EC_KEY_EXPLICIT_PARAMS}},
    {kExplicitDistrust, {X509_V_ERR_CERT_REJECTED}},
    {kRevocationUnknown,
     {X509_V_ERR_UNABLE_TO_DECRYPT_CRL_SIGNATURE, X509_V_ERR_CRL_SIGNATURE_FAILURE,
      X509_V_ERR_CRL_NOT_YET_VALID, X509_V_ERR_CRL_HAS_EXPIRED, X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD,
      X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD, X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER,
      X509_V_ERR_KEYUSAGE_NO_CRL_SIGN, X509_V_ERR_UNHANDLED_CRITICAL_CRL_EXTENSION,
      X509_V_ERR_DIFFERENT_CRL_SCOPE, X509_V_ERR_CRL_PATH_VALIDATION_ERROR}},
    {kRevocationFailed, {X509_V_ERR_UNABLE_TO_GET_CRL}},
};

}  // namespace

std::vector<DWORD> WarningsOf(const VerifyProblems& problems) {
  std::vector<DWORD> codes;
  VerifyProblems left = problems;
  for (const Warning& warning : kWarnings) {
    const auto is_set = [&](int problem) { return problems[static_cast<size_t>(problem)]; };
    if (std::ranges::any_of(warning.problems, is_set)) {
      codes.push_back(warning.code);
    }
    for (const int problem : warning.problems) {
      left.reset(static_cast<size_t>(problem));
    }
  }
  // Names, policies or extensions that are against the rules, and whatever there will be besides.
  if (left.any()) {
    codes.push_back(kInvalid);
  }
  codes.resize(std::min(codes.size(), kMaxWarnings));
  return codes;
}

}  // namespace custom_bidi::network
