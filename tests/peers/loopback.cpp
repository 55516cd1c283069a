#include "tests/peers/loopback.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace custom_bidi_test {
namespace {

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor OpenSocket(Transport transport) {
  const int type = transport == Transport::kTcp ? SOCK_STREAM : SOCK_DGRAM;
  FileDescriptor socket(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
  if (socket.Get() < 0)
    Fail("socket");
  return socket;
}

/// True also where there is no IPv6 at all.
bool IsFreeOnIpv6(Transport transport, uint16_t port) {
  const int type = transport == Transport::kTcp ? SOCK_STREAM : SOCK_DGRAM;
  const FileDescriptor socket(::socket(AF_INET6, type | SOCK_CLOEXEC, 0));
  if (socket.Get() < 0)
    return true;
  sockaddr_in6 address = {};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(port);
  address.sin6_addr = in6addr_loopback;
  return bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ||
         errno != EADDRINUSE;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (file_ >= 0)
    close(file_);
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(file_, other.file_);
  return *this;
}

sockaddr_in LoopbackAddress(uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

FileDescriptor BindLoopback(Transport transport) {
  FileDescriptor socket = OpenSocket(transport);
  const sockaddr_in address = LoopbackAddress(0);
  if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    Fail("bind");
  return socket;
}

FileDescriptor ConnectLoopback(Transport transport, uint16_t port) {
  FileDescriptor socket = OpenSocket(transport);
  const sockaddr_in address = LoopbackAddress(port);
  if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    Fail("connect");
  return socket;
}

uint16_t PortOf(const FileDescriptor& socket) {
  sockaddr_in address = {};
  socklen_t size = sizeof(address);
  if (getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
    Fail("getsockname");
  return ntohs(address.sin_port);
}

uint16_t FreePort(Transport transport) {
  while (true) {
    const FileDescriptor socket = BindLoopback(transport);
    const uint16_t port = PortOf(socket);
    if (IsFreeOnIpv6(transport, port))
      return port;
  }
}

}  // namespace custom_bidi_test
