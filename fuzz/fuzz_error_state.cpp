// The error state's number is what the C library reads at base 16, brought down from its 64 bits to 32.

#include <cerrno>
#include <limits>
#include <string>

#include "fuzz/fuzz_input.h"
#include "src/deviceio/snmp_status.h"

namespace custom_bidi::fuzz {
namespace {

DWORD NumberByTheCLibrary(const std::string& text) {
  constexpr auto kLimit = std::numeric_limits<DWORD>::max();
  errno = 0;
  const unsigned long long number = std::strtoull(text.c_str(), nullptr, 16);
  const size_t first = text.find_first_not_of(" \t\n\v\f\r");
  const bool negative = first != std::string::npos && text[first] == '-';
  const unsigned long long magnitude = negative ? 0 - number : number;
  return errno == ERANGE || magnitude > kLimit ? kLimit : static_cast<DWORD>(number);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string ascii;
  for (size_t i = 0; i < size && data[i] > 0 && data[i] < 0x80; ++i) {
    ascii.push_back(static_cast<char>(data[i]));
  }
  const ExactText text(WString(ascii.begin(), ascii.end()));
  Demand(ParseErrorState(text.View()) == NumberByTheCLibrary(ascii), "the number is the C library's");
  return 0;
}

}  // namespace custom_bidi::fuzz
