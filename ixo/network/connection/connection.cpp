#include "ixo/network/connection/connection.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <strings.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace custom_bidi::network {
namespace {

/// OpenSSL stays loaded when this library goes. Where the loader runs out of memory while it loads a library
/// with what that needs, it leaves the latter behind half made, and no later call could load it.
[[maybe_unused]] void* const g_kept = dlopen("libssl.so.3", RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, FreeAddresses>;

addrinfo Hints(int flags) {
  addrinfo hints{};
  hints.ai_flags = flags | AI_NUMERICSERV;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  return hints;
}

/// A question to the name service, with all the memory that it uses.
struct Question {
  std::string host;
  std::string port;
  addrinfo hints = Hints(0);
  gaicb request{};
};

DWORD Ask(const std::string& host, const std::string& port, Deadline deadline, AddressList& list) {
  auto question = std::make_unique<Question>(Question{host, port});
  question->request.ar_name = question->host.c_str();
  question->request.ar_service = question->port.c_str();
  question->request.ar_request = &question->hints;
  std::array<gaicb*, 1> requests = {&question->request};
  if (getaddrinfo_a(GAI_NOWAIT, requests.data(), 1, nullptr) != 0) {
    return kHostUnknown;
  }
  int state = gai_error(requests[0]);
  while (state == EAI_INPROGRESS && !deadline.IsOver()) {
    const int left_ms = deadline.RemainingMs();
    const timespec wait{left_ms / 1000, static_cast<long>(left_ms % 1000) * 1'000'000};
    const int waited = gai_suspend(requests.data(), 1, &wait);
    state = gai_error(requests[0]);
    if (waited != 0 && waited != EAI_AGAIN && waited != EAI_INTR && waited != EAI_ALLDONE) {
      break;
    }
  }
  if (state == EAI_INPROGRESS) {
    if (gai_cancel(requests[0]) != EAI_CANCELED) {
      static_cast<void>(question.release());  // the system still writes to it
    }
    return kTimeout;
  }
  list.reset(question->request.ar_result);
  return state == 0 ? DWORD{ERROR_SUCCESS} : kHostUnknown;
}

/// What needs no name service: an address, and the name of this machine itself (RFC 6761, section 6.3).
bool Know(const std::string& host, const std::string& port, AddressList& list) {
  const bool is_own = strcasecmp(host.c_str(), "localhost") == 0;
  const addrinfo hints = Hints(AI_NUMERICHOST);
  addrinfo* known = nullptr;
  if (getaddrinfo(is_own ? "127.0.0.1" : host.c_str(), port.c_str(), &hints, &known) != 0) {
    return false;
  }
  list.reset(known);
  if (!is_own) {
    return true;
  }
  // One by one: where there are two, the C library connects to each to put them in order, and ends the
  // process when the first cannot be reached.
  if (getaddrinfo("::1", port.c_str(), &hints, &known) != 0) {
    return false;
  }
  known->ai_next = list.release();
  list.reset(known);
  return true;
}

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
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
      return kNoResources;
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
    attempts_.reserve(attempts_.size() + 1);  // so that no socket is without an owner
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
      if (const DWORD code = WaitForAny(attempts_, deadline)) {
        return code;
      }
      for (size_t i = attempts_.size(); i-- > 0;) {
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
    if (getsockopt(attempts_[index].fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
      error = errno;
    }
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

bool IsAddress(const std::string& host) {
  std::array<unsigned char, sizeof(in6_addr)> address{};
  return inet_pton(AF_INET, host.c_str(), address.data()) == 1 || host.find(':') != std::string::npos;
}

}  // namespace

SocketAddress SocketAddress::WithPort(uint16_t port) const {
  SocketAddress address = *this;
  in_port_t& place = IsIpv6() ? reinterpret_cast<sockaddr_in6&>(address.storage).sin6_port
                              : reinterpret_cast<sockaddr_in&>(address.storage).sin_port;
  place = htons(port);
  return address;
}

bool SocketAddress::IsLoopback() const {
  constexpr uint32_t kLoopbackNet = IN_LOOPBACKNET;
  const auto is_loopback = [](in_addr_t address) {
    return address == INADDR_ANY || ntohl(address) >> IN_CLASSA_NSHIFT == kLoopbackNet;
  };
  if (!IsIpv6()) {
    return is_loopback(reinterpret_cast<const sockaddr_in&>(storage).sin_addr.s_addr);
  }
  const in6_addr& address = reinterpret_cast<const sockaddr_in6&>(storage).sin6_addr;
  in_addr_t mapped = 0;
  std::memcpy(&mapped, &address.s6_addr[12], sizeof(mapped));
  return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_UNSPECIFIED(&address) ||
         (IN6_IS_ADDR_V4MAPPED(&address) && is_loopback(mapped));
}

bool SocketAddress::IsSameHost(const SocketAddress& other) const {
  if (storage.ss_family != other.storage.ss_family) {
    return false;
  }
  if (!IsIpv6()) {
    return reinterpret_cast<const sockaddr_in&>(storage).sin_addr.s_addr ==
           reinterpret_cast<const sockaddr_in&>(other.storage).sin_addr.s_addr;
  }
  const auto& left = reinterpret_cast<const sockaddr_in6&>(storage);
  const auto& right = reinterpret_cast<const sockaddr_in6&>(other.storage);
  return left.sin6_scope_id == right.sin6_scope_id &&
         std::memcmp(&left.sin6_addr, &right.sin6_addr, sizeof(in6_addr)) == 0;
}

std::string SocketAddress::ToText() const {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  if (getnameinfo(Get(), length, host.data(), host.size(), port.data(), port.size(),
                  NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return "";
  }
  return IsIpv6() ? std::string("[") + host.data() + "]:" + port.data()
                  : std::string(host.data()) + ':' + port.data();
}

DWORD Resolve(const std::string& host,
              uint16_t port,
              Deadline deadline,
              std::vector<SocketAddress>& addresses) {
  addresses.clear();
  const std::string service = std::to_string(port);
  AddressList list;
  const DWORD code = Know(host, service, list) ? DWORD{ERROR_SUCCESS} : Ask(host, service, deadline, list);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
    SocketAddress& address = addresses.emplace_back();
    address.length = entry->ai_addrlen;
    std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
  }
  return addresses.empty() ? kHostUnknown : DWORD{ERROR_SUCCESS};
}

DWORD WaitForAny(std::span<pollfd> files, Deadline deadline) {
  for (;;) {
    const int count = poll(files.data(), files.size(), deadline.RemainingMs());
    if (count > 0) {
      return ERROR_SUCCESS;
    }
    if (count < 0 && errno != EINTR) {
      return kNoResources;
    }
    if (deadline.IsOver()) {
      return kTimeout;
    }
  }
}

TlsContext MakeTlsContext() {
  TlsContext context(SSL_CTX_new(TLS_client_method()));
  if (!context) {
    throw std::bad_alloc();
  }
  SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
  SSL_CTX_set_security_level(context.get(), 0);
  SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
  // Printers that close without a word have said all they had to say: lengths tell what is missing.
  SSL_CTX_set_options(context.get(), SSL_OP_IGNORE_UNEXPECTED_EOF | SSL_OP_LEGACY_SERVER_CONNECT);
  return context;
}

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

/// Goes on with an operation of OpenSSL's, whose result the caller gets, and moves the bytes that it leads
/// to. What OpenSSL says of a session cannot be told while an older error stands in the thread's queue, so
/// that is emptied before each operation, and what the operation left there behind it.
template <class Operation>
DWORD Connection::Step(Operation&& operation, Deadline deadline, int& result) {
  ERR_clear_error();
  result = operation();
  const DWORD code = MoveTlsBytes(result, deadline);
  ERR_clear_error();
  return code;
}

DWORD Connection::StartTls(SSL_CTX* context, const std::string& host, const Patience& patience) {
  tls_.reset(SSL_new(context));
  BIO* const from_socket = BIO_new(BIO_s_mem());
  BIO* const to_socket = BIO_new(BIO_s_mem());
  if (!tls_ || from_socket == nullptr || to_socket == nullptr) {
    BIO_free(from_socket);
    BIO_free(to_socket);
    tls_.reset();
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  // OpenSSL's own way to a socket would raise SIGPIPE and knows no deadline.
  SSL_set_bio(tls_.get(), from_socket, to_socket);
  if (!IsAddress(host) && SSL_set_tlsext_host_name(tls_.get(), host.c_str()) != 1) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  int result = 0;
  DWORD code = ERROR_SUCCESS;
  while (result != 1 && code == ERROR_SUCCESS) {
    const Deadline deadline = patience.UntilNext(received_bytes_ > 0);
    code = Step([this] { return SSL_connect(tls_.get()); }, deadline, result);
  }
  return code;
}

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
    int result = 0;
    const auto write = [&] { return SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &written); };
    if (const DWORD code = Step(write, deadline, result)) {
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
    int result = 0;
    const auto read = [&] { return SSL_read_ex(tls_.get(), bytes.data(), bytes.size(), &length); };
    const DWORD code = Step(read, deadline, result);
    if (code == kConnectionAborted) {
      return ERROR_SUCCESS;  // closed, in one way or another
    }
    if (code != ERROR_SUCCESS || result == 1) {
      return code;
    }
  }
}

DWORD Connection::Wait(short events, Deadline deadline) const {
  pollfd file{.fd = socket_, .events = events, .revents = 0};
  const DWORD code = WaitForAny({&file, 1}, deadline);
  return code == kTimeout ? TimeoutCode() : code;
}

DWORD Connection::WriteSocket(std::span<const BYTE> bytes, Deadline deadline) {
  while (!bytes.empty()) {
    if (deadline.IsOver()) {
      return TimeoutCode();
    }
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<size_t>(sent));
    } else if (errno == EAGAIN) {
      if (const DWORD code = Wait(POLLOUT, deadline)) {
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
      return TimeoutCode();
    }
    const ssize_t received = recv(socket_, bytes.data(), bytes.size(), 0);
    if (received >= 0) {
      length = static_cast<size_t>(received);
      received_bytes_ += length;
      return ERROR_SUCCESS;
    }
    if (errno == EAGAIN) {
      if (const DWORD code = Wait(POLLIN, deadline)) {
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
