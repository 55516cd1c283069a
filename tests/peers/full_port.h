#pragma once

#include <fcntl.h>
#include <sys/socket.h>

#include <vector>

#include "tests/peers/loopback.h"

namespace custom_bidi_test {

/// A TCP port of 127.0.0.1 where connections are neither accepted nor refused, like that of a machine behind
/// a firewall: its queue of connections is full.
class FullPort {
 public:
  FullPort() : listener_(BindLoopback(Transport::kTcp)) {
    listen(listener_.Get(), 0);
    const sockaddr_in address = LoopbackAddress(Port());
    for (int i = 0; i < 4; ++i) {
      const FileDescriptor& waiting =
          waiting_.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
      connect(waiting.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    }
  }

  uint16_t Port() const { return PortOf(listener_); }

 private:
  FileDescriptor listener_;
  std::vector<FileDescriptor> waiting_;
};

}  // namespace custom_bidi_test
