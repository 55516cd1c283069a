#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "base/files.h"
#include "base/utf.h"
#include "ixo/support/host_system.h"

namespace custom_bidi::support {

std::FILE* OpenBesideHost(const char* name, Opening opening, std::string& shown_path) {
  std::array<char, PATH_MAX> executable;
  const ssize_t length = readlink("/proc/self/exe", executable.data(), executable.size());
  if (length < 0 || static_cast<size_t>(length) == executable.size()) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  shown_path.assign(executable.data(), static_cast<size_t>(length));
  shown_path.erase(shown_path.rfind('/') + 1);
  shown_path += name;
  return std::fopen(shown_path.c_str(), opening == Opening::kRead ? "rbe" : "abe");
}

DWORD CheckReadable(const WCHAR* path) {
  std::string posix_path;
  if (const DWORD code = base::ToPosixPath(path, &posix_path)) {
    return code;
  }
  const base::FileDescriptor file(open(posix_path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) {
    return errno == ENOENT ? ERROR_FILE_NOT_FOUND : ERROR_ACCESS_DENIED;
  }
  struct stat about;
  const bool is_file = fstat(file.Get(), &about) == 0 && !S_ISDIR(about.st_mode);
  return is_file ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

WString Widen(std::string_view utf8) {
  return base::ToUtf16(utf8);
}

}  // namespace custom_bidi::support
