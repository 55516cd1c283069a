#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "include/custom_bidi.h"

namespace custom_bidi_tools {

/// Text as the library takes and gives it.
using WideString = std::basic_string<CustomBidiChar>;
using WideStringView = std::basic_string_view<CustomBidiChar>;

/// What stands in for anything that is no character.
inline constexpr char32_t kReplacement = 0xFFFD;

/// UTF-16 as UTF-8; half of a surrogate pair without its other half becomes U+FFFD.
std::string ToUtf8(WideStringView text);

/// UTF-8 as UTF-16, or nothing when the text is not well-formed UTF-8.
std::optional<WideString> ToWide(std::string_view text);

void AppendUtf8(std::string& text, char32_t character);

/// Takes the first character off `text`, which is not empty. Where no well-formed character begins, one byte
/// is taken and the result is nothing.
std::optional<char32_t> TakeCharacter(std::string_view& text);

constexpr bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr char32_t JoinSurrogates(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

}  // namespace custom_bidi_tools
