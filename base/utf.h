#pragma once

#include <string>
#include <string_view>

namespace base {

/// Each longest part of `text` that could begin a valid sequence but does not go on as one, and each byte
/// that could not begin one, becomes one U+FFFD. Overlong forms, surrogates and values above U+10FFFF are not
/// valid.
std::u16string ToUtf16(std::string_view text);

/// Each surrogate that is not part of a pair becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);

/// The text whose bytes, in UTF-16LE, these are. A last odd byte is left out.
std::u16string TextOfBytes(const void* bytes, size_t size_bytes);

/// True when every surrogate in `text` is part of a pair.
bool IsValidUtf16(std::u16string_view text);

/// The text with its letters in the one case by which Windows compares names: unit by unit, for the Latin,
/// Greek and Cyrillic letters, whatever the locale.
std::u16string FoldCase(std::u16string_view text);

}  // namespace base
