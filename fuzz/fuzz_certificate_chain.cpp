// A printer's certificates one after the other, the last of which is trusted: verified, and told as warnings.

#include <openssl/err.h>

#include <set>

#include "fuzz/fuzz_input.h"
#include "ixo/network/certificate/verification.h"
#include "ixo/support/provider_answers.h"

namespace custom_bidi::fuzz {
namespace {

struct FreeChain {
  void operator()(STACK_OF(X509) * chain) const { sk_X509_pop_free(chain, X509_free); }
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  const std::unique_ptr<STACK_OF(X509), FreeChain> chain(sk_X509_new_null());
  const uint8_t* at = data;
  while (X509* const certificate = d2i_X509(nullptr, &at, data + size - at)) {
    sk_X509_push(chain.get(), certificate);
  }
  bool valid = false;
  const bool is_dated = support::CheckDates({data, size}, valid) == S_OK;
  const int count = sk_X509_num(chain.get());
  Demand(count > 0 || !is_dated, "what is no certificate has no dates");
  if (count > 0) {
    const TrustStore store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), sk_X509_value(chain.get(), count - 1));
    const VerifyProblems problems =
        VerifyPresented(store.get(), sk_X509_value(chain.get(), 0), chain.get(), "localhost");
    const std::vector<DWORD> warnings = WarningsOf(problems);
    Demand(warnings.empty() == problems.none(), "every problem is warned of");
    Demand(warnings.size() <= kMaxWarnings, "a reader takes them all");
    Demand(std::set(warnings.begin(), warnings.end()).size() == warnings.size(), "each is told once");
  }
  ERR_clear_error();
  return 0;
}

}  // namespace custom_bidi::fuzz
