#pragma once

#include <openssl/x509.h>

#include <bitset>
#include <memory>
#include <string>
#include <vector>

#include "ixo/network/settings.h"
#include "src/platform.h"

namespace custom_bidi::network {

/// The problems (X509_V_ERR_...) that the verification of a device's certificate met with.
using VerifyProblems = std::bitset<128>;

/// A contract's reader takes no more than these.
inline constexpr size_t kMaxWarnings = 9;

/// The problems in the codes of wininet.h and wincrypt.h, each once, the most important first, and no more
/// than kMaxWarnings.
std::vector<DWORD> WarningsOf(const VerifyProblems& problems);

struct FreeTrustStore {
  void operator()(X509_STORE* store) const { X509_STORE_free(store); }
};
using TrustStore = std::unique_ptr<X509_STORE, FreeTrustStore>;

/// Whom to trust: the authorities of the system's certificate folder (or of $SSL_CERT_DIR), each read when it
/// is looked for, and the certificates of the settings, as they are: an authority, one below it, or a
/// printer's own. With revocation lists, whatever is verified must not be revoked.
///
/// Returns 0, or the code of a file of the settings that cannot be read or holds nothing of its kind (13),
/// which is said on stderr. Throws a std::bad_alloc.
DWORD OpenTrustStore(const TlsSettings& settings, TrustStore& store);

/// All that is wrong with the certificate that a device presented, and with those it leads to, `chain` being
/// what came with it (or null), for a TLS server of this name or address. Keys and signatures below 112 bits
/// count as weak.
VerifyProblems VerifyPresented(X509_STORE* store,
                               X509* certificate,
                               STACK_OF(X509) * chain,
                               const std::string& host);

}  // namespace custom_bidi::network
