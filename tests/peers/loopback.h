#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>

/// Sockets and ports of the loopback interface. What cannot be had raises std::system_error.
namespace custom_bidi_test {

/// An open socket, closed with the object and not passed on to programs.
class FileDescriptor {
 public:
  explicit FileDescriptor(int file) : file_(file) {}
  ~FileDescriptor();
  FileDescriptor(FileDescriptor&& other) noexcept : file_(other.file_) { other.file_ = -1; }
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;

  int Get() const { return file_; }

 private:
  int file_;
};

enum class Transport { kTcp, kUdp };

/// 127.0.0.1
sockaddr_in LoopbackAddress(uint16_t port);

/// A socket bound to a free port of 127.0.0.1.
FileDescriptor BindLoopback(Transport transport);
/// A socket connected to 127.0.0.1. For UDP this only names the peer.
FileDescriptor ConnectLoopback(Transport transport, uint16_t port);
uint16_t PortOf(const FileDescriptor& socket);

/// A port that nobody used a moment ago, on 127.0.0.1 and ::1. Somebody else may take it before the server
/// that it is for does, which then has to be given another.
uint16_t FreePort(Transport transport);

/// A TCP port of 127.0.0.1 that refuses every connection and that nobody else can take, for as long as the
/// object lives.
class ClosedPort {
 public:
  ClosedPort() : socket_(BindLoopback(Transport::kTcp)) {}
  uint16_t Port() const { return PortOf(socket_); }

 private:
  FileDescriptor socket_;
};

}  // namespace custom_bidi_test
