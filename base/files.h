#pragma once

/// Paths as Windows writes them and what they stand for, and the files there.

#include <string>
#include <string_view>

#include "base/types.h"

namespace base {

/// The environment variable's value; null when it is not set, and for every variable in a process that has
/// more rights than its caller (setuid, setgid, file capabilities), whom its environment belongs to.
const char* Variable(const char* name);

/// The folder that holds `drive_c/` and `registry.reg`, as a POSIX path without a slash at its end:
/// $CUSTOMBIDI_HOME, else $XDG_DATA_HOME/custom-bidi, else ~/.local/share/custom-bidi. A variable that is
/// empty counts as not set, and so does a relative $XDG_DATA_HOME, as the XDG base directories have it. A
/// relative $CUSTOMBIDI_HOME is refused: there is no such folder then, and none can be made. Read anew at each
/// call; the folder need not exist.
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

/// Opens a regular file of ours, with the flags of open(2), and never waits: ERROR_ACCESS_DENIED for anything
/// else, such as a pipe or a device. Returns 0 or a Win32 code.
DWORD OpenRegularFile(const std::string& posix_path, int flags, int* opened);

/// What no file that is read whole has, unless it is none of ours.
inline constexpr size_t kMaxFileBytes = size_t{16} * 1024 * 1024;
/// Nor what no XML document of ours has, of which a parser makes thirty times as much: a configuration has one
/// line that matters, a data map some hundred.
inline constexpr size_t kMaxDocumentBytes = size_t{4} * 1024 * 1024;

/// Reads a whole regular file by its POSIX path, which may be a link. Returns 0 or a Win32 code;
/// ERROR_ACCESS_DENIED for anything that is not a regular file, ERROR_FILE_TOO_LARGE for one of more than
/// `max_bytes`.
DWORD ReadWholeFile(const std::string& posix_path, std::string* content, size_t max_bytes = kMaxFileBytes);

/// Takes the lock of flock(2) on an open file, for all of its life. ERROR_LOCK_VIOLATION when one other has it
/// for two seconds, or one after the other for thirty.
DWORD LockWholeFile(int fd);

/// Writes all bytes, whatever interrupts it. Returns 0 or a Win32 code; `*written` receives the bytes
/// written.
DWORD WriteAll(int fd, const void* bytes, size_t size, size_t* written);

}  // namespace base
