#pragma once

#include <netinet/in.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// Sockets of the loopback interface, and servers on them that do what they are told, mostly wrong. What
/// cannot be had raises std::system_error.
namespace custom_bidi_test {

/// An open socket, closed with the object and not passed on to programs.
class Socket {
 public:
  explicit Socket(int file) : file_(file) {}
  /// Of SOCK_STREAM or SOCK_DGRAM, bound to this port of 127.0.0.1; 0 is a free one.
  static Socket Bound(int type, uint16_t port = 0, in_addr_t address = INADDR_LOOPBACK);
  ~Socket() { static_cast<void>(file_ >= 0 && close(file_)); }
  Socket(Socket&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
  Socket& operator=(Socket&&) = delete;

  int Get() const { return file_; }
  uint16_t Port() const;

 private:
  int file_;
};

/// A port of 127.0.0.1 that refuses everything and that nobody else can take, for as long as the object lives.
struct ClosedPort : Socket {
  explicit ClosedPort(int type = SOCK_STREAM) : Socket(Bound(type)) {}
};

/// A TCP port of 127.0.0.1 where connections are neither accepted nor refused, like that of a machine behind
/// a firewall: its queue of connections is full.
struct FullPort : Socket {
  FullPort();

 private:
  std::list<Socket> waiting_;
};

/// A connection as a handler of TcpPeer has it. All calls end at once when the peer goes.
class Connection {
 public:
  Connection(Socket socket, std::stop_token stop) : socket_(std::move(socket)), stop_(std::move(stop)) {}

  /// What has come, at most 64 KiB; empty at the client's end, or the peer's own.
  std::string Read() const;
  /// False when the client or the peer ended before all was taken.
  bool Write(std::string_view bytes) const;
  /// Takes from the other end what comes, and writes it here, until one of the two has ended.
  void WriteAllFrom(const Connection& other) const;
  /// Another connection, to a port of 127.0.0.1, that ends with the same peer.
  Connection To(uint16_t port) const;

 private:
  Socket socket_;
  std::stop_token stop_;
};

/// Has a connection for itself; the connection is closed when it returns.
using TcpHandler = std::function<void(Connection&)>;

/// A server on 127.0.0.1 that does with every connection what its handler does, in a thread of its own.
class TcpPeer {
 public:
  explicit TcpPeer(TcpHandler handler);

  uint16_t Port() const { return listener_.Port(); }
  /// Those accepted so far.
  int Connections() const { return connections_; }

 private:
  void AcceptAll(const std::stop_token& stop);

  TcpHandler handler_;
  Socket listener_;
  std::atomic<int> connections_ = 0;
  std::list<std::jthread> workers_;  // the acceptor's own while it runs
  std::jthread acceptor_;
};

/// Takes what comes and never answers.
TcpHandler StaySilent();
TcpHandler CloseAtOnce();
// These answer whatever comes first, and close.
TcpHandler Reply(std::string bytes);
/// One byte at a time.
TcpHandler Drip(std::string bytes, std::chrono::milliseconds interval);
/// So many connections get a part of an answer and then silence, and all that follow are another's.
TcpHandler Stall(std::string part, int connections = 1000, TcpHandler then = nullptr);
/// `head`, and `block` again and again until the client goes.
TcpHandler Flood(std::string head, std::string block);
/// Passes connections on to a port of 127.0.0.1, one after the other: for a server that stops amid its answers
/// when several clients ask at once, as ippeveprinter does.
TcpHandler PassOnInTurn(uint16_t target);

/// A server on 127.0.0.1 that answers every datagram with what its handler makes of it, in its own thread.
class UdpPeer {
 public:
  /// Gets a datagram and gives the one to send back; an empty one is not sent.
  using Handler = std::function<std::string(const std::string&)>;

  /// Sends each answer so often, or until the peer goes.
  explicit UdpPeer(Handler handler, int repetitions = 1);

  /// Passes a datagram on to a port of 127.0.0.1, and gives the answer that comes within some seconds.
  static Handler PassOn(uint16_t target);

  uint16_t Port() const { return socket_.Port(); }
  /// Those received so far.
  int Datagrams() const { return datagrams_; }

 private:
  void AnswerAll(const std::stop_token& stop);

  Handler handler_;
  int repetitions_;
  Socket socket_;
  std::atomic<int> datagrams_ = 0;
  std::jthread thread_;
};

}  // namespace custom_bidi_test
