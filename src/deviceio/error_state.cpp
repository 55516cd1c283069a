#include "src/deviceio/error_state.h"

#include <cstdint>
#include <limits>

namespace custom_bidi {
namespace {

constexpr int kNoDigit = -1;

int HexDigit(WCHAR unit) {
  if (unit >= '0' && unit <= '9')
    return unit - '0';
  if (unit >= 'a' && unit <= 'f')
    return unit - 'a' + 10;
  if (unit >= 'A' && unit <= 'F')
    return unit - 'A' + 10;
  return kNoDigit;
}

bool IsSpace(WCHAR unit) {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

bool HasHexPrefix(WStringView text) {
  return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
         HexDigit(text[2]) != kNoDigit;
}

}  // namespace

DWORD ParseErrorState(WStringView text) noexcept {
  while (!text.empty() && IsSpace(text.front()))
    text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+'))
    text.remove_prefix(1);
  if (HasHexPrefix(text))
    text.remove_prefix(2);

  constexpr uint32_t kLimit = std::numeric_limits<uint32_t>::max();
  uint32_t number = 0;
  for (; !text.empty() && HexDigit(text.front()) != kNoDigit; text.remove_prefix(1)) {
    if (number > kLimit / 16)
      return kLimit;
    number = number * 16 + static_cast<uint32_t>(HexDigit(text.front()));
  }
  return negative ? 0 - number : number;
}

}  // namespace custom_bidi
