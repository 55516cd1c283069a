#include "pal/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "base/files.h"
#include "pal/internal.h"

namespace {

using pal::FailWith;

constinit pal::HandleTable<int, pal::kFileTag> g_files;

// Windows tells a missing folder from a missing file.
DWORD CodeOfMissingFile(const std::string& posix_path) {
  std::error_code ignored;
  const bool has_folder =
      std::filesystem::is_directory(std::filesystem::path(posix_path).parent_path(), ignored);
  return has_folder ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

bool IsLink(const std::string& posix_path) {
  std::error_code ignored;
  return std::filesystem::is_symlink(posix_path, ignored);
}

DWORD OpenOwnFile(const std::string& posix_path, int flags, int* opened) {
  const DWORD code = base::OpenRegularFile(posix_path, flags | O_APPEND | O_NOFOLLOW, opened);
  if (code == ERROR_FILE_NOT_FOUND) {
    return CodeOfMissingFile(posix_path);
  }
  if (code != ERROR_SUCCESS) {
    return code == ERROR_PATH_NOT_FOUND && IsLink(posix_path) ? DWORD{ERROR_ACCESS_DENIED} : code;
  }
  struct stat status {};
  if (fstat(*opened, &status) == 0 && status.st_uid == geteuid()) {
    return ERROR_SUCCESS;
  }
  close(std::exchange(*opened, -1));
  return ERROR_ACCESS_DENIED;
}

int OpenFlags(DWORD access, DWORD disposition) {
  const int create = disposition == CREATE_NEW ? O_CREAT | O_EXCL : 0;
  if (access == (GENERIC_READ | GENERIC_WRITE)) {
    return create | O_RDWR;
  }
  return create | (access == GENERIC_WRITE ? O_WRONLY : O_RDONLY);
}

}  // namespace

HANDLE CreateFileW(const WCHAR* path,
                   DWORD access,
                   DWORD share,
                   SECURITY_ATTRIBUTES* security,
                   DWORD disposition,
                   DWORD attributes,
                   HANDLE template_file) {
  const HANDLE failure = INVALID_HANDLE_VALUE;
  if (pal::MustFail("CreateFileW")) {
    return FailWith(ERROR_ACCESS_DENIED, failure);
  }
  const bool is_supported = path != nullptr && access != 0 &&
                            (access & ~(GENERIC_READ | GENERIC_WRITE)) == 0 &&
                            share == (FILE_SHARE_READ | FILE_SHARE_WRITE) && security == nullptr &&
                            (disposition == OPEN_EXISTING || disposition == CREATE_NEW) &&
                            attributes == FILE_ATTRIBUTE_NORMAL && template_file == nullptr;
  if (!is_supported) {
    return FailWith(ERROR_INVALID_PARAMETER, failure);
  }
  return pal::Guarded(failure, [&]() -> HANDLE {
    std::string posix_path;
    int fd = -1;
    DWORD code = base::ToPosixPath(path, &posix_path);
    if (code == ERROR_SUCCESS) {
      code = OpenOwnFile(posix_path, OpenFlags(access, disposition), &fd);
    }
    if (code != ERROR_SUCCESS) {
      return FailWith(static_cast<LONG>(code), failure);
    }
    const HANDLE handle = g_files.Insert(fd);
    if (handle == nullptr) {
      close(fd);
      return FailWith(ERROR_TOO_MANY_OPEN_FILES, failure);
    }
    pal::CountUp(pal::Kind::kHandle);
    return handle;
  });
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size_bytes) {
  if (pal::MustFail("GetFileSizeEx")) {
    return FailWith(ERROR_GEN_FAILURE, FALSE);
  }
  const auto fd = g_files.Find(file);
  if (!fd || size_bytes == nullptr) {
    return FailWith(fd ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE, FALSE);
  }
  struct stat status {};
  if (fstat(*fd, &status) != 0) {
    return FailWith(static_cast<LONG>(base::CodeFromErrno(errno)), FALSE);
  }
  size_bytes->QuadPart = status.st_size;
  return TRUE;
}

BOOL WriteFile(HANDLE file, const void* buffer, DWORD size_bytes, DWORD* written, OVERLAPPED* overlapped) {
  if (pal::MustFail("WriteFile")) {
    return FailWith(ERROR_DISK_FULL, FALSE);
  }
  constexpr DWORD kAtTheEnd = 0xFFFFFFFF;
  const bool is_appended =
      overlapped != nullptr && overlapped->Offset == kAtTheEnd && overlapped->OffsetHigh == kAtTheEnd;
  if (buffer == nullptr || written == nullptr || !is_appended) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  *written = 0;
  const auto fd = g_files.Find(file);
  if (!fd) {
    return FailWith(ERROR_INVALID_HANDLE, FALSE);
  }
  size_t done = 0;
  const DWORD code = base::WriteAll(*fd, buffer, size_bytes, &done);
  *written = static_cast<DWORD>(done);
  return code == ERROR_SUCCESS ? TRUE : FailWith(static_cast<LONG>(code), FALSE);
}

BOOL CloseHandle(HANDLE handle) {
  const auto fd = g_files.Remove(handle);
  if (!fd) {
    return FailWith(ERROR_INVALID_HANDLE, FALSE);
  }
  close(*fd);
  pal::CountDown(pal::Kind::kHandle);
  return TRUE;
}
