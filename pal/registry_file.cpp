#include "pal/registry_file.h"

#include <bit>
#include <cstring>

#include "pal/posix.h"
#include "pal/registry.h"
#include "pal/registry_parser.h"
#include "pal/text.h"

namespace pal {
namespace {

// The registry's texts and numbers are those of memory.
static_assert(std::endian::native == std::endian::little);

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";

// A last odd byte is left out.
std::u16string TextOfBytes(const void* bytes, size_t size) {
  std::u16string text(size / sizeof(char16_t), 0);
  if (!text.empty())
    std::memcpy(text.data(), bytes, text.size() * sizeof(char16_t));
  return text;
}

std::u16string Decode(std::string_view bytes) {
  if (bytes.starts_with(kUtf16Mark)) {
    bytes.remove_prefix(kUtf16Mark.size());
    // Without halves of surrogate pairs.
    return ToUtf16(ToUtf8(TextOfBytes(bytes.data(), bytes.size())));
  }
  if (bytes.starts_with(kUtf8Mark))
    bytes.remove_prefix(kUtf8Mark.size());
  return ToUtf16(bytes);
}

bool IsWellFormedPath(std::u16string_view path) {
  return !path.empty() && path.front() != u'\\' && path.back() != u'\\' &&
         path.find(u"\\\\") == std::u16string_view::npos;
}

// True for what a line of a file can hold.
bool IsWritable(std::u16string_view name) {
  for (const char16_t c : name) {
    if (c < u' ')
      return false;
  }
  return IsValidUtf16(name);
}

}  // namespace

RegistryValue RegistryValue::FromText(std::u16string_view text) {
  const auto* bytes = reinterpret_cast<const BYTE*>(text.data());
  RegistryValue value{REG_SZ, {bytes, bytes + text.size() * sizeof(char16_t)}};
  value.data.resize(value.data.size() + sizeof(char16_t));  // the NUL
  return value;
}

RegistryValue RegistryValue::FromDword(DWORD number) {
  RegistryValue value{REG_DWORD, std::vector<BYTE>(sizeof(number))};
  std::memcpy(value.data.data(), &number, sizeof(number));
  return value;
}

std::optional<std::u16string> RegistryValue::Text() const {
  if (type != REG_SZ)
    return std::nullopt;
  const std::u16string text = TextOfBytes(data.data(), data.size());
  return text.substr(0, text.find(u'\0'));
}

RegistryFile RegistryFile::Parse(std::string_view bytes) {
  RegistryFile registry;
  const std::u16string text = Decode(bytes);
  RegistryParser(text, &registry).Run();
  return registry;
}

DWORD RegistryFile::Load(const std::string& posix_path, RegistryFile* registry) {
  std::string bytes;
  const DWORD code = ReadWholeFile(posix_path, &bytes);
  if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND && code != ERROR_PATH_NOT_FOUND)
    return code;
  *registry = Parse(bytes);
  return ERROR_SUCCESS;
}

bool RegistryFile::HasKey(std::u16string_view key) const {
  if (FindKey(key))
    return true;
  const std::u16string prefix = FoldCase(key) + u'\\';
  const auto below = keys_.lower_bound(prefix);
  return below != keys_.end() && below->first.starts_with(prefix);
}

const RegistryValue* RegistryFile::FindValue(std::u16string_view key, std::u16string_view name) const {
  const Key* found_key = FindKey(key);
  if (!found_key)
    return nullptr;
  const auto found = found_key->values.find(FoldCase(name));
  return found == found_key->values.end() ? nullptr : &found->second.value;
}

std::vector<std::u16string> RegistryFile::Subkeys(std::u16string_view key) const {
  const std::u16string prefix = FoldCase(key) + u'\\';
  std::map<std::u16string, std::u16string> names;  // by folded name
  for (auto at = keys_.lower_bound(prefix); at != keys_.end() && at->first.starts_with(prefix); ++at) {
    const std::u16string_view below = std::u16string_view(at->second.path).substr(prefix.size());
    const std::u16string_view name = below.substr(0, below.find(u'\\'));
    names.emplace(FoldCase(name), name);
  }
  std::vector<std::u16string> sorted;
  sorted.reserve(names.size());
  for (auto& [folded, name] : names)
    sorted.push_back(std::move(name));
  return sorted;
}

bool RegistryFile::AddKey(std::u16string_view key) {
  // A hyphen in front would make the line one that removes.
  return IsWritable(key) && !key.starts_with(u'-') && MakeKey(key);
}

bool RegistryFile::SetValue(std::u16string_view key, std::u16string_view name, RegistryValue value) {
  if (!IsWritable(name) || !AddKey(key))
    return false;
  PutValue(*MakeKey(key), name, std::move(value));
  return true;
}

bool RegistryFile::RemoveKey(std::u16string_view key) {
  const std::u16string folded = FoldCase(key);
  const std::u16string prefix = folded + u'\\';
  bool was_there = keys_.erase(folded) != 0;
  const auto first = keys_.lower_bound(prefix);
  auto last = first;
  while (last != keys_.end() && last->first.starts_with(prefix))
    ++last;
  was_there = was_there || first != last;
  keys_.erase(first, last);
  return was_there;
}

bool RegistryFile::RemoveValue(std::u16string_view key, std::u16string_view name) {
  const auto found = keys_.find(FoldCase(key));
  return found != keys_.end() && found->second.values.erase(FoldCase(name)) != 0;
}

const RegistryFile::Key* RegistryFile::FindKey(std::u16string_view key) const {
  const auto found = keys_.find(FoldCase(key));
  return found == keys_.end() ? nullptr : &found->second;
}

RegistryFile::Key* RegistryFile::MakeKey(std::u16string_view path) {
  if (!IsWellFormedPath(path))
    return nullptr;
  return &keys_.try_emplace(FoldCase(path), Key{std::u16string(path), {}}).first->second;
}

void RegistryFile::PutValue(Key& key, std::u16string_view name, RegistryValue value) {
  const auto [at, is_new] = key.values.try_emplace(FoldCase(name));
  if (is_new)
    at->second.name = name;
  at->second.value = std::move(value);
}

}  // namespace pal
