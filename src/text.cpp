#include "src/text.h"

#include <algorithm>

namespace custom_bidi {
namespace {

constexpr bool IsHighSurrogate(WCHAR unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

/// Appends to a fixed buffer and counts what the whole text would take.
class BoundedWriter {
 public:
  explicit BoundedWriter(std::span<WCHAR> target) : target_(target) {}

  void Append(WStringView text) {
    if (length_ < target_.size()) {
      std::copy_n(text.begin(), std::min(text.size(), target_.size() - length_), target_.begin() + Offset());
    }
    length_ += text.size();
  }

  void AppendRepeated(WCHAR unit, size_t count) {
    for (size_t i = 0; i < count; ++i) {
      Append(WStringView(&unit, 1));
    }
  }

  /// Terminates the text, without half a pair at the cut, and returns its whole length.
  size_t Finish() {
    if (target_.empty()) {
      return length_;
    }
    size_t end = std::min(length_, target_.size() - 1);
    if (end < length_ && end > 0 && IsHighSurrogate(target_[end - 1])) {
      --end;
    }
    target_[end] = 0;
    return length_;
  }

 private:
  std::ptrdiff_t Offset() const { return static_cast<std::ptrdiff_t>(length_); }

  std::span<WCHAR> target_;
  size_t length_ = 0;
};

/// A conversion as it stands in the format: what follows the percent sign.
struct Conversion {
  bool zero_fill = false;
  size_t width = 0;
  WCHAR kind = 0;     // s, d, u, x, X, % or anything else
  size_t length = 0;  // in the format, percent sign included
};

constexpr size_t kMaxWidth = 64;

Conversion ParseConversion(WStringView format) {
  Conversion conversion;
  size_t at = 1;
  if (at < format.size() && format[at] == '0') {
    conversion.zero_fill = true;
    ++at;
  }
  for (; at < format.size() && format[at] >= '0' && format[at] <= '9'; ++at) {
    conversion.width = std::min(kMaxWidth, conversion.width * 10 + static_cast<size_t>(format[at] - '0'));
  }
  while (at < format.size() && format[at] == 'l') {
    ++at;
  }
  if (at < format.size()) {
    conversion.kind = format[at++];
  }
  conversion.length = at;
  return conversion;
}

bool TakesNumber(WCHAR kind) {
  return kind == 'd' || kind == 'u' || kind == 'x' || kind == 'X';
}

void AppendNumber(BoundedWriter& writer, const Conversion& conversion, uint32_t number) {
  const bool negative = conversion.kind == 'd' && static_cast<int32_t>(number) < 0;
  const uint32_t base = conversion.kind == 'd' || conversion.kind == 'u' ? 10 : 16;
  uint32_t rest = negative ? 0 - number : number;

  std::array<WCHAR, 10> digits{};
  size_t first = digits.size();
  do {
    const uint32_t digit = rest % base;
    const uint32_t letter = conversion.kind == 'X' ? 0x41U : 0x61U;  // A or a
    digits[--first] = static_cast<WCHAR>(digit < 10 ? '0' + digit : letter + digit - 10);
    rest /= base;
  } while (rest != 0);

  const WStringView text(&digits[first], digits.size() - first);
  const size_t written = text.size() + (negative ? 1 : 0);
  const size_t fill = conversion.width > written ? conversion.width - written : 0;
  if (!conversion.zero_fill) {
    writer.AppendRepeated(' ', fill);
  }
  if (negative) {
    writer.AppendRepeated('-', 1);
  }
  if (conversion.zero_fill) {
    writer.AppendRepeated('0', fill);
  }
  writer.Append(text);
}

void AppendWords(BoundedWriter& writer, const Conversion& conversion, const WCHAR* words) {
  const WStringView text(words != nullptr ? words : W("(null)"));
  if (conversion.width > text.size()) {
    writer.AppendRepeated(' ', conversion.width - text.size());
  }
  writer.Append(text);
}

}  // namespace

size_t TextLength(const WCHAR* text) noexcept {
  return text != nullptr ? std::char_traits<WCHAR>::length(text) : 0;
}

WStringView BstrText(BSTR text) noexcept {
  const WStringView whole(text, text != nullptr ? SysStringLen(text) : 0);
  return whole.substr(0, whole.find(WCHAR{0}));
}

bool CopyText(std::span<WCHAR> target, WStringView source) noexcept {
  if (target.empty()) {
    return false;
  }
  const size_t kept = std::min(source.size(), target.size() - 1);
  std::copy_n(source.begin(), kept, target.begin());
  target[kept] = 0;
  return kept == source.size();
}

bool CopyText(std::span<WCHAR> target, const WCHAR* source) noexcept {
  return CopyText(target, WStringView(source, TextLength(source)));
}

size_t FormatTextList(std::span<WCHAR> target,
                      const WCHAR* format,
                      std::span<const FormatArgument> arguments) noexcept {
  BoundedWriter writer(target);
  WStringView rest(format);
  size_t next = 0;
  while (!rest.empty()) {
    const size_t percent = std::min(rest.find(WCHAR{'%'}), rest.size());
    writer.Append(rest.substr(0, percent));
    rest.remove_prefix(percent);
    if (rest.empty()) {
      break;
    }

    const Conversion conversion = ParseConversion(rest);
    const FormatArgument* argument = next < arguments.size() ? &arguments[next] : nullptr;
    if (conversion.kind == '%') {
      writer.AppendRepeated('%', 1);
    } else if (conversion.kind == 's' && argument != nullptr && argument->is_text()) {
      AppendWords(writer, conversion, argument->text());
      ++next;
    } else if (TakesNumber(conversion.kind) && argument != nullptr && !argument->is_text()) {
      AppendNumber(writer, conversion, argument->number());
      ++next;
    } else {
      writer.Append(rest.substr(0, conversion.length));
    }
    rest.remove_prefix(conversion.length);
  }
  return writer.Finish();
}

}  // namespace custom_bidi
