#include "ixo/network/connection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <limits>
#include <utility>

namespace custom_bidi::network {
namespace {

DWORD CodeFromErrno(int error) {
  switch (error) {
    case ECONNREFUSED:
      return kConnectionRefused;
    case ETIMEDOUT:
      return kTimeout;
    case ENETUNREACH:
    case EHOSTUNREACH:
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
      return kHostUnreachable;
    default:
      return kConnectionAborted;
  }
}

/// Sockets that are connecting; those still here at the end are closed.
class Attempts {
 public:
  Attempts() = default;
  ~Attempts() {
    for (const pollfd& attempt : attempts_) {
      close(attempt.fd);
    }
  }
  Attempts(const Attempts&) = delete;
  Attempts& operator=(const Attempts&) = delete;

  void Start(const SocketAddress& address) {
    const int fd = socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    if (fd < 0) {
      code_ = CodeFromErrno(errno);
      return;
    }
    attempts_.push_back({.fd = fd, .events = POLLOUT, .revents = 0});
    if (connect(fd, address.Get(), address.length) != 0 && errno != EINPROGRESS) {
      Drop(attempts_.size() - 1, errno);
    }
  }

  /// The first socket that is connected, which is the caller's then.
  DWORD Wait(Deadline deadline, int& connected) {
    while (!attempts_.empty()) {
      const int count = poll(attempts_.data(), attempts_.size(), deadline.RemainingMs());
      if (count == 0 && deadline.IsOver()) {
        return kTimeout;
      }
      for (size_t i = attempts_.size(); count > 0 && i-- > 0;) {
        if (attempts_[i].revents != 0 && IsConnected(i)) {
          connected = attempts_[i].fd;
          attempts_.erase(attempts_.begin() + static_cast<ptrdiff_t>(i));
          return ERROR_SUCCESS;
        }
      }
    }
    return code_;
  }

 private:
  /// A socket whose connecting has failed is dropped.
  bool IsConnected(size_t index) {
    int error = 0;
    socklen_t length = sizeof(error);
    getsockopt(attempts_[index].fd, SOL_SOCKET, SO_ERROR, &error, &length);
    if (error != 0) {
      Drop(index, error);
    }
    return error == 0;
  }

  void Drop(size_t index, int error) {
    // That somebody refused says more than that there was no way to another address.
    const DWORD code = CodeFromErrno(error);
    code_ = code_ == kConnectionRefused ? code_ : code;
    close(attempts_[index].fd);
    attempts_.erase(attempts_.begin() + static_cast<ptrdiff_t>(index));
  }

  std::vector<pollfd> attempts_;
  DWORD code_ = kHostUnreachable;
};

/// Waits until the socket can do what `events` says, or something has gone wrong with it.
DWORD WaitFor(int fd, short events, Deadline deadline) {
  pollfd entry{.fd = fd, .events = events, .revents = 0};
  for (;;) {
    const int count = poll(&entry, 1, deadline.RemainingMs());
    if (count > 0) {
      return ERROR_SUCCESS;
    }
    if (count == 0 && deadline.IsOver()) {
      return kTimeout;
    }
    if (count < 0 && errno != EINTR) {
      return kConnectionAborted;
    }
  }
}

bool IsAddress(const std::string& host) {
  std::array<unsigned char, sizeof(in6_addr)> address{};
  return inet_pton(AF_INET, host.c_str(), address.data()) == 1 || host.find(':') != std::string::npos;
}

}  // namespace

Connection::~Connection() {
  if (socket_ >= 0) {
    close(socket_);
  }
}

DWORD Connection::Open(std::span<const SocketAddress> addresses, Deadline deadline) {
  Attempts attempts;
  for (const SocketAddress& address : addresses) {
    attempts.Start(address);
  }
  int connected = -1;
  if (const DWORD code = attempts.Wait(deadline, connected)) {
    return code;
  }
  // Requests are small and answers are waited for.
  const int on = 1;
  setsockopt(connected, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  if (socket_ >= 0) {
    close(socket_);
  }
  socket_ = connected;
  return ERROR_SUCCESS;
}

DWORD Connection::StartTls(SSL_CTX* context, const std::string& host, Deadline deadline) {
  tls_.reset(SSL_new(context));
  BIO* const from_socket = BIO_new(BIO_s_mem());
  BIO* const to_socket = BIO_new(BIO_s_mem());
  if (!tls_ || !from_socket || !to_socket) {
    BIO_free(from_socket);
    BIO_free(to_socket);
    tls_.reset();
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  // OpenSSL's own way to a socket would raise SIGPIPE and knows no deadline.
  SSL_set_bio(tls_.get(), from_socket, to_socket);
  if (!IsAddress(host)) {
    SSL_set_tlsext_host_name(tls_.get(), host.c_str());
  }
  for (;;) {
    ERR_clear_error();
    const int result = SSL_connect(tls_.get());
    const DWORD code = MoveTlsBytes(result, deadline);
    ERR_clear_error();
    if (result == 1 || code != ERROR_SUCCESS) {
      return code;
    }
  }
}

/// What OpenSSL says of a session cannot be told while an older error stands in the thread's queue, so that
/// is emptied before each operation, and what the operation left there behind it.
///
/// After an operation: sends what it has to say, and brings what it waits for. A session that
/// has failed is kBadAnswer, and one that is at its end kConnectionAborted.
DWORD Connection::MoveTlsBytes(int result, Deadline deadline) {
  const int reason = SSL_get_error(tls_.get(), result);
  std::array<BYTE, 16384> bytes{};
  for (int length = 0; (length = BIO_read(SSL_get_wbio(tls_.get()), bytes.data(), bytes.size())) > 0;) {
    const DWORD code = WriteSocket({bytes.data(), static_cast<size_t>(length)}, deadline);
    if (code != ERROR_SUCCESS) {
      return code;
    }
  }
  if (result > 0 || reason == SSL_ERROR_WANT_WRITE) {
    return ERROR_SUCCESS;
  }
  if (reason != SSL_ERROR_WANT_READ) {
    return reason == SSL_ERROR_ZERO_RETURN ? kConnectionAborted : kBadAnswer;
  }
  size_t length = 0;
  if (const DWORD code = ReadSocket(bytes, length, deadline)) {
    return code;
  }
  if (length == 0) {
    return kConnectionAborted;
  }
  return BIO_write(SSL_get_rbio(tls_.get()), bytes.data(), static_cast<int>(length)) > 0
             ? DWORD{ERROR_SUCCESS}
             : DWORD{ERROR_NOT_ENOUGH_MEMORY};
}

DWORD Connection::Write(std::span<const BYTE> bytes, Deadline deadline) {
  if (!tls_) {
    return WriteSocket(bytes, deadline);
  }
  while (!bytes.empty()) {
    size_t written = 0;
    ERR_clear_error();
    const int result = SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &written);
    const DWORD code = MoveTlsBytes(result, deadline);
    ERR_clear_error();
    if (code != ERROR_SUCCESS) {
      return code;
    }
    bytes = bytes.subspan(written);
  }
  return ERROR_SUCCESS;
}

DWORD Connection::Read(std::span<BYTE> bytes, size_t& length, Deadline deadline) {
  length = 0;
  if (!tls_) {
    return ReadSocket(bytes, length, deadline);
  }
  for (;;) {
    ERR_clear_error();
    const int result = SSL_read_ex(tls_.get(), bytes.data(), bytes.size(), &length);
    const DWORD code = MoveTlsBytes(result, deadline);
    ERR_clear_error();
    if (code == kConnectionAborted) {
      return ERROR_SUCCESS;  // closed, in one way or another
    }
    if (code != ERROR_SUCCESS || result == 1) {
      return code;
    }
  }
}

DWORD Connection::WriteSocket(std::span<const BYTE> bytes, Deadline deadline) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<size_t>(sent));
    } else if (errno == EAGAIN) {
      if (const DWORD code = WaitFor(socket_, POLLOUT, deadline)) {
        return code;
      }
    } else if (errno != EINTR) {
      return kConnectionAborted;
    }
  }
  return ERROR_SUCCESS;
}

DWORD Connection::ReadSocket(std::span<BYTE> bytes, size_t& length, Deadline deadline) {
  for (;;) {
    // A device that never stops sending is not to outlast the deadline either.
    if (deadline.IsOver()) {
      return kTimeout;
    }
    const ssize_t received = recv(socket_, bytes.data(), bytes.size(), 0);
    if (received >= 0) {
      length = static_cast<size_t>(received);
      return ERROR_SUCCESS;
    }
    if (errno == EAGAIN) {
      if (const DWORD code = WaitFor(socket_, POLLIN, deadline)) {
        return code;
      }
    } else if (errno != EINTR) {
      return kConnectionAborted;
    }
  }
}

DWORD Connect(const std::string& host, uint16_t port, Deadline deadline, Connection& connection) {
  std::vector<SocketAddress> addresses;
  if (const DWORD code = Resolve(host, port, deadline, addresses)) {
    return code;
  }
  return connection.Open(addresses, deadline);
}

}  // namespace custom_bidi::network
