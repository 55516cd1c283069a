#include "tools/bidictl/trace_text.h"

#include <utility>

namespace custom_bidi_tools {

std::string TraceDecoder::Decode(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() / 2);
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (has_low_byte_)
      DecodeUnit(static_cast<char32_t>(low_byte_ | (value << 8)), text);
    else
      low_byte_ = value;
    has_low_byte_ = !has_low_byte_;
  }
  return text;
}

void TraceDecoder::DecodeUnit(char32_t unit, std::string& text) {
  if (const char32_t high = std::exchange(high_surrogate_, 0)) {
    if (IsLowSurrogate(unit)) {
      AppendUtf8(text, JoinSurrogates(high, unit));
      return;
    }
    AppendUtf8(text, kReplacement);
  }
  if (std::exchange(has_carriage_return_, false) && unit != U'\n')
    text.push_back('\r');
  if (unit == U'\r')
    has_carriage_return_ = true;
  else if (IsHighSurrogate(unit))
    high_surrogate_ = unit;
  else
    AppendUtf8(text, IsLowSurrogate(unit) ? kReplacement : unit);
}

std::string TraceDecoder::Finish() {
  std::string text;
  if (has_carriage_return_)
    text.push_back('\r');
  if (high_surrogate_ != 0 || has_low_byte_)
    AppendUtf8(text, kReplacement);
  *this = TraceDecoder();
  return text;
}

}  // namespace custom_bidi_tools
