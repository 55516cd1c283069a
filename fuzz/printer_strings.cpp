// A printer's strings file: what was read is written so that it reads back as the same.

#include "ixo/network/strings_file.h"

#include "fuzz/fuzz_input.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  const StringPairs pairs = ReadStrings({reinterpret_cast<const char*>(data), size});
  for (const auto& [key, value] : pairs) {
    custom_bidi::fuzz::Demand(!key.empty(), "an entry has a key");
  }
  custom_bidi::fuzz::Demand(ReadStrings(WriteStrings(pairs)) == pairs, "what is written reads back");
  return 0;
}
