// What a registry looks like in a file.

#include <cstring>

#include "base/home_registry.h"
#include "base/utf.h"

namespace base {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";

std::u16string Decode(std::string_view bytes) {
  if (bytes.starts_with(kUtf16Mark)) {
    bytes.remove_prefix(kUtf16Mark.size());
    // Without halves of surrogate pairs.
    return ToUtf16(ToUtf8(TextOfBytes(bytes.data(), bytes.size())));
  }
  if (bytes.starts_with(kUtf8Mark)) {
    bytes.remove_prefix(kUtf8Mark.size());
  }
  return ToUtf16(bytes);
}

constexpr std::u16string_view kBlanks = u" \t\r";

std::u16string_view Trim(std::u16string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::u16string_view::npos) {
    return {};
  }
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
  if (c >= u'0' && c <= u'9') {
    return c - u'0';
  }
  if (c >= u'a' && c <= u'f') {
    return c - u'a' + 10;
  }
  if (c >= u'A' && c <= u'F') {
    return c - u'A' + 10;
  }
  return -1;
}

// One to `max_digits` digits and nothing else.
std::optional<DWORD> HexNumber(std::u16string_view text, size_t max_digits) {
  if (text.empty() || text.size() > max_digits) {
    return std::nullopt;
  }
  DWORD number = 0;
  for (const char16_t c : text) {
    const int digit = HexDigit(c);
    if (digit < 0) {
      return std::nullopt;
    }
    number = number << 4 | static_cast<DWORD>(digit);
  }
  return number;
}

// Takes `word`, in either case, from the front of `text`.
bool TakeWord(std::u16string_view& text, std::u16string_view word) {
  if (FoldCase(text.substr(0, word.size())) != FoldCase(word)) {
    return false;
  }
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
    if (c == u'\\' && at + 1 < text.size() && (text[at + 1] == u'"' || text[at + 1] == u'\\')) {
      c = text[++at];
    }
    quoted += c;
  }
  return std::nullopt;
}

// Appends the bytes of "aa,bb,cc"; a comma may stand at the end.
bool AppendBytes(std::u16string_view list, std::vector<BYTE>& bytes) {
  while (!list.empty()) {
    const size_t comma = list.find(u',');
    const auto byte = HexNumber(Trim(list.substr(0, comma)), 2);
    if (!byte) {
      return false;
    }
    bytes.push_back(static_cast<BYTE>(*byte));
    if (comma == std::u16string_view::npos) {
      break;
    }
    list = Trim(list.substr(comma + 1));
  }
  return true;
}

constexpr char kHexDigits[] = "0123456789abcdef";

std::string Quoted(std::u16string_view text) {
  std::string quoted = "\"";
  for (const char c : ToUtf8(text)) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
    }
    quoted += c;
  }
  return quoted + '"';
}

std::string HexBytes(const std::vector<BYTE>& bytes) {
  constexpr size_t kBytesPerLine = 25;
  std::string list;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0) {
      list += i % kBytesPerLine == 0 ? ",\\\n  " : ",";
    }
    list += kHexDigits[bytes[i] >> 4];
    list += kHexDigits[bytes[i] & 0xF];
  }
  return list;
}

std::string HexDigits(DWORD number, int min_digits) {
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) {
    const DWORD digit = number >> shift & 0xF;
    if (digit != 0 || !digits.empty() || shift < min_digits * 4) {
      digits += kHexDigits[digit];
    }
  }
  return digits;
}

// Only what reads back as the very same bytes is written as text.
std::string DataLine(const RegistryValue& value) {
  if (const auto text = value.Text()) {
    const bool is_plain = RegistryValue::FromText(*text).data == value.data && IsValidUtf16(*text) &&
                          text->find(u'\n') == std::u16string::npos;
    if (is_plain) {
      return Quoted(*text);
    }
  }
  if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
    DWORD number = 0;
    std::copy(value.data.begin(), value.data.end(), reinterpret_cast<BYTE*>(&number));
    return "dword:" + HexDigits(number, 8);
  }
  if (value.type == REG_BINARY) {
    return "hex:" + HexBytes(value.data);
  }
  return "hex(" + HexDigits(value.type, 1) + "):" + HexBytes(value.data);
}

}  // namespace

/// Reads the lines of a file into a registry, in time linear in their length.
class RegistryFile::Parser {
 public:
  Parser(std::u16string_view text, RegistryFile* registry) : rest_(text), registry_(registry) {}

  void Run();

 private:
  std::u16string_view NextLine();
  // These return false for what is malformed.
  bool ReadLine(std::u16string_view line);
  bool ReadKey(std::u16string_view line);
  bool ReadValue(std::u16string_view line);
  std::optional<RegistryValue> ReadData(std::u16string_view data);
  std::optional<RegistryValue> ReadHex(std::u16string_view data);

  std::u16string_view rest_;
  size_t line_number_ = 0;  // of the line before the rest
  RegistryFile* registry_;
  Key* key_ = nullptr;  // the values belong to it; null behind a malformed or removed key
};

void RegistryFile::Parser::Run() {
  while (!rest_.empty()) {
    const std::u16string_view line = NextLine();
    const size_t number = line_number_;  // a value may go on in the next lines
    if (!line.empty() && !ReadLine(line) && registry_->first_malformed_line_ == 0) {
      registry_->first_malformed_line_ = number;
    }
  }
}

bool RegistryFile::Parser::ReadLine(std::u16string_view line) {
  switch (line[0]) {
    case u'[':
      return ReadKey(line);
    case u'"':
    case u'@':
      return key_ == nullptr || ReadValue(line);
    case u';':
      return true;
    default:
      return line_number_ == 1 && (line.starts_with(u"Windows Registry Editor ") || line == u"REGEDIT4");
  }
}

std::u16string_view RegistryFile::Parser::NextLine() {
  ++line_number_;
  const size_t end = rest_.find(u'\n');
  const std::u16string_view line = rest_.substr(0, end);
  rest_.remove_prefix(end == std::u16string_view::npos ? rest_.size() : end + 1);
  return Trim(line);
}

bool RegistryFile::Parser::ReadKey(std::u16string_view line) {
  key_ = nullptr;
  // The last one: a key's name may hold brackets.
  const size_t end = line.rfind(u']');
  if (end == std::u16string_view::npos || !IsNothingOrComment(line.substr(end + 1))) {
    return false;
  }
  const std::u16string_view path = line.substr(1, end - 1);
  if (!path.empty() && path[0] == u'-') {
    registry_->RemoveKey(path.substr(1));
    return true;
  }
  key_ = registry_->MakeKey(path);
  return key_ != nullptr;
}

bool RegistryFile::Parser::ReadValue(std::u16string_view line) {
  std::u16string name;
  if (line[0] == u'@') {
    line.remove_prefix(1);
  } else {
    auto quoted = TakeQuoted(line);
    if (!quoted) {
      return false;
    }
    name = std::move(*quoted);
  }
  line = Trim(line);
  if (line.empty() || line[0] != u'=') {
    return false;
  }
  const std::u16string_view data = Trim(line.substr(1));
  if (WithoutComment(data) == u"-") {
    key_->values.erase(FoldCase(name));
    return true;
  }
  auto value = ReadData(data);
  if (!value) {
    return false;
  }
  RegistryFile::PutValue(*key_, name, std::move(*value));
  return true;
}

std::optional<RegistryValue> RegistryFile::Parser::ReadData(std::u16string_view data) {
  if (!data.empty() && data[0] == u'"') {
    const auto text = TakeQuoted(data);
    if (!text || !IsNothingOrComment(data)) {
      return std::nullopt;
    }
    return RegistryValue::FromText(*text);
  }
  if (TakeWord(data, u"dword:")) {
    const auto number = HexNumber(WithoutComment(data), 8);
    return number ? std::optional(RegistryValue::FromDword(*number)) : std::nullopt;
  }
  return TakeWord(data, u"hex") ? ReadHex(data) : std::nullopt;
}

std::optional<RegistryValue> RegistryFile::Parser::ReadHex(std::u16string_view data) {
  RegistryValue value{REG_BINARY, {}};
  const size_t colon = data.find(u':');
  if (colon == std::u16string_view::npos) {
    return std::nullopt;
  }
  if (colon != 0) {
    if (colon < 3 || data[0] != u'(' || data[colon - 1] != u')') {
      return std::nullopt;
    }
    const auto type = HexNumber(data.substr(1, colon - 2), 8);
    if (!type) {
      return std::nullopt;
    }
    value.type = *type;
  }
  data.remove_prefix(colon + 1);
  bool is_well_formed = true;
  for (;;) {
    data = WithoutComment(data);
    const bool goes_on = !data.empty() && data.back() == u'\\';
    if (goes_on) {
      data = Trim(data.substr(0, data.size() - 1));
    }
    // The lines of a malformed list are taken to their end, lest one of them be read as something else.
    is_well_formed = is_well_formed && AppendBytes(data, value.data);
    if (!goes_on) {
      return is_well_formed ? std::optional(std::move(value)) : std::nullopt;
    }
    if (rest_.empty()) {
      return std::nullopt;
    }
    data = NextLine();
  }
}

RegistryFile RegistryFile::Parse(std::string_view bytes) {
  RegistryFile registry;
  const std::u16string text = Decode(bytes);
  Parser(text, &registry).Run();
  return registry;
}

std::string RegistryFile::Serialise() const {
  std::string text = "Windows Registry Editor Version 5.00\n";
  for (const auto& [folded_path, key] : keys_) {
    text += "\n[" + ToUtf8(key.path) + "]\n";
    for (const auto& [folded_name, named] : key.values) {
      text += (named.name.empty() ? "@" : Quoted(named.name)) + '=' + DataLine(named.value) + '\n';
    }
  }
  return text;
}

}  // namespace base
