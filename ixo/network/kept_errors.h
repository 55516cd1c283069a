#pragma once

#include <openssl/err.h>

namespace custom_bidi::network {

/// OpenSSL's errors of the thread, which may be the host's, are afterwards as they were before.
class KeptErrors {
 public:
  KeptErrors() { ERR_set_mark(); }
  ~KeptErrors() { ERR_pop_to_mark(); }
  KeptErrors(const KeptErrors&) = delete;
  KeptErrors& operator=(const KeptErrors&) = delete;
};

}  // namespace custom_bidi::network
