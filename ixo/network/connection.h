#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "ixo/network/codes.h"
#include "ixo/network/deadline.h"
#include "ixo/network/resolver.h"
#include "ixo/network/tls_context.h"

namespace custom_bidi::network {

/// A TCP connection to a device, with TLS or without. No operation lasts beyond its deadline, whatever the
/// device does, and none raises a signal. All return 0 or a code of codes.h.
class Connection {
 public:
  Connection() = default;
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Connects to the first of the addresses that answers; all are tried at once.
  DWORD Open(std::span<const SocketAddress> addresses, Deadline deadline);

  /// Begins TLS. `host` is the name that the device is told (RFC 6066, section 3), unless it is an address.
  /// kBadAnswer when the device speaks something else or the handshake fails.
  DWORD StartTls(SSL_CTX* context, const std::string& host, Deadline deadline);

  /// The session after StartTls, also after one that failed; null before.
  SSL* Tls() const { return tls_.get(); }

  DWORD Write(std::span<const BYTE> bytes, Deadline deadline);

  /// Waits for some bytes; `length` receives how many there are, 0 when the device has closed.
  DWORD Read(std::span<BYTE> bytes, size_t& length, Deadline deadline);

 private:
  DWORD WriteSocket(std::span<const BYTE> bytes, Deadline deadline);
  DWORD ReadSocket(std::span<BYTE> bytes, size_t& length, Deadline deadline);
  DWORD MoveTlsBytes(int result, Deadline deadline);

  int socket_ = -1;
  TlsSession tls_;
};

/// Finds and connects: Resolve, then Open.
DWORD Connect(const std::string& host, uint16_t port, Deadline deadline, Connection& connection);

}  // namespace custom_bidi::network
