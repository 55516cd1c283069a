#include "pal/path.h"

#include <algorithm>
#include <filesystem>

#include "pal/error_codes.h"
#include "pal/home.h"
#include "pal/text.h"

namespace pal {
namespace {

namespace fs = std::filesystem;

// `rest` begins with a slash; ".." cannot lead above it.
fs::path Normalised(const std::string& rest) {
  return fs::path(rest).lexically_normal();
}

bool IsSlash(char c) {
  return c == '/';
}

}  // namespace

DWORD ToPosixPath(std::u16string_view path, std::string* posix_path) {
  if (path.empty())
    return ERROR_PATH_NOT_FOUND;
  if (!IsValidUtf16(path))
    return ERROR_INVALID_NAME;
  std::string text = ToUtf8(path);
  std::replace(text.begin(), text.end(), '\\', '/');

  if (text.size() >= 2 && text[1] == ':') {
    const std::string rest = text.size() == 2 ? "/" : text.substr(2);
    if (!IsSlash(rest[0]))
      return ERROR_INVALID_NAME;
    switch (text[0]) {
      case 'Z':
      case 'z':
        *posix_path = Normalised(rest);
        return ERROR_SUCCESS;
      case 'C':
      case 'c':
        *posix_path =
            fs::absolute(HomeFolder() + "/drive_c").lexically_normal().string() + Normalised(rest).string();
        return ERROR_SUCCESS;
      default:
        return ERROR_PATH_NOT_FOUND;
    }
  }
  if (text.size() >= 2 && IsSlash(text[0]) && IsSlash(text[1]))
    return ERROR_PATH_NOT_FOUND;
  *posix_path = fs::absolute(text).lexically_normal();
  return ERROR_SUCCESS;
}

std::u16string ToWindowsPath(std::string_view posix_path) {
  std::u16string path = ToUtf16(fs::absolute(posix_path).native());
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return u"Z:" + path;
}

}  // namespace pal
