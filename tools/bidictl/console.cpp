#include "tools/bidictl/console.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace custom_bidi_tools {

namespace {

constexpr size_t kLeastWidth = 20;
constexpr size_t kDefaultWidth = 100;

std::optional<size_t> ColumnsFromEnvironment() {
  const char* text = std::getenv("COLUMNS");
  if (!text)
    return std::nullopt;
  const char* end = text + std::strlen(text);
  size_t columns = 0;
  const auto [stop, error] = std::from_chars(text, end, columns);
  if (error != std::errc() || stop != end || columns < kLeastWidth)
    return std::nullopt;
  return columns;
}

}  // namespace

size_t OutputWidth() {
  if (const auto columns = ColumnsFromEnvironment())
    return *columns;
  return TerminalColumns().value_or(kDefaultWidth);
}

}  // namespace custom_bidi_tools
