// A vault's entries read back as they were written; a sealed vault is unsealed as it was, or not at all.

#include "fuzz/fuzz_input.h"
#include "ixo/vault/entries.h"
#include "ixo/vault/sealing.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::vault;
  const std::vector<BYTE> bytes(data, data + size);
  Entries entries;
  if (entries.Read(bytes)) {
    const SecureBytes written = entries.Write();
    Entries again;
    Demand(again.Read(written) && again.Write() == written, "what is written reads back");
  }
  const SecureBytes key(kKeyBytes, 7);
  SecureBytes plain;
  const DWORD code = Unseal(key, bytes, plain);
  Demand(code == ERROR_SUCCESS || (code == ERROR_INVALID_DATA && plain.empty()), "unsealed, or nothing");

  std::vector<BYTE> sealed;
  Demand(Seal(key, bytes, sealed) == ERROR_SUCCESS && sealed.size() == size + kSealBytes, "sealed");
  Demand(Unseal(key, sealed, plain) == ERROR_SUCCESS && std::ranges::equal(plain, bytes), "and unsealed");
  sealed[size % sealed.size()] ^= 1;
  Demand(Unseal(key, sealed, plain) == ERROR_INVALID_DATA && plain.empty(), "a changed bit is seen");
  return 0;
}

}  // namespace custom_bidi::fuzz
