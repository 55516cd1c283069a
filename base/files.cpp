#include "base/files.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>
#include <vector>

#include "base/error_codes.h"
#include "base/utf.h"

namespace base {
namespace {

namespace fs = std::filesystem;

// A folder that is not there, and that not even root can make.
constexpr char kNowhere[] = "/dev/null/nowhere";

std::string TextOf(const char* variable) {
  const char* value = Variable(variable);
  return value != nullptr ? value : "";
}

std::string UserFolder() {
  if (std::string folder = TextOf("HOME"); !folder.empty()) {
    return folder;
  }
  std::vector<char> texts(16384);
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found);
  // A user without a home has no settings either.
  return found != nullptr && found->pw_dir != nullptr && *found->pw_dir ? found->pw_dir : kNowhere;
}

// `rest` begins with a slash; ".." cannot lead above it.
fs::path Normalised(const std::string& rest) {
  return fs::path(rest).lexically_normal();
}

bool IsSlash(char c) {
  return c == '/';
}

timespec TimeOf(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 ? status.st_mtim : timespec{};
}

}  // namespace

const char* Variable(const char* name) {
  return secure_getenv(name);
}

std::string HomeFolder() {
  std::string folder = TextOf("CUSTOMBIDI_HOME");
  if (folder.empty()) {
    folder = TextOf("XDG_DATA_HOME");
    if (!folder.starts_with('/')) {
      folder = UserFolder() + "/.local/share";
    }
    folder += "/custom-bidi";
  } else if (folder.front() != '/') {
    return kNowhere;
  }
  while (folder.size() > 1 && folder.back() == '/') {
    folder.pop_back();
  }
  return folder;
}

DWORD ToPosixPath(std::u16string_view path, std::string* posix_path) {
  if (path.empty()) {
    return ERROR_PATH_NOT_FOUND;
  }
  if (!IsValidUtf16(path)) {
    return ERROR_INVALID_NAME;
  }
  std::string text = ToUtf8(path);
  std::replace(text.begin(), text.end(), '\\', '/');

  if (text.size() >= 2 && text[1] == ':') {
    const std::string rest = text.size() == 2 ? "/" : text.substr(2);
    if (!IsSlash(rest[0])) {
      return ERROR_INVALID_NAME;
    }
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
  if (text.size() >= 2 && IsSlash(text[0]) && IsSlash(text[1])) {
    return ERROR_PATH_NOT_FOUND;
  }
  *posix_path = fs::absolute(text).lexically_normal();
  return ERROR_SUCCESS;
}

std::u16string ToWindowsPath(std::string_view posix_path) {
  std::u16string path = ToUtf16(fs::absolute(posix_path).native());
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return u"Z:" + path;
}

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
  if (IsOpen()) {
    close(fd_);
  }
}

int FileDescriptor::Release() {
  return std::exchange(fd_, -1);
}

DWORD OpenRegularFile(const std::string& posix_path, int flags, int* opened) {
  // Without O_NONBLOCK the open of a pipe would wait for its other end.
  FileDescriptor file(open(posix_path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666));
  if (!file.IsOpen()) {
    return errno == ENXIO ? DWORD{ERROR_ACCESS_DENIED} : CodeFromErrno(errno);  // a pipe that nobody reads
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) {
    return CodeFromErrno(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  *opened = file.Release();
  return ERROR_SUCCESS;
}

DWORD ReadWholeFile(const std::string& posix_path, std::string* content, size_t max_bytes) {
  int opened = -1;
  if (const DWORD code = OpenRegularFile(posix_path, O_RDONLY, &opened)) {
    return code;
  }
  const FileDescriptor file(opened);
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) {
    return CodeFromErrno(errno);
  }
  if (static_cast<size_t>(status.st_size) > max_bytes) {
    return ERROR_FILE_TOO_LARGE;
  }

  content->clear();
  content->resize(static_cast<size_t>(status.st_size) + 1);  // one more, to meet the end with the first read
  size_t size = 0;
  for (;;) {
    const ssize_t got = read(file.Get(), content->data() + size, content->size() - size);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return CodeFromErrno(errno);
    }
    if (got == 0) {
      break;
    }
    size += static_cast<size_t>(got);
    if (size > max_bytes) {
      return ERROR_FILE_TOO_LARGE;
    }
    if (size == content->size()) {
      content->resize(size * 2);
    }
  }
  content->resize(size);
  return ERROR_SUCCESS;
}

DWORD LockWholeFile(int fd) {
  using std::chrono::steady_clock;
  constexpr std::chrono::seconds kPatience{2};
  constexpr std::chrono::seconds kLongest{30};
  constexpr std::chrono::milliseconds kPause{2};
  const auto begin = steady_clock::now();
  auto deadline = begin + kPatience;
  timespec taken = TimeOf(fd);
  while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return CodeFromErrno(errno);
    }
    const timespec last = TimeOf(fd);
    if (last.tv_sec != taken.tv_sec || last.tv_nsec != taken.tv_nsec) {
      taken = last;
      deadline = std::min(steady_clock::now() + kPatience, begin + kLongest);
    }
    if (steady_clock::now() >= deadline) {
      return ERROR_LOCK_VIOLATION;
    }
    std::this_thread::sleep_for(kPause);
  }
  futimens(fd, nullptr);  // tells those who wait that it goes from hand to hand
  return ERROR_SUCCESS;
}

DWORD WriteAll(int fd, const void* bytes, size_t size, size_t* written) {
  *written = 0;
  while (*written < size) {
    const ssize_t done = write(fd, static_cast<const char*>(bytes) + *written, size - *written);
    if (done < 0 && errno == EINTR) {
      continue;
    }
    if (done < 0) {
      return CodeFromErrno(errno);
    }
    *written += static_cast<size_t>(done);
  }
  return ERROR_SUCCESS;
}

}  // namespace base
