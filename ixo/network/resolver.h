#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ixo/network/codes.h"
#include "ixo/network/deadline.h"

namespace custom_bidi::network {

/// An IPv4 or IPv6 address with a port.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
  bool IsIpv6() const { return storage.ss_family == AF_INET6; }
  /// The same host at another port.
  SocketAddress WithPort(uint16_t port) const;
  /// The same host, whatever the ports.
  bool IsSameHost(const SocketAddress& other) const;
  /// "192.0.2.10:631", "[2001:db8::10]:631".
  std::string ToText() const;
};

/// The addresses of a host, an address or a name, in the system's order; "localhost" is the
/// loopback interface without asking. Returns 0, kHostUnknown or kTimeout.
/// A name that is still being looked up at the deadline is left to the system, with the few bytes that hold
/// the question: a name server's silence cannot be called off.
DWORD Resolve(const std::string& host,
              uint16_t port,
              Deadline deadline,
              std::vector<SocketAddress>& addresses);

}  // namespace custom_bidi::network
