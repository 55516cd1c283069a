// A printer's strings file: what was read is written so that it reads back as the same.

#include "ixo/network/ipp/strings_file.h"

#include "fuzz/fuzz_input.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  const StringPairs pairs = ReadStrings({reinterpret_cast<const char*>(data), size});
  for (const auto& [key, value] : pairs) {
    Demand(!key.empty(), "an entry has a key");
  }
  Demand(ReadStrings(WriteStrings(pairs)) == pairs, "what is written reads back");
  return 0;
}

}  // namespace custom_bidi::fuzz
