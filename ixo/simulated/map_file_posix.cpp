#include "ixo/simulated/map_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "pal/path.h"

namespace custom_bidi::simulated {

DWORD CheckMapFile(const WCHAR* path) {
  std::string posix_path;
  if (const DWORD code = pal::ToPosixPath(path, &posix_path)) {
    return code;
  }
  const int file = open(posix_path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return errno == ENOENT ? ERROR_FILE_NOT_FOUND : ERROR_ACCESS_DENIED;
  }
  struct stat about;
  const bool is_file = fstat(file, &about) == 0 && !S_ISDIR(about.st_mode);
  close(file);
  return is_file ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

}  // namespace custom_bidi::simulated
