#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace custom_bidi_tools {

struct Row {
  std::string name;
  std::string value;
};

/// Cuts `text` into lines of at most `width` characters, at blanks where there are any, never inside a
/// character. At least one line. Control characters become blanks, bytes that are not UTF-8 become U+FFFD.
std::vector<std::string> WrapText(std::string_view text, size_t width);

/// Lays rows out in two aligned columns within `width` characters (every character counts as one column). A
/// name that would leave its value too little room stands on a line of its own.
std::string LayOut(const std::vector<Row>& rows, size_t width);

}  // namespace custom_bidi_tools
