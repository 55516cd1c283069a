// The error state's number is what the C library reads.

#include "src/deviceio/error_state.h"

#include "fuzz/fuzz_input.h"
#include "tests/unit/error_state_reference.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi;
  WString text;
  std::string ascii;
  for (const uint8_t byte : std::span(data, size)) {
    if (byte == 0 || byte >= 0x80)
      break;
    text.push_back(byte);
    ascii.push_back(static_cast<char>(byte));
  }
  fuzz::Demand(ParseErrorState(fuzz::ExactText(text).View()) == test::ErrorStateByTheCLibrary(ascii),
               "the number is the C library's");
  return 0;
}
