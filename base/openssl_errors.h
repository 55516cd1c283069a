#pragma once

#include <openssl/err.h>

namespace base {

/// OpenSSL's errors of the thread, which may be the host's, are afterwards as they were before.
class KeptOpenSslErrors {
 public:
  KeptOpenSslErrors() { ERR_set_mark(); }
  ~KeptOpenSslErrors() { ERR_pop_to_mark(); }
  KeptOpenSslErrors(const KeptOpenSslErrors&) = delete;
  KeptOpenSslErrors& operator=(const KeptOpenSslErrors&) = delete;
};

}  // namespace base
