#pragma once

/// Bounded UTF-16 text: copies and formatted text for fixed buffers. Nothing here allocates.

#include <array>
#include <concepts>
#include <cstdint>
#include <span>

#include "src/platform.h"

namespace custom_bidi {

/// The text's length in characters up to its NUL; 0 for null.
size_t TextLength(const WCHAR* text) noexcept;

inline bool IsNullOrEmpty(const WCHAR* text) noexcept {
  return text == nullptr || *text == 0;
}

/// The text of a BSTR up to its first NUL, at most its own length; empty for null.
WStringView BstrText(BSTR text) noexcept;

/// Copies as many units of `source` as fit into `target` with a terminator, exactly: names and values keep
/// their first characters, whatever these are. An empty `target` is left alone. Returns false when `source`
/// did not fit whole.
bool CopyText(std::span<WCHAR> target, WStringView source) noexcept;

/// The same for NUL-terminated text; null counts as empty.
bool CopyText(std::span<WCHAR> target, const WCHAR* source) noexcept;

/// One argument of a format: a text (null is written as "(null)") or a number, of which the low 32 bits
/// count.
class FormatArgument {
 public:
  // NOLINTBEGIN(google-explicit-constructor): made from the arguments of a call
  FormatArgument(const WCHAR* text) : text_(text), is_text_(true) {}
  FormatArgument(const WString& text) : FormatArgument(text.c_str()) {}
  template <std::integral Number>
  FormatArgument(Number number) : number_(static_cast<uint32_t>(number)) {}
  // NOLINTEND(google-explicit-constructor)

  bool is_text() const { return is_text_; }
  const WCHAR* text() const { return text_; }
  uint32_t number() const { return number_; }

 private:
  const WCHAR* text_ = nullptr;
  uint32_t number_ = 0;
  bool is_text_ = false;
};

/// Formats into `target` as printf does, bounded and terminated. A text that is cut, for the trace then, does
/// not end with half of a surrogate pair.
///
/// Conversions: %s (also %ls), %d, %u, %x, %X with an optional 0 flag and width, and %%. A conversion that is
/// unknown, or whose argument is missing or of the other kind, is written as it stands.
/// Returns the length that the whole text has, terminator not counted: it was cut when that is not below the
/// capacity.
size_t FormatTextList(std::span<WCHAR> target,
                      const WCHAR* format,
                      std::span<const FormatArgument> arguments) noexcept;

template <class... Arguments>
size_t FormatText(std::span<WCHAR> target, const WCHAR* format, const Arguments&... arguments) noexcept {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  return FormatTextList(target, format, list);
}

}  // namespace custom_bidi
