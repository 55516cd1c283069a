#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "pal/posix.h"
#include "pal/registry.h"
#include "pal/registry_file.h"
#include "pal/text.h"

namespace pal {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

std::string Quoted(std::u16string_view text) {
  std::string quoted = "\"";
  for (const char c : ToUtf8(text)) {
    if (c == '"' || c == '\\')
      quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string HexBytes(const std::vector<BYTE>& bytes) {
  constexpr size_t kBytesPerLine = 25;
  std::string list;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0)
      list += i % kBytesPerLine == 0 ? ",\\\n  " : ",";
    list += kHexDigits[bytes[i] >> 4];
    list += kHexDigits[bytes[i] & 0xF];
  }
  return list;
}

std::string HexNumber(DWORD number, int min_digits) {
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) {
    const DWORD digit = number >> shift & 0xF;
    if (digit != 0 || !digits.empty() || shift < min_digits * 4)
      digits += kHexDigits[digit];
  }
  return digits;
}

// Only what reads back as the very same bytes is written as text.
std::string DataLine(const RegistryValue& value) {
  if (const auto text = value.Text()) {
    const bool is_plain = RegistryValue::FromText(*text).data == value.data && IsValidUtf16(*text) &&
                          text->find(u'\n') == std::u16string::npos;
    if (is_plain)
      return Quoted(*text);
  }
  if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
    DWORD number = 0;
    std::copy(value.data.begin(), value.data.end(), reinterpret_cast<BYTE*>(&number));
    return "dword:" + HexNumber(number, 8);
  }
  if (value.type == REG_BINARY)
    return "hex:" + HexBytes(value.data);
  return "hex(" + HexNumber(value.type, 1) + "):" + HexBytes(value.data);
}

// The new file has the rights of the old one.
mode_t ModeFor(const std::string& posix_path) {
  struct stat status {};
  return stat(posix_path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0644;
}

DWORD WriteNewFile(int fd, const std::string& content, mode_t mode) {
  size_t written = 0;
  const DWORD code = WriteAll(fd, content.data(), content.size(), &written);
  if (code != ERROR_SUCCESS)
    return code;
  return fchmod(fd, mode) == 0 && fsync(fd) == 0 ? DWORD{ERROR_SUCCESS} : CodeFromErrno(errno);
}

}  // namespace

std::string RegistryFile::Serialise() const {
  std::string text = "Windows Registry Editor Version 5.00\n";
  for (const auto& [folded_path, key] : keys_) {
    text += "\n[" + ToUtf8(key.path) + "]\n";
    for (const auto& [folded_name, named] : key.values)
      text += (named.name.empty() ? "@" : Quoted(named.name)) + '=' + DataLine(named.value) + '\n';
  }
  return text;
}

DWORD RegistryFile::Save(const std::string& posix_path) const {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(posix_path).parent_path(), error);
  if (error)
    return CodeFromErrno(error.value());

  std::string new_path = posix_path + ".XXXXXX";
  DWORD code = ERROR_SUCCESS;
  {
    const FileDescriptor file(mkostemp(new_path.data(), O_CLOEXEC));
    if (!file.IsOpen())
      return CodeFromErrno(errno);
    code = WriteNewFile(file.Get(), Serialise(), ModeFor(posix_path));
  }
  if (code == ERROR_SUCCESS && rename(new_path.c_str(), posix_path.c_str()) != 0)
    code = CodeFromErrno(errno);
  if (code != ERROR_SUCCESS)
    unlink(new_path.c_str());
  return code;
}

}  // namespace pal
