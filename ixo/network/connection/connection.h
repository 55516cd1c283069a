#pragma once

#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ixo/network/exchange.h"

namespace custom_bidi::network {

/// An IPv4 or IPv6 address with a port.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
  bool IsIpv6() const { return storage.ss_family == AF_INET6; }
  /// Whether it leads to this machine itself, as the unspecified address does, too.
  bool IsLoopback() const;
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

/// Waits until one of the files can do what its `events` say, or something has gone wrong with it. Returns 0,
/// kTimeout, or kNoResources when the system cannot wait.
DWORD WaitForAny(std::span<pollfd> files, Deadline deadline);

struct FreeTls {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* session) const { SSL_free(session); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTls>;
using TlsSession = std::unique_ptr<SSL, FreeTls>;

/// For talking to printers, which may be old: from TLS 1.0 on, with keys and signatures of any strength, and
/// whatever the certificate; who cares about that sets a verification up in it. Throws a std::bad_alloc.
TlsContext MakeTlsContext();

/// A TCP connection to a device, with TLS or without. No operation lasts beyond its deadline, whatever the
/// device does, and none raises a signal. All return 0 or a code of exchange.h: at the deadline kTimeout when
/// the device has not said anything, and kStopped when it has.
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
  DWORD StartTls(SSL_CTX* context, const std::string& host, const Patience& patience);

  /// The session after StartTls, also after one that failed; null before.
  SSL* Tls() const { return tls_.get(); }

  DWORD Write(std::span<const BYTE> bytes, Deadline deadline);

  /// Waits for some bytes; `length` receives how many there are, 0 when the device has closed.
  DWORD Read(std::span<BYTE> bytes, size_t& length, Deadline deadline);

  /// What the device has sent so far, with all that belongs to TLS.
  size_t ReceivedBytes() const { return received_bytes_; }

 private:
  DWORD Wait(short events, Deadline deadline) const;
  DWORD TimeoutCode() const { return received_bytes_ > 0 ? kStopped : kTimeout; }
  DWORD WriteSocket(std::span<const BYTE> bytes, Deadline deadline);
  DWORD ReadSocket(std::span<BYTE> bytes, size_t& length, Deadline deadline);
  template <class Operation>
  DWORD Step(Operation&& operation, Deadline deadline, int& result);
  DWORD MoveTlsBytes(int result, Deadline deadline);

  int socket_ = -1;
  size_t received_bytes_ = 0;
  TlsSession tls_;
};

/// Finds and connects: Resolve, then Open.
DWORD Connect(const std::string& host, uint16_t port, Deadline deadline, Connection& connection);

}  // namespace custom_bidi::network
