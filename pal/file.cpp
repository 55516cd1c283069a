#include "pal/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "base/files.h"
#include "pal/internal.h"

namespace {

using pal::FailWith;

constinit pal::HandleTable<int, pal::kFileTag> g_files;

// Windows tells a missing folder from a missing file.
DWORD CodeOfFailedOpen(int error, const std::string& posix_path) {
  if (error != ENOENT) {
    return base::CodeFromErrno(error);
  }
  std::error_code ignored;
  const bool has_folder =
      std::filesystem::is_directory(std::filesystem::path(posix_path).parent_path(), ignored);
  return has_folder ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

DWORD OpenFile(const std::string& posix_path, int flags, int* opened) {
  base::FileDescriptor file(open(posix_path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666));
  if (!file.IsOpen()) {
    return CodeOfFailedOpen(errno, posix_path);
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) {
    return base::CodeFromErrno(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  *opened = file.Release();
  return ERROR_SUCCESS;
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
      code = OpenFile(posix_path, OpenFlags(access, disposition), &fd);
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

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distance_high, DWORD method) {
  if (pal::MustFail("SetFilePointer")) {
    return FailWith(ERROR_GEN_FAILURE, INVALID_SET_FILE_POINTER);
  }
  const auto fd = g_files.Find(file);
  if (!fd) {
    return FailWith(ERROR_INVALID_HANDLE, INVALID_SET_FILE_POINTER);
  }
  if (distance != 0 || (distance_high != nullptr && *distance_high != 0) || method != FILE_END) {
    return FailWith(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
  }
  const off_t before = distance_high != nullptr ? 0 : lseek(*fd, 0, SEEK_CUR);
  const off_t position = lseek(*fd, 0, SEEK_END);
  if (position < 0) {
    return FailWith(static_cast<LONG>(base::CodeFromErrno(errno)), INVALID_SET_FILE_POINTER);
  }
  if (distance_high == nullptr && position >= off_t{INVALID_SET_FILE_POINTER}) {
    lseek(*fd, before, SEEK_SET);  // it goes nowhere
    return FailWith(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
  }
  if (distance_high != nullptr) {
    *distance_high = static_cast<LONG>(position >> 32);
  }
  const auto low = static_cast<DWORD>(position);
  return low == INVALID_SET_FILE_POINTER ? FailWith(NO_ERROR, low) : low;
}

BOOL WriteFile(HANDLE file, const void* buffer, DWORD size_bytes, DWORD* written, OVERLAPPED* overlapped) {
  if (pal::MustFail("WriteFile")) {
    return FailWith(ERROR_DISK_FULL, FALSE);
  }
  if (buffer == nullptr || written == nullptr || overlapped != nullptr) {
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
