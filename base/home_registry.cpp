#include "base/home_registry.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/error_codes.h"
#include "base/files.h"
#include "base/utf.h"

namespace base {
namespace {

bool IsWellFormedPath(std::u16string_view path) {
  return !path.empty() && path.front() != u'\\' && path.back() != u'\\' &&
         path.find(u"\\\\") == std::u16string_view::npos;
}

// True for what a line of a file can hold.
bool IsWritable(std::u16string_view name) {
  for (const char16_t c : name) {
    if (c < u' ') {
      return false;
    }
  }
  return IsValidUtf16(name);
}

// The new file has the rights of the old one.
mode_t ModeFor(const std::string& posix_path) {
  struct stat status {};
  return stat(posix_path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0644;
}

DWORD WriteNewFile(int fd, const std::string& content, mode_t mode) {
  size_t written = 0;
  const DWORD code = WriteAll(fd, content.data(), content.size(), &written);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  return fchmod(fd, mode) == 0 && fsync(fd) == 0 ? DWORD{ERROR_SUCCESS} : CodeFromErrno(errno);
}

}  // namespace

std::string RegistryFilePath() {
  return HomeFolder() + "/registry.reg";
}

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
  if (type != REG_SZ) {
    return std::nullopt;
  }
  const std::u16string text = TextOfBytes(data.data(), data.size());
  return text.substr(0, text.find(u'\0'));
}

DWORD RegistryFile::Load(const std::string& posix_path, RegistryFile* registry) {
  std::string bytes;
  const DWORD code = ReadWholeFile(posix_path, &bytes);
  if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND && code != ERROR_PATH_NOT_FOUND) {
    return code;
  }
  *registry = Parse(bytes);
  return ERROR_SUCCESS;
}

bool RegistryFile::HasKey(std::u16string_view key) const {
  if (FindKey(key) != nullptr) {
    return true;
  }
  const std::u16string prefix = FoldCase(key) + u'\\';
  const auto below = keys_.lower_bound(prefix);
  return below != keys_.end() && below->first.starts_with(prefix);
}

const RegistryValue* RegistryFile::FindValue(std::u16string_view key, std::u16string_view name) const {
  const Key* found_key = FindKey(key);
  if (found_key == nullptr) {
    return nullptr;
  }
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
  for (auto& [folded, name] : names) {
    sorted.push_back(std::move(name));
  }
  return sorted;
}

bool RegistryFile::AddKey(std::u16string_view key) {
  // A hyphen in front would make the line one that removes.
  return IsWritable(key) && !key.starts_with(u'-') && MakeKey(key) != nullptr;
}

bool RegistryFile::SetValue(std::u16string_view key, std::u16string_view name, RegistryValue value) {
  if (!IsWritable(name) || !AddKey(key)) {
    return false;
  }
  PutValue(*MakeKey(key), name, std::move(value));
  return true;
}

bool RegistryFile::RemoveKey(std::u16string_view key) {
  const std::u16string folded = FoldCase(key);
  const std::u16string prefix = folded + u'\\';
  bool was_there = keys_.erase(folded) != 0;
  const auto first = keys_.lower_bound(prefix);
  auto last = first;
  while (last != keys_.end() && last->first.starts_with(prefix)) {
    ++last;
  }
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
  if (!IsWellFormedPath(path)) {
    return nullptr;
  }
  return &keys_.try_emplace(FoldCase(path), Key{std::u16string(path), {}}).first->second;
}

void RegistryFile::PutValue(Key& key, std::u16string_view name, RegistryValue value) {
  const auto [at, is_new] = key.values.try_emplace(FoldCase(name));
  if (is_new) {
    at->second.name = name;
  }
  at->second.value = std::move(value);
}

DWORD RegistryFile::Save(const std::string& posix_path) const {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(posix_path).parent_path(), error);
  if (error) {
    return CodeFromErrno(error.value());
  }

  std::string new_path = posix_path + ".XXXXXX";
  DWORD code = ERROR_SUCCESS;
  {
    const FileDescriptor file(mkostemp(new_path.data(), O_CLOEXEC));
    if (!file.IsOpen()) {
      return CodeFromErrno(errno);
    }
    code = WriteNewFile(file.Get(), Serialise(), ModeFor(posix_path));
  }
  if (code == ERROR_SUCCESS && rename(new_path.c_str(), posix_path.c_str()) != 0) {
    code = CodeFromErrno(errno);
  }
  if (code != ERROR_SUCCESS) {
    unlink(new_path.c_str());
  }
  return code;
}

}  // namespace base
