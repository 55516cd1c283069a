#include "base/utf.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace base {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool IsLeadSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsTrailSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// What may follow a lead byte: how many bytes, and the range of the first, which is what keeps out overlong
// forms, surrogates and values that are too high.
struct LeadByte {
  int trail_count;  // -1: no lead byte
  uint8_t first_low = 0x80;
  uint8_t first_high = 0xBF;
};

LeadByte Classify(uint8_t byte) {
  if (byte < 0x80) {
    return {0};
  }
  if (byte < 0xC2) {
    return {-1};
  }
  if (byte < 0xE0) {
    return {1};
  }
  if (byte < 0xF0) {
    if (byte == 0xE0) {
      return {2, 0xA0, 0xBF};
    }
    return byte == 0xED ? LeadByte{2, 0x80, 0x9F} : LeadByte{2};
  }
  if (byte == 0xF0) {
    return {3, 0x90, 0xBF};
  }
  if (byte < 0xF4) {
    return {3};
  }
  return byte == 0xF4 ? LeadByte{3, 0x80, 0x8F} : LeadByte{-1};
}

// Reads one code point and moves `at` behind what it took, at least one byte.
char32_t NextCodePoint(std::string_view text, size_t& at) {
  const uint8_t lead = static_cast<uint8_t>(text[at++]);
  const LeadByte shape = Classify(lead);
  if (shape.trail_count == 0) {
    return lead;
  }
  if (shape.trail_count < 0) {
    return kReplacement;
  }
  char32_t code_point = lead & (0x3Fu >> shape.trail_count);
  uint8_t low = shape.first_low;
  uint8_t high = shape.first_high;
  for (int i = 0; i < shape.trail_count; ++i) {
    if (at == text.size()) {
      return kReplacement;
    }
    const uint8_t trail = static_cast<uint8_t>(text[at]);
    if (trail < low || trail > high) {
      return kReplacement;
    }
    code_point = code_point << 6 | (trail & 0x3F);
    ++at;
    low = 0x80;
    high = 0xBF;
  }
  return code_point;
}

void AppendUtf8(std::string& out, char32_t code_point) {
  if (code_point < 0x80) {
    out += static_cast<char>(code_point);
    return;
  }
  if (code_point < 0x800) {
    out += static_cast<char>(0xC0 | code_point >> 6);
  } else {
    if (code_point < 0x10000) {
      out += static_cast<char>(0xE0 | code_point >> 12);
    } else {
      out += static_cast<char>(0xF0 | code_point >> 18);
      out += static_cast<char>(0x80 | (code_point >> 12 & 0x3F));
    }
    out += static_cast<char>(0x80 | (code_point >> 6 & 0x3F));
  }
  out += static_cast<char>(0x80 | (code_point & 0x3F));
}

template <class Text>
size_t AsciiPrefix(const Text& text) {
  const auto is_ascii = [](auto unit) { return (unit & ~0x7F) == 0; };
  return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), is_ascii) - text.begin());
}

// True when a pair begins at `at`.
bool IsPairAt(std::u16string_view text, size_t at) {
  return IsLeadSurrogate(text[at]) && at + 1 < text.size() && IsTrailSurrogate(text[at + 1]);
}

char16_t FoldUnit(char16_t unit) {
  const auto within = [unit](char16_t low, char16_t high) { return unit >= low && unit <= high; };
  const auto moved = [unit](int distance) { return static_cast<char16_t>(unit + distance); };
  if (unit < 0x80) {
    return within(u'a', u'z') ? moved(-0x20) : unit;
  }
  if (within(0x00E0, 0x00FE)) {
    return unit == 0x00F7 ? unit : moved(-0x20);
  }
  if (unit == 0x00FF) {
    return 0x0178;
  }
  // Latin Extended-A stands in pairs, the capital first: on even places, but on odd ones in two stretches.
  // The dotless i has no capital of its own.
  if (within(0x0139, 0x0148) || within(0x0179, 0x017E)) {
    return unit % 2 == 0 ? moved(-1) : unit;
  }
  if (within(0x0100, 0x0137) || within(0x014A, 0x0177)) {
    return unit % 2 == 1 && unit != 0x0131 ? moved(-1) : unit;
  }
  if (within(0x03B1, 0x03C9)) {
    return unit == 0x03C2 ? unit : moved(-0x20);
  }
  if (within(0x0430, 0x044F)) {
    return moved(-0x20);
  }
  if (within(0x0450, 0x045F)) {
    return moved(-0x50);
  }
  return unit;
}

}  // namespace

std::u16string ToUtf16(std::string_view text) {
  size_t at = AsciiPrefix(text);  // most texts, whole
  std::u16string out(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at));
  out.reserve(text.size());
  while (at < text.size()) {
    const char32_t code_point = NextCodePoint(text, at);
    if (code_point < 0x10000) {
      out += static_cast<char16_t>(code_point);
    } else {
      out += static_cast<char16_t>(0xD7C0 + (code_point >> 10));
      out += static_cast<char16_t>(0xDC00 | (code_point & 0x3FF));
    }
  }
  return out;
}

std::string ToUtf8(std::u16string_view text) {
  size_t at = AsciiPrefix(text);
  std::string out(at, 0);
  std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), out.begin(),
                 [](char16_t unit) { return static_cast<char>(unit); });
  out.reserve(text.size());
  for (; at < text.size(); ++at) {
    const char32_t unit = text[at];
    if (IsPairAt(text, at)) {
      AppendUtf8(out, 0x10000 + ((unit & 0x3FF) << 10) + (text[at + 1] & 0x3FF));
      ++at;
    } else {
      AppendUtf8(out, IsLeadSurrogate(unit) || IsTrailSurrogate(unit) ? kReplacement : unit);
    }
  }
  return out;
}

std::u16string TextOfBytes(const void* bytes, size_t size_bytes) {
  static_assert(std::endian::native == std::endian::little);
  std::u16string text(size_bytes / sizeof(char16_t), 0);
  if (!text.empty()) {
    std::memcpy(text.data(), bytes, text.size() * sizeof(char16_t));
  }
  return text;
}

bool IsValidUtf16(std::u16string_view text) {
  for (size_t at = 0; at < text.size(); ++at) {
    if (IsPairAt(text, at)) {
      ++at;
    } else if (IsLeadSurrogate(text[at]) || IsTrailSurrogate(text[at])) {
      return false;
    }
  }
  return true;
}

std::u16string FoldCase(std::u16string_view text) {
  std::u16string folded(text);
  for (char16_t& unit : folded) {
    unit = FoldUnit(unit);
  }
  return folded;
}

}  // namespace base
