#pragma once

#include <string>

#include "pal/types.h"

namespace pal {

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

}  // namespace pal
