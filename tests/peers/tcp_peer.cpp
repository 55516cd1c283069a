#include "tests/peers/tcp_peer.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace custom_bidi_test {

std::string Socket::Read() const {
  std::array<char, size_t{64} * 1024> block;
  if (!stop_.WaitFor(File(), POLLIN))
    return {};
  const ssize_t size = recv(File(), block.data(), block.size(), 0);
  return {block.data(), size > 0 ? static_cast<size_t>(size) : 0};
}

bool Socket::Write(std::string_view bytes) const {
  while (!bytes.empty()) {
    if (!stop_.WaitFor(File(), POLLOUT))
      return false;
    const ssize_t size = send(File(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size < 0 && errno != EAGAIN)
      return false;
    bytes.remove_prefix(size > 0 ? static_cast<size_t>(size) : 0);
  }
  return true;
}

void Socket::CloseWrite() const {
  shutdown(File(), SHUT_WR);
}

TcpPeer::TcpPeer(TcpHandler handler)
    : handler_(std::move(handler)), listener_(BindLoopback(Transport::kTcp)), port_(PortOf(listener_)) {
  if (listen(listener_.Get(), 64) != 0)
    throw std::system_error(errno, std::generic_category(), "listen");
  acceptor_ = std::thread([this] { AcceptAll(); });
}

TcpPeer::~TcpPeer() {
  stop_.Give();
  acceptor_.join();
  for (Worker& worker : workers_)
    worker.thread.join();
}

void TcpPeer::AcceptAll() {
  while (stop_.WaitFor(listener_.Get(), POLLIN)) {
    FileDescriptor connection(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection.Get() >= 0)
      StartHandler(std::move(connection));
  }
}

void TcpPeer::StartHandler(FileDescriptor connection) {
  // A client that comes again and again would otherwise use up all threads that there can be.
  std::erase_if(workers_, [](Worker& worker) {
    const bool done = *worker.done;
    if (done)
      worker.thread.join();
    return done;
  });
  ++connections_;
  const auto done = std::make_shared<std::atomic<bool>>(false);
  std::thread thread([this, done, client = Socket(std::move(connection), stop_)]() mutable {
    handler_(client);
    *done = true;
  });
  workers_.push_back({.thread = std::move(thread), .done = done});
}

TcpHandler StaySilent() {
  return [](Socket& client) {
    while (!client.Read().empty()) {
    }
  };
}

TcpHandler CloseAtOnce() {
  return [](Socket&) {};
}

TcpHandler Answer(std::string bytes) {
  return [bytes = std::move(bytes)](Socket& client) {
    client.Read();
    client.Write(bytes);
  };
}

TcpHandler Drip(std::string bytes, std::chrono::milliseconds interval) {
  return [bytes = std::move(bytes), interval](Socket& client) {
    client.Read();
    for (const char& byte : bytes) {
      if (!client.Sleep(interval) || !client.Write({&byte, 1}))
        return;
    }
  };
}

TcpHandler Flood(std::string head, std::string block) {
  return [head = std::move(head), block = std::move(block)](Socket& client) {
    client.Read();
    client.Write(head);
    while (client.Write(block)) {
    }
  };
}

}  // namespace custom_bidi_test
