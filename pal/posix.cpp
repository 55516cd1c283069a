#include "pal/posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "pal/error_codes.h"

namespace pal {

DWORD CodeFromErrno(int error) {
  switch (error) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
    case ELOOP:
      return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      return ERROR_ACCESS_DENIED;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EEXIST:
      return ERROR_FILE_EXISTS;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    default:
      return ERROR_GEN_FAILURE;
  }
}

FileDescriptor::~FileDescriptor() {
  if (IsOpen())
    close(fd_);
}

int FileDescriptor::Release() {
  return std::exchange(fd_, -1);
}

DWORD ReadWholeFile(const std::string& posix_path, std::string* content) {
  // Without O_NONBLOCK the open of a pipe would wait for its other end.
  const FileDescriptor file(open(posix_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file.IsOpen())
    return CodeFromErrno(errno);
  struct stat status {};
  if (fstat(file.Get(), &status) != 0)
    return CodeFromErrno(errno);
  if (!S_ISREG(status.st_mode))
    return ERROR_ACCESS_DENIED;

  content->clear();
  content->resize(static_cast<size_t>(status.st_size) + 1);  // one more, to meet the end with the first read
  size_t size = 0;
  for (;;) {
    const ssize_t got = read(file.Get(), content->data() + size, content->size() - size);
    if (got < 0 && errno == EINTR)
      continue;
    if (got < 0)
      return CodeFromErrno(errno);
    if (got == 0)
      break;
    size += static_cast<size_t>(got);
    if (size == content->size())
      content->resize(size * 2);
  }
  content->resize(size);
  return ERROR_SUCCESS;
}

DWORD WriteAll(int fd, const void* bytes, size_t size, size_t* written) {
  *written = 0;
  while (*written < size) {
    const ssize_t done = write(fd, static_cast<const char*>(bytes) + *written, size - *written);
    if (done < 0 && errno == EINTR)
      continue;
    if (done < 0)
      return CodeFromErrno(errno);
    *written += static_cast<size_t>(done);
  }
  return ERROR_SUCCESS;
}

}  // namespace pal
