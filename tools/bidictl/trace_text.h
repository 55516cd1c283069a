#pragma once

#include <string>
#include <string_view>

#include "tools/bidictl/text.h"

namespace custom_bidi_tools {

/// Turns the bytes of a trace file (UTF-16, low byte first) into UTF-8, piece by piece: a piece may end
/// within a character. CR LF becomes a plain line feed.
class TraceDecoder {
 public:
  std::string Decode(std::string_view bytes);

  /// What is left of a character at the file's end, as U+FFFD, or nothing. The decoder is as new afterwards.
  std::string Finish();

 private:
  void DecodeUnit(char32_t unit, std::string& text);

  bool has_low_byte_ = false;
  unsigned char low_byte_ = 0;
  char32_t high_surrogate_ = 0;  // 0: none is waiting for its other half
  bool has_carriage_return_ = false;
};

}  // namespace custom_bidi_tools
