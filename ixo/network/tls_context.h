#pragma once

#include <openssl/ssl.h>

#include <memory>

namespace custom_bidi::network {

struct FreeTls {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* session) const { SSL_free(session); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTls>;
using TlsSession = std::unique_ptr<SSL, FreeTls>;

/// For talking to printers, which may be old: from TLS 1.0 on, with keys and signatures of any strength, and
/// whatever the certificate; who cares about that sets a verification up in it. Throws a std::bad_alloc.
TlsContext MakeTlsContext();

}  // namespace custom_bidi::network
