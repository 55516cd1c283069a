#pragma once

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>

#include "src/platform.h"

namespace custom_bidi::test {

/// The number that the C library reads at base 16, brought down from its 64 bits to 32. For ASCII text.
inline DWORD ErrorStateByTheCLibrary(const std::string& text) {
  constexpr auto kLimit = std::numeric_limits<DWORD>::max();
  errno = 0;
  const unsigned long long number = std::strtoull(text.c_str(), nullptr, 16);
  if (errno == ERANGE)
    return kLimit;
  const size_t first = text.find_first_not_of(" \t\n\v\f\r");
  const bool negative = first != std::string::npos && text[first] == '-';
  const unsigned long long magnitude = negative ? 0 - number : number;
  return magnitude > kLimit ? kLimit : static_cast<DWORD>(number);
}

}  // namespace custom_bidi::test
