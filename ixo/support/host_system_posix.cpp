#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <ctime>

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
  const bool reads = opening == Opening::kRead;
  int opened = -1;
  if (const DWORD code =
          base::OpenRegularFile(shown_path, reads ? O_RDONLY : O_WRONLY | O_CREAT | O_APPEND, &opened)) {
    errno = code == ERROR_FILE_NOT_FOUND ? ENOENT : EACCES;
    return nullptr;
  }
  base::FileDescriptor file(opened);
  std::FILE* const stream = fdopen(opened, reads ? "rb" : "ab");
  if (stream != nullptr) {
    file.Release();
  }
  return stream;
}

DWORD CheckReadable(const WCHAR* path) {
  std::string posix_path;
  if (const DWORD code = base::ToPosixPath(path, &posix_path)) {
    return code;
  }
  int opened = -1;
  const DWORD code = base::OpenRegularFile(posix_path, O_RDONLY, &opened);
  const base::FileDescriptor file(opened);
  return code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND ? code : ERROR_ACCESS_DENIED;
}

void Pause(DWORD milliseconds) {
  timespec left{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1000000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

WString Widen(std::string_view utf8) {
  return base::ToUtf16(utf8);
}

}  // namespace custom_bidi::support
