#include "tools/bidictl/text.h"

#include <cstddef>

namespace custom_bidi_tools {

namespace {

struct Lead {
  size_t trail_count;
  char32_t bits;
  char32_t least;  // a smaller character has a shorter form, so this one is overlong
};

std::optional<Lead> ReadLead(unsigned char byte) {
  if (byte < 0x80)
    return Lead{0, byte, 0};
  if (byte >= 0xC0 && byte < 0xE0)
    return Lead{1, byte & 0x1FU, 0x80};
  if (byte >= 0xE0 && byte < 0xF0)
    return Lead{2, byte & 0x0FU, 0x800};
  if (byte >= 0xF0 && byte < 0xF8)
    return Lead{3, byte & 0x07U, 0x10000};
  return std::nullopt;
}

bool IsCharacter(char32_t value) {
  return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

}  // namespace

void AppendUtf8(std::string& text, char32_t character) {
  const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    append(character);
    return;
  }
  if (character < 0x800) {
    append(0xC0 | (character >> 6));
  } else {
    if (character < 0x10000) {
      append(0xE0 | (character >> 12));
    } else {
      append(0xF0 | (character >> 18));
      append(0x80 | ((character >> 12) & 0x3F));
    }
    append(0x80 | ((character >> 6) & 0x3F));
  }
  append(0x80 | (character & 0x3F));
}

std::optional<char32_t> TakeCharacter(std::string_view& text) {
  const auto lead = ReadLead(static_cast<unsigned char>(text.front()));
  const auto skip = [&text](size_t count) { text.remove_prefix(count); };
  if (!lead || text.size() <= lead->trail_count) {
    skip(1);
    return std::nullopt;
  }
  char32_t value = lead->bits;
  for (size_t i = 1; i <= lead->trail_count; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80) {
      skip(1);
      return std::nullopt;
    }
    value = (value << 6) | (byte & 0x3FU);
  }
  if (value < lead->least || !IsCharacter(value)) {
    skip(1);
    return std::nullopt;
  }
  skip(lead->trail_count + 1);
  return value;
}

std::string ToUtf8(WideStringView text) {
  std::string result;
  result.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char32_t unit = text[i];
    if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      AppendUtf8(result, JoinSurrogates(unit, text[i + 1]));
      ++i;
    } else {
      AppendUtf8(result, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : unit);
    }
  }
  return result;
}

std::optional<WideString> ToWide(std::string_view text) {
  WideString result;
  result.reserve(text.size());
  while (!text.empty()) {
    const auto character = TakeCharacter(text);
    if (!character)
      return std::nullopt;
    if (*character < 0x10000) {
      result.push_back(static_cast<CustomBidiChar>(*character));
      continue;
    }
    const char32_t offset = *character - 0x10000;
    result.push_back(static_cast<CustomBidiChar>(0xD800 + (offset >> 10)));
    result.push_back(static_cast<CustomBidiChar>(0xDC00 + (offset & 0x3FF)));
  }
  return result;
}

}  // namespace custom_bidi_tools
