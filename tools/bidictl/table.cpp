#include "tools/bidictl/table.h"

#include <algorithm>

#include "tools/bidictl/text.h"

namespace custom_bidi_tools {

namespace {

constexpr size_t kGap = 2;
constexpr size_t kLeastValueWidth = 20;

std::u32string Printable(std::string_view text) {
  std::u32string result;
  while (!text.empty()) {
    const char32_t character = TakeCharacter(text).value_or(kReplacement);
    const bool is_control = character < 0x20 || (character >= 0x7F && character < 0xA0);
    result.push_back(is_control ? U' ' : character);
  }
  return result;
}

std::string Encode(std::u32string_view text) {
  std::string result;
  for (const char32_t character : text)
    AppendUtf8(result, character);
  return result;
}

/// Where the first line of `text`, which is longer than `width`, ends.
size_t LineEnd(std::u32string_view text, size_t width) {
  const size_t blank = text.substr(0, width + 1).rfind(U' ');
  return blank == std::u32string_view::npos || blank == 0 ? width : blank;
}

/// The width of the name column: the longest name's, among those that leave the values three fifths of the
/// width.
size_t NameWidth(const std::vector<std::u32string>& names, size_t width) {
  size_t result = 0;
  for (const auto& name : names) {
    if (name.size() + kGap <= width * 2 / 5)
      result = std::max(result, name.size());
  }
  return result;
}

}  // namespace

std::vector<std::string> WrapText(std::string_view text, size_t width) {
  const std::u32string printable = Printable(text);
  std::u32string_view rest = printable;
  const size_t room = std::max<size_t>(width, 1);
  std::vector<std::string> lines;
  while (rest.size() > room) {
    const size_t end = LineEnd(rest, room);
    lines.push_back(Encode(rest.substr(0, end)));
    rest.remove_prefix(end);
    if (rest.front() == U' ')
      rest.remove_prefix(1);
  }
  lines.push_back(Encode(rest));
  return lines;
}

std::string LayOut(const std::vector<Row>& rows, size_t width) {
  std::vector<std::u32string> names;
  for (const auto& row : rows)
    names.push_back(Printable(row.name));
  const size_t name_width = NameWidth(names, width);
  const size_t indent = name_width + kGap;
  const size_t value_width = width > indent + kLeastValueWidth ? width - indent : kLeastValueWidth;

  std::string text;
  for (size_t i = 0; i < rows.size(); ++i) {
    std::string line = Encode(names[i]);
    size_t column = names[i].size();
    if (column > name_width) {
      text += line + '\n';
      line.clear();
      column = 0;
    }
    for (const auto& part : WrapText(rows[i].value, value_width)) {
      if (!part.empty())
        line += std::string(indent - column, ' ') + part;
      text += line + '\n';
      line.clear();
      column = 0;
    }
  }
  return text;
}

}  // namespace custom_bidi_tools
