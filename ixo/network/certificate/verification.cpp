#include "ixo/network/certificate/verification.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <new>

#include "base/files.h"

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

// OpenSSL's level of 112 bits.
constexpr int kSecurityLevel = 2;

struct FreeAll {
  void operator()(STACK_OF(X509_INFO) * items) const { sk_X509_INFO_pop_free(items, X509_INFO_free); }
  void operator()(X509_STORE_CTX* verification) const { X509_STORE_CTX_free(verification); }
  void operator()(BIO* bio) const { BIO_free(bio); }
};
using PemItems = std::unique_ptr<STACK_OF(X509_INFO), FreeAll>;

/// A key that may stand in the file, too, is not to make OpenSSL ask for its password on the terminal.
int NoPassword(char* /*password*/, int /*capacity*/, int /*writing*/, void* /*context*/) {
  return -1;
}

PemItems ParsePem(const std::string& text) {
  const std::unique_ptr<BIO, FreeAll> bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  return PemItems(bio ? PEM_X509_INFO_read_bio(bio.get(), nullptr, NoPassword, nullptr) : nullptr);
}

bool AddAnchor(X509_STORE* store, const X509_INFO* item) {
  return item->x509 != nullptr && X509_STORE_add_cert(store, item->x509) == 1;
}

bool AddRevocationList(X509_STORE* store, const X509_INFO* item) {
  return item->crl != nullptr && X509_STORE_add_crl(store, item->crl) == 1;
}

template <class Add>
DWORD AddFile(X509_STORE* store, const std::string& path, Add&& add) {
  std::string text;
  if (const DWORD code = base::ReadWholeFile(path, &text)) {
    return code;
  }
  const PemItems items = ParsePem(text);
  int added = 0;
  for (int i = 0; i < sk_X509_INFO_num(items.get()); ++i) {
    added += add(store, sk_X509_INFO_value(items.get(), i)) ? 1 : 0;
  }
  return added > 0 ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

template <class Add>
DWORD AddFiles(X509_STORE* store, const std::vector<std::string>& paths, const char* kind, Add&& add) {
  for (const std::string& path : paths) {
    if (const DWORD code = AddFile(store, path, add)) {
      std::fputs(
          (path + ": no " + kind + " can be read from it: code " + std::to_string(code) + "\n").c_str(),
          stderr);
      return code;
    }
  }
  return ERROR_SUCCESS;
}

bool IsSelfSigned(X509* certificate) {
  return certificate != nullptr && (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
}

/// Takes a problem down and goes on. It allocates nothing: no exception must pass through OpenSSL.
int TakeDown(int fine, X509_STORE_CTX* verification) {
  auto* const problems = static_cast<VerifyProblems*>(X509_STORE_CTX_get_app_data(verification));
  const int error = X509_STORE_CTX_get_error(verification);
  // Nobody keeps a list for a certificate that nobody else issued.
  const bool is_idle =
      error == X509_V_ERR_UNABLE_TO_GET_CRL && IsSelfSigned(X509_STORE_CTX_get_current_cert(verification));
  if (fine == 0 && !is_idle) {
    const auto known = error >= 0 && static_cast<size_t>(error) < problems->size();
    problems->set(static_cast<size_t>(known ? error : X509_V_ERR_UNSPECIFIED));
  }
  return 1;
}

/// Then no finding can be relied upon: to OpenSSL what it could not read is often just not there.
bool HasLackedMemory() {
  bool has_lacked = false;
  while (const unsigned long error = ERR_get_error()) {
    has_lacked = has_lacked || ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE;
  }
  return has_lacked;
}

void ExpectHost(X509_VERIFY_PARAM* expected, const std::string& host) {
  // No certificate names the interface that a link-local address goes by.
  const std::string address = host.substr(0, host.find('%'));
  if (X509_VERIFY_PARAM_set1_ip_asc(expected, address.c_str()) != 1 &&
      X509_VERIFY_PARAM_set1_host(expected, host.data(), host.size()) != 1) {
    throw std::bad_alloc();
  }
}

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

DWORD OpenTrustStore(const TlsSettings& settings, TrustStore& store) {
  store.reset(X509_STORE_new());
  // The folder, in which certificates are found by their names: the bundle of them all takes 30 ms to read.
  X509_LOOKUP* const system = store ? X509_STORE_add_lookup(store.get(), X509_LOOKUP_hash_dir()) : nullptr;
  if (system == nullptr || X509_LOOKUP_add_dir(system, nullptr, X509_FILETYPE_DEFAULT) != 1) {
    throw std::bad_alloc();
  }
  X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
  if (!settings.revocation_lists.empty()) {
    X509_STORE_set_flags(store.get(), X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
  }
  if (const DWORD code = AddFiles(store.get(), settings.trust_anchors, "certificate", AddAnchor)) {
    return code;
  }
  return AddFiles(store.get(), settings.revocation_lists, "revocation list", AddRevocationList);
}

VerifyProblems VerifyPresented(X509_STORE* store,
                               X509* certificate,
                               STACK_OF(X509) * chain,
                               const std::string& host) {
  VerifyProblems problems;
  ERR_clear_error();
  const std::unique_ptr<X509_STORE_CTX, FreeAll> verification(X509_STORE_CTX_new());
  if (!verification || X509_STORE_CTX_init(verification.get(), store, certificate, chain) != 1) {
    throw std::bad_alloc();
  }
  X509_STORE_CTX_set_default(verification.get(), "ssl_server");
  X509_VERIFY_PARAM* const expected = X509_STORE_CTX_get0_param(verification.get());
  X509_VERIFY_PARAM_set_auth_level(expected, kSecurityLevel);
  ExpectHost(expected, host);
  if (X509_STORE_CTX_set_app_data(verification.get(), &problems) != 1) {
    throw std::bad_alloc();
  }
  X509_STORE_CTX_set_verify_cb(verification.get(), TakeDown);
  if (X509_verify_cert(verification.get()) != 1) {
    // It could not be carried through.
    problems.set(X509_V_ERR_UNSPECIFIED);
  }
  if (HasLackedMemory() || problems[X509_V_ERR_OUT_OF_MEM]) {
    throw std::bad_alloc();
  }
  return problems;
}

}  // namespace custom_bidi::network
