#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/custom_bidi.h"

/// Text as the library takes and gives it, as the trace file holds it, and as it is shown.
namespace custom_bidi_tools {

using WideString = std::basic_string<CustomBidiChar>;
using WideStringView = std::basic_string_view<CustomBidiChar>;

/// UTF-16 as UTF-8; half of a surrogate pair without its other half becomes U+FFFD.
std::string ToUtf8(WideStringView text);

/// UTF-8 as UTF-16, or nothing when the text is not well-formed UTF-8.
std::optional<WideString> ToWide(std::string_view text);

/// Turns the bytes of a trace file (UTF-16, low byte first) into UTF-8, piece by piece: a piece may end
/// within a character. CR LF becomes a plain line feed.
class TraceDecoder {
 public:
  std::string Decode(std::string_view bytes);

  /// What is left of a character at the file's end, as U+FFFD, or nothing. The decoder is as new afterwards.
  std::string Finish();

 private:
  WideString units_;  // those that wait for what follows them
  bool has_low_byte_ = false;
  unsigned char low_byte_ = 0;
};

struct Row {
  std::string name;
  std::string value;
};

/// Cuts `text`, which is UTF-8, into lines of at most `width` characters, at blanks alone: a word or a number that
/// is longer stands whole on a line. At least one line. Control characters become blanks.
std::vector<std::string> WrapText(std::string_view text, size_t width);

/// Lays rows out in two aligned columns within `width` characters (every character counts as one column). A
/// name that would leave its value too little room stands on a line of its own.
std::string LayOut(const std::vector<Row>& rows, size_t width);

}  // namespace custom_bidi_tools
