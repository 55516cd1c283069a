#include "pal/registry_parser.h"

#include "pal/registry.h"
#include "pal/text.h"

namespace pal {
namespace {

constexpr std::u16string_view kBlanks = u" \t\r";

std::u16string_view Trim(std::u16string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::u16string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// True for what may stand behind a key or a value.
bool IsNothingOrComment(std::u16string_view text) {
  text = Trim(text);
  return text.empty() || text[0] == u';';
}

std::u16string_view WithoutComment(std::u16string_view text) {
  return Trim(text.substr(0, text.find(u';')));
}

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9')
    return c - u'0';
  if (c >= u'a' && c <= u'f')
    return c - u'a' + 10;
  if (c >= u'A' && c <= u'F')
    return c - u'A' + 10;
  return -1;
}

// One to `max_digits` digits and nothing else.
std::optional<DWORD> HexNumber(std::u16string_view text, size_t max_digits) {
  if (text.empty() || text.size() > max_digits)
    return std::nullopt;
  DWORD number = 0;
  for (const char16_t c : text) {
    const int digit = HexDigit(c);
    if (digit < 0)
      return std::nullopt;
    number = number << 4 | static_cast<DWORD>(digit);
  }
  return number;
}

// Takes `word`, in either case, from the front of `text`.
bool TakeWord(std::u16string_view& text, std::u16string_view word) {
  if (FoldCase(text.substr(0, word.size())) != FoldCase(word))
    return false;
  text.remove_prefix(word.size());
  return true;
}

// Takes a text in quotation marks from the front of `text`. A backslash stands before a quotation mark or
// another backslash; before anything else, as people write paths, it stands for itself.
std::optional<std::u16string> TakeQuoted(std::u16string_view& text) {
  std::u16string quoted;
  for (size_t at = 1; at < text.size(); ++at) {
    char16_t c = text[at];
    if (c == u'"') {
      text.remove_prefix(at + 1);
      return quoted;
    }
    if (c == u'\\' && at + 1 < text.size() && (text[at + 1] == u'"' || text[at + 1] == u'\\'))
      c = text[++at];
    quoted += c;
  }
  return std::nullopt;
}

// Appends the bytes of "aa,bb,cc"; a comma may stand at the end.
bool AppendBytes(std::u16string_view list, std::vector<BYTE>& bytes) {
  while (!list.empty()) {
    const size_t comma = list.find(u',');
    const auto byte = HexNumber(Trim(list.substr(0, comma)), 2);
    if (!byte)
      return false;
    bytes.push_back(static_cast<BYTE>(*byte));
    if (comma == std::u16string_view::npos)
      break;
    list = Trim(list.substr(comma + 1));
  }
  return true;
}

}  // namespace

void RegistryParser::Run() {
  while (!rest_.empty()) {
    const std::u16string_view line = NextLine();
    if (line.empty())
      continue;
    if (line[0] == u'[')
      ReadKey(line);
    else if (key_ && (line[0] == u'"' || line[0] == u'@'))
      ReadValue(line);
  }
}

std::u16string_view RegistryParser::NextLine() {
  const size_t end = rest_.find(u'\n');
  const std::u16string_view line = rest_.substr(0, end);
  rest_.remove_prefix(end == std::u16string_view::npos ? rest_.size() : end + 1);
  return Trim(line);
}

void RegistryParser::ReadKey(std::u16string_view line) {
  key_ = nullptr;
  // The last one: a key's name may hold brackets.
  const size_t end = line.rfind(u']');
  if (end == std::u16string_view::npos || !IsNothingOrComment(line.substr(end + 1)))
    return;
  const std::u16string_view path = line.substr(1, end - 1);
  if (!path.empty() && path[0] == u'-')
    registry_->RemoveKey(path.substr(1));
  else
    key_ = registry_->MakeKey(path);
}

void RegistryParser::ReadValue(std::u16string_view line) {
  std::u16string name;
  if (line[0] == u'@') {
    line.remove_prefix(1);
  } else {
    auto quoted = TakeQuoted(line);
    if (!quoted)
      return;
    name = std::move(*quoted);
  }
  line = Trim(line);
  if (line.empty() || line[0] != u'=')
    return;
  const std::u16string_view data = Trim(line.substr(1));
  if (WithoutComment(data) == u"-")
    key_->values.erase(FoldCase(name));
  else if (auto value = ReadData(data))
    RegistryFile::PutValue(*key_, name, std::move(*value));
}

std::optional<RegistryValue> RegistryParser::ReadData(std::u16string_view data) {
  if (!data.empty() && data[0] == u'"') {
    const auto text = TakeQuoted(data);
    if (!text || !IsNothingOrComment(data))
      return std::nullopt;
    return RegistryValue::FromText(*text);
  }
  if (TakeWord(data, u"dword:")) {
    const auto number = HexNumber(WithoutComment(data), 8);
    return number ? std::optional(RegistryValue::FromDword(*number)) : std::nullopt;
  }
  return TakeWord(data, u"hex") ? ReadHex(data) : std::nullopt;
}

std::optional<RegistryValue> RegistryParser::ReadHex(std::u16string_view data) {
  RegistryValue value{REG_BINARY, {}};
  const size_t colon = data.find(u':');
  if (colon == std::u16string_view::npos)
    return std::nullopt;
  if (colon != 0) {
    if (colon < 3 || data[0] != u'(' || data[colon - 1] != u')')
      return std::nullopt;
    const auto type = HexNumber(data.substr(1, colon - 2), 8);
    if (!type)
      return std::nullopt;
    value.type = *type;
  }
  data.remove_prefix(colon + 1);
  bool is_well_formed = true;
  for (;;) {
    data = WithoutComment(data);
    const bool goes_on = !data.empty() && data.back() == u'\\';
    if (goes_on)
      data = Trim(data.substr(0, data.size() - 1));
    // The lines of a malformed list are taken to their end, lest one of them be read as something else.
    is_well_formed = is_well_formed && AppendBytes(data, value.data);
    if (!goes_on)
      return is_well_formed ? std::optional(std::move(value)) : std::nullopt;
    if (rest_.empty())
      return std::nullopt;
    data = NextLine();
  }
}

}  // namespace pal
