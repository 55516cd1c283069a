#pragma once

/// Paths as Windows writes them and what they stand for, and the files there.

#include <string>
#include <string_view>

#include "base/types.h"

namespace base {

/// The folder that holds `drive_c/` and `registry.reg`, as a POSIX path without a slash at its end:
/// $CUSTOMBIDI_HOME, else $XDG_DATA_HOME/custom-bidi, else ~/.local/share/custom-bidi. A variable that is
/// empty counts as not set. Read anew at each call; the folder need not exist.
std::string HomeFolder();
/// Turns a path as Windows writes it into the POSIX path that it stands for, which is always absolute. Both
/// slashes separate; a drive letter may be in either case; ".", ".." and doubled slashes are resolved in the
/// text, so nothing leads out of a drive. Names are looked up as they are written, case-sensitively, on C:
/// too.
///   Z:\a\b    /a/b
///   C:\a      <home>/drive_c/a
///   \a, /a    /a
///   a\b       relative to the working directory
/// Returns 0, or ERROR_PATH_NOT_FOUND for an empty path, any other drive and a path that begins with two
/// slashes, or ERROR_INVALID_NAME for a drive without a slash behind it ("Z:a") and for text that is not
/// UTF-16.
DWORD ToPosixPath(std::u16string_view path, std::string* posix_path);

/// The path on drive Z: of an absolute POSIX path. A relative one is taken from the working directory.
std::u16string ToWindowsPath(std::string_view posix_path);

/// The Win32 code for what a file operation left in errno.
DWORD CodeFromErrno(int error);

/// An open file of ours, closed at the end of its life.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor();
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  bool IsOpen() const { return fd_ >= 0; }
  int Get() const { return fd_; }
  int Release();

 private:
  int fd_;
};

/// Reads a whole regular file by its POSIX path. Returns 0 or a Win32 code; ERROR_ACCESS_DENIED for anything
/// that is not a regular file.
DWORD ReadWholeFile(const std::string& posix_path, std::string* content);

/// Writes all bytes, whatever interrupts it. Returns 0 or a Win32 code; `*written` receives the bytes
/// written.
DWORD WriteAll(int fd, const void* bytes, size_t size, size_t* written);

}  // namespace base
