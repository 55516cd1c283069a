#include "ixo/network/chain_verification.h"

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <new>

#include "pal/posix.h"

namespace custom_bidi::network {
namespace {

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
  return item->x509 && X509_STORE_add_cert(store, item->x509) == 1;
}

bool AddRevocationList(X509_STORE* store, const X509_INFO* item) {
  return item->crl && X509_STORE_add_crl(store, item->crl) == 1;
}

template <class Add>
DWORD AddFile(X509_STORE* store, const std::string& path, Add&& add) {
  std::string text;
  if (const DWORD code = pal::ReadWholeFile(path, &text)) {
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
  return certificate && (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
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

void ExpectHost(X509_VERIFY_PARAM* expected, const std::string& host) {
  // No certificate names the interface that a link-local address goes by.
  const std::string address = host.substr(0, host.find('%'));
  if (X509_VERIFY_PARAM_set1_ip_asc(expected, address.c_str()) != 1 &&
      X509_VERIFY_PARAM_set1_host(expected, host.data(), host.size()) != 1) {
    throw std::bad_alloc();
  }
}

}  // namespace

DWORD OpenTrustStore(const TlsSettings& settings, TrustStore& store) {
  store.reset(X509_STORE_new());
  // The folder, in which certificates are found by their names: the bundle of them all takes 30 ms to read.
  X509_LOOKUP* const system = store ? X509_STORE_add_lookup(store.get(), X509_LOOKUP_hash_dir()) : nullptr;
  if (!system || X509_LOOKUP_add_dir(system, nullptr, X509_FILETYPE_DEFAULT) != 1) {
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

VerifyProblems VerifyPresented(X509_STORE* store, SSL* session, const std::string& host) {
  VerifyProblems problems;
  const std::unique_ptr<X509_STORE_CTX, FreeAll> verification(X509_STORE_CTX_new());
  if (!verification || X509_STORE_CTX_init(verification.get(), store, SSL_get0_peer_certificate(session),
                                           SSL_get_peer_cert_chain(session)) != 1) {
    throw std::bad_alloc();
  }
  X509_STORE_CTX_set_default(verification.get(), "ssl_server");
  X509_VERIFY_PARAM* const expected = X509_STORE_CTX_get0_param(verification.get());
  X509_VERIFY_PARAM_set_auth_level(expected, kSecurityLevel);
  ExpectHost(expected, host);
  X509_STORE_CTX_set_app_data(verification.get(), &problems);
  X509_STORE_CTX_set_verify_cb(verification.get(), TakeDown);
  if (X509_verify_cert(verification.get()) != 1) {
    // It could not be carried through.
    problems.set(X509_V_ERR_UNSPECIFIED);
  }
  return problems;
}

}  // namespace custom_bidi::network
