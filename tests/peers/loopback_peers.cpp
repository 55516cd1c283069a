#include "tests/peers/loopback_peers.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <system_error>

namespace custom_bidi_test {
namespace {

using std::chrono::milliseconds;

constexpr size_t kBlock = size_t{64} * 1024;

int Check(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

sockaddr_in Address(uint16_t port, in_addr_t address = INADDR_LOOPBACK) {
  return {.sin_family = AF_INET, .sin_port = htons(port), .sin_addr = {htonl(address)}, .sin_zero = {}};
}

int ConnectTo(int file, uint16_t port) {
  const sockaddr_in address = Address(port);
  return connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

Socket Listen(int backlog) {
  Socket listener = Socket::Bound(SOCK_STREAM);
  Check(listen(listener.Get(), backlog), "listen");
  return listener;
}

/// Waits until `events` (as of poll) are there for the file. False once the thread is to end.
bool WaitFor(const std::stop_token& stop, int file, short events) {
  constexpr int kTickMs = 5;
  while (!stop.stop_requested()) {
    pollfd entry = {.fd = file, .events = events, .revents = 0};
    if (poll(&entry, 1, kTickMs) > 0) {
      return true;
    }
  }
  return false;
}

/// Empty when there is none.
std::string Receive(int file, sockaddr_in* sender = nullptr) {
  std::string bytes(kBlock, '\0');
  socklen_t sender_size = sizeof(*sender);
  const ssize_t size =
      recvfrom(file, bytes.data(), bytes.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr*>(sender),
               sender != nullptr ? &sender_size : nullptr);
  bytes.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)));
  return bytes;
}

}  // namespace

Socket Socket::Bound(int type, uint16_t port, in_addr_t address) {
  Socket bound(Check(socket(AF_INET, type | SOCK_CLOEXEC, 0), "socket"));
  const int reuse = port != 0 ? 1 : 0;
  setsockopt(bound.Get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
  const sockaddr_in local = Address(port, address);
  Check(bind(bound.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof(local)), "bind");
  return bound;
}

uint16_t Socket::Port() const {
  sockaddr_in address = {};
  socklen_t size = sizeof(address);
  Check(getsockname(file_, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  return ntohs(address.sin_port);
}

FullPort::FullPort() : Socket(Listen(0)) {
  for (int i = 0; i < 4; ++i) {
    waiting_.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    ConnectTo(waiting_.back().Get(), Port());
  }
}

std::string Connection::Read() const {
  return WaitFor(stop_, socket_.Get(), POLLIN) ? Receive(socket_.Get()) : "";
}

bool Connection::Write(std::string_view bytes) const {
  while (!bytes.empty()) {
    if (!WaitFor(stop_, socket_.Get(), POLLOUT)) {
      return false;
    }
    const ssize_t size = send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size < 0 && errno != EAGAIN) {
      return false;
    }
    bytes.remove_prefix(size > 0 ? static_cast<size_t>(size) : 0);
  }
  return true;
}

void Connection::WriteAllFrom(const Connection& other) const {
  for (std::string bytes = other.Read(); !bytes.empty() && Write(bytes); bytes = other.Read()) {
  }
  shutdown(socket_.Get(), SHUT_RDWR);
}

Connection Connection::To(uint16_t port) const {
  Socket client(Check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  Check(ConnectTo(client.Get(), port), "connect");
  return {std::move(client), stop_};
}

TcpPeer::TcpPeer(TcpHandler handler)
    : handler_(std::move(handler)),
      listener_(Listen(64)),
      acceptor_([this](const std::stop_token& stop) { AcceptAll(stop); }) {}

void TcpPeer::AcceptAll(const std::stop_token& stop) {
  while (WaitFor(stop, listener_.Get(), POLLIN)) {
    Socket accepted(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (accepted.Get() >= 0) {
      ++connections_;
      workers_.emplace_back(
          [this, client = Connection(std::move(accepted), stop)]() mutable { handler_(client); });
    }
  }
}

TcpHandler StaySilent() {
  return [](Connection& client) {
    while (!client.Read().empty()) {
    }
  };
}

TcpHandler CloseAtOnce() {
  return [](Connection&) {};
}

TcpHandler Reply(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& client) {
    client.Read();
    client.Write(bytes);
  };
}

TcpHandler Drip(std::string bytes, milliseconds interval) {
  return [bytes = std::move(bytes), interval](Connection& client) {
    client.Read();
    for (size_t i = 0; i < bytes.size() && client.Write({&bytes[i], 1}); ++i) {
      std::this_thread::sleep_for(interval);
    }
  };
}

TcpHandler Stall(std::string part, int connections, TcpHandler then) {
  auto left = std::make_shared<std::atomic<int>>(connections);
  return [left, part = std::move(part), then = std::move(then)](Connection& client) {
    if ((*left)-- <= 0) {
      return then(client);
    }
    client.Read();
    client.Write(part);
    StaySilent()(client);
  };
}

TcpHandler Flood(std::string head, std::string block) {
  return [head = std::move(head), block = std::move(block)](Connection& client) {
    client.Read();
    client.Write(head);
    while (client.Write(block)) {
    }
  };
}

TcpHandler PassOnInTurn(uint16_t target) {
  return [target, turn = std::make_shared<std::mutex>()](Connection& client) {
    const std::lock_guard only(*turn);
    const Connection server = client.To(target);
    const std::jthread answers([&] { client.WriteAllFrom(server); });
    server.WriteAllFrom(client);
  };
}

UdpPeer::UdpPeer(Handler handler, int repetitions)
    : handler_(std::move(handler)),
      repetitions_(repetitions),
      socket_(Socket::Bound(SOCK_DGRAM)),
      thread_([this](const std::stop_token& stop) { AnswerAll(stop); }) {}

UdpPeer::Handler UdpPeer::PassOn(uint16_t target) {
  auto relay = std::make_shared<Socket>(Socket::Bound(SOCK_DGRAM));
  Check(ConnectTo(relay->Get(), target), "connect");
  return [relay](const std::string& question) {
    constexpr int kPatienceMs = 5000;
    pollfd entry = {.fd = relay->Get(), .events = POLLIN, .revents = 0};
    const bool is_answered =
        send(relay->Get(), question.data(), question.size(), 0) > 0 && poll(&entry, 1, kPatienceMs) > 0;
    return is_answered ? Receive(relay->Get()) : "";
  };
}

/// What is lost here is lost as datagrams are.
void UdpPeer::AnswerAll(const std::stop_token& stop) {
  while (WaitFor(stop, socket_.Get(), POLLIN)) {
    sockaddr_in sender = {};
    const std::string question = Receive(socket_.Get(), &sender);
    if (question.empty()) {
      continue;  // the error of a datagram that went to a closed port
    }
    ++datagrams_;
    const std::string answer = handler_(question);
    for (int i = 0; i < repetitions_ && !answer.empty() && !stop.stop_requested(); ++i) {
      static_cast<void>(sendto(socket_.Get(), answer.data(), answer.size(), 0,
                               reinterpret_cast<const sockaddr*>(&sender), sizeof(sender)));
    }
  }
}

}  // namespace custom_bidi_test
