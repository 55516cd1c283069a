// The formatter: within its buffer, as long as it says, and numbers as the C library writes them.

#include <string>

#include "fuzz/fuzz_input.h"
#include "src/text.h"

namespace custom_bidi::fuzz {
namespace {

using Formatted = std::pair<size_t, WString>;  // with the length that the formatter gives

Formatted FormatInto(size_t capacity, const WString& format, std::span<const FormatArgument> arguments) {
  const std::unique_ptr<WCHAR[]> buffer(new WCHAR[capacity]);
  const size_t length = FormatTextList({buffer.get(), capacity}, format.c_str(), arguments);
  return {length, capacity > 0 ? WString(buffer.get()) : WString()};
}

void CompareNumber(Input input) {
  const uint8_t choice = input.TakeByte();
  const uint32_t number = input.TakeNumber();
  std::string format = {'%', '0', static_cast<char>('1' + (choice >> 2) % 9), "duxX"[choice & 3U]};
  if ((choice & 0x80U) == 0) {
    format.erase(1, 1);
  }
  char expected[32];
  std::snprintf(expected, sizeof(expected), format.c_str(), number);
  WCHAR written[32];
  FormatText(written, WString(format.begin(), format.end()).c_str(), number);
  const std::string_view text(expected);
  Demand(WString(written) == WString(text.begin(), text.end()), "a number is as the C library writes it");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CompareNumber(Input(data, size));

  Input input(data, size);
  const size_t capacity = input.TakeByte();
  const WString format = input.TakeText();
  const WString texts[] = {input.TakeText(), input.TakeText()};
  const FormatArgument arguments[] = {texts[0], input.TakeNumber(), texts[1], input.TakeNumber(),
                                      static_cast<const WCHAR*>(nullptr)};

  constexpr size_t kPlenty = 1 << 15;
  const auto [whole_length, whole] = FormatInto(kPlenty, format, arguments);
  Demand(whole_length >= kPlenty || whole.size() == whole_length, "the length is what was written");

  const auto [length, cut] = FormatInto(capacity, format, arguments);
  Demand(length == whole_length, "the length does not depend on the capacity");
  Demand(whole.starts_with(cut), "what is cut is cut at its end");
  Demand(length >= capacity || cut == whole, "what fits is whole");
  if (length >= capacity && capacity > 0) {
    const size_t lost = capacity - 1 - cut.size();
    const bool cuts_pair = lost == 1 && whole[cut.size()] >= 0xD800 && whole[cut.size()] <= 0xDBFF;
    Demand(lost == 0 || cuts_pair, "room is only left in place of half a pair");
    const bool ends_high = !cut.empty() && cut.back() >= 0xD800 && cut.back() <= 0xDBFF;
    const bool goes_on_low = whole[cut.size()] >= 0xDC00 && whole[cut.size()] <= 0xDFFF;
    Demand(!ends_high || !goes_on_low, "no pair is cut");
  }
  return 0;
}

}  // namespace custom_bidi::fuzz
