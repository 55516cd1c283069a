#include "ixo/vault/vault_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

#include "base/files.h"

namespace custom_bidi::vault {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kOthers = 0077;
// Without O_NONBLOCK the open of a pipe would wait for its other end.
constexpr int kSafely = O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

std::string FolderPath() {
  return base::HomeFolder() + "/vault";
}

/// A link at the place of a file is as good as a file of somebody else's.
DWORD LastCode() {
  return errno == ELOOP || errno == ENOTDIR ? DWORD{ERROR_ACCESS_DENIED} : base::CodeFromErrno(errno);
}

/// Whether what was opened is of the type S_IFREG or S_IFDIR, and the user's alone.
DWORD CheckOwn(int opened, mode_t type) {
  struct stat status {};
  if (fstat(opened, &status) != 0) {
    return LastCode();
  }
  const bool own =
      (status.st_mode & S_IFMT) == type && status.st_uid == geteuid() && (status.st_mode & kOthers) == 0;
  return own ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD Sync(int opened) {
  return fsync(opened) == 0 ? DWORD{ERROR_SUCCESS} : LastCode();
}

/// Makes what just happened in a folder outlast a crash of the machine.
DWORD SyncFolder(const std::string& path) {
  const base::FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.IsOpen() ? Sync(folder.Get()) : LastCode();
}

DWORD WriteNewFile(int folder, const char* name, std::span<const BYTE> content) {
  const base::FileDescriptor file(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | kSafely, kFileMode));
  if (!file.IsOpen()) {
    return LastCode();
  }
  size_t written = 0;
  if (const DWORD code = base::WriteAll(file.Get(), content.data(), content.size(), &written)) {
    return code;
  }
  return Sync(file.Get());
}

}  // namespace

DWORD VaultFolder::Open() {
  folder_.emplace(open(FolderPath().c_str(), O_RDONLY | O_DIRECTORY | kSafely));
  return folder_->IsOpen() ? CheckOwn(folder_->Get(), S_IFDIR) : LastCode();
}

DWORD VaultFolder::OpenOrMake() {
  if (const DWORD code = Open(); code != ERROR_FILE_NOT_FOUND) {
    return code;
  }
  const std::string home = base::HomeFolder();
  std::error_code error;
  std::filesystem::create_directories(home, error);
  if (error) {
    return base::CodeFromErrno(error.value());
  }
  // Another process may have been faster.
  if (mkdir(FolderPath().c_str(), kFolderMode) != 0 && errno != EEXIST) {
    return LastCode();
  }
  if (const DWORD code = SyncFolder(home)) {
    return code;
  }
  return Open();
}

DWORD VaultFolder::Lock() {
  lock_.emplace(openat(folder_->Get(), "lock", O_RDWR | O_CREAT | kSafely, kFileMode));
  if (!lock_->IsOpen()) {
    return LastCode();
  }
  if (const DWORD code = CheckOwn(lock_->Get(), S_IFREG)) {
    return code;
  }
  return base::LockWholeFile(lock_->Get());
}

DWORD VaultFolder::Read(const char* name, size_t max_bytes, SecureBytes& content) const {
  const base::FileDescriptor file(openat(folder_->Get(), name, O_RDONLY | kSafely));
  if (!file.IsOpen()) {
    return LastCode();
  }
  if (const DWORD code = CheckOwn(file.Get(), S_IFREG)) {
    return code;
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) {
    return LastCode();
  }
  if (static_cast<size_t>(status.st_size) > max_bytes) {
    return ERROR_INVALID_DATA;
  }
  // No file of the vault is ever changed, only replaced, so the size stays.
  content.resize(static_cast<size_t>(status.st_size));
  for (size_t size = 0; size < content.size();) {
    const ssize_t got = read(file.Get(), content.data() + size, content.size() - size);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0) {
      return got < 0 ? LastCode() : DWORD{ERROR_INVALID_DATA};
    }
    size += static_cast<size_t>(got);
  }
  return ERROR_SUCCESS;
}

DWORD VaultFolder::Replace(const char* name, std::span<const BYTE> content) const {
  constexpr char kNewFile[] = "new";
  const int folder = folder_->Get();
  // One may be left of a process that was killed.
  unlinkat(folder, kNewFile, 0);
  DWORD code = WriteNewFile(folder, kNewFile, content);
  if (code == ERROR_SUCCESS && renameat(folder, kNewFile, folder, name) != 0) {
    code = LastCode();
  }
  if (code != ERROR_SUCCESS) {
    unlinkat(folder, kNewFile, 0);
    return code;
  }
  return Sync(folder);
}

}  // namespace custom_bidi::vault
