#include "ixo/network/tls_context.h"

#include <new>

namespace custom_bidi::network {

TlsContext MakeTlsContext() {
  TlsContext context(SSL_CTX_new(TLS_client_method()));
  if (!context) {
    throw std::bad_alloc();
  }
  SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
  SSL_CTX_set_security_level(context.get(), 0);
  SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
  // Printers that close without a word have said all they had to say: lengths tell what is missing.
  SSL_CTX_set_options(context.get(), SSL_OP_IGNORE_UNEXPECTED_EOF | SSL_OP_LEGACY_SERVER_CONNECT);
  return context;
}

}  // namespace custom_bidi::network
