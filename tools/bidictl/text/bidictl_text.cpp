#include "tools/bidictl/text/bidictl_text.h"

#include <algorithm>
#include <utility>

namespace custom_bidi_tools {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr size_t kGap = 2;

bool IsHighSurrogate(CustomBidiChar unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

std::string WithPlainLineFeeds(std::string text) {
  for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) {
    text.erase(at, 1);
  }
  return text;
}

bool BeginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

size_t CountCharacters(std::string_view text) {
  return static_cast<size_t>(std::ranges::count_if(text, BeginsCharacter));
}

/// How many bytes the first `count` characters of `text` have.
size_t BytesOf(std::string_view text, size_t count) {
  size_t bytes = 0;
  while (bytes < text.size() && (count > 0 || !BeginsCharacter(text[bytes]))) {
    count -= BeginsCharacter(text[bytes]) ? 1 : 0;
    ++bytes;
  }
  return bytes;
}

/// The text with a blank for each control character, of which those from U+0080 have two bytes.
std::string Printable(std::string_view text) {
  std::string result;
  for (size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool is_two_bytes =
        byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    result += byte < 0x20 || byte == 0x7F || is_two_bytes ? ' ' : text[at];
    at += is_two_bytes ? 1 : 0;
  }
  return result;
}

/// Where the first line of `text`, which is longer than `width`, ends: at a blank, or where there is none.
size_t LineEnd(std::string_view text, size_t width) {
  const size_t first_word = text.find_first_not_of(' ');
  const size_t blank = text.rfind(' ', BytesOf(text, width));
  if (blank != std::string_view::npos && blank > first_word) {
    return blank;
  }
  return std::min(text.find(' ', first_word), text.size());
}

/// The width of the name column: the longest name's, among those that leave the values three fifths of the
/// width.
size_t NameWidth(const std::vector<Row>& rows, size_t width) {
  size_t result = 0;
  for (const auto& row : rows) {
    const size_t characters = CountCharacters(Printable(row.name));
    if (characters + kGap <= width * 2 / 5) {
      result = std::max(result, characters);
    }
  }
  return result;
}

}  // namespace

std::string TraceDecoder::Decode(std::string_view bytes) {
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (has_low_byte_) {
      units_.push_back(static_cast<CustomBidiChar>(low_byte_ | (value << 8)));
    } else {
      low_byte_ = value;
    }
    has_low_byte_ = !has_low_byte_;
  }
  // What follows may make one with the last unit.
  const bool is_waiting = !units_.empty() && (IsHighSurrogate(units_.back()) || units_.back() == '\r');
  const size_t ready = units_.size() - (is_waiting ? 1 : 0);
  std::string text = WithPlainLineFeeds(ToUtf8(WideStringView(units_).substr(0, ready)));
  units_.erase(0, ready);
  return text;
}

std::string TraceDecoder::Finish() {
  std::string text = ToUtf8(units_);
  if (has_low_byte_ && text != kReplacement) {
    text += kReplacement;
  }
  *this = TraceDecoder();
  return text;
}

std::vector<std::string> WrapText(std::string_view text, size_t width) {
  const std::string printable = Printable(text);
  std::string_view rest = printable;
  const size_t room = std::max<size_t>(width, 1);
  std::vector<std::string> lines;
  while (CountCharacters(rest) > room) {
    const size_t end = LineEnd(rest, room);
    lines.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (!rest.empty() || lines.empty()) {
    lines.emplace_back(rest);
  }
  return lines;
}

std::string LayOut(const std::vector<Row>& rows, size_t width) {
  const size_t name_width = NameWidth(rows, width);
  const size_t indent = name_width + kGap;
  const size_t value_width = width - std::min(width, indent);

  std::string text;
  for (const auto& row : rows) {
    std::string line = Printable(row.name);
    size_t column = CountCharacters(line);
    if (column > name_width) {
      text += line + '\n';
      line.clear();
      column = 0;
    }
    for (const auto& part : WrapText(row.value, value_width)) {
      if (!part.empty()) {
        line += std::string(indent - column, ' ') + part;
      }
      text += line.empty() ? "" : line + '\n';
      line.clear();
      column = 0;
    }
  }
  return text;
}

}  // namespace custom_bidi_tools
