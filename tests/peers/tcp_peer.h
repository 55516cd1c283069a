#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/peers/loopback.h"
#include "tests/peers/stop_signal.h"

namespace custom_bidi_test {

/// A connection as a handler of TcpPeer has it. All calls end at once when the peer goes.
class Socket {
 public:
  Socket(FileDescriptor connection, const StopSignal& stop)
      : connection_(std::move(connection)), stop_(stop) {}

  /// What has come, at most 64 KiB; empty at the client's end, or the peer's own.
  std::string Read() const;
  /// False when the client or the peer ended before all was taken.
  bool Write(std::string_view bytes) const;
  /// Closes our direction only.
  void CloseWrite() const;
  /// False when the peer ended.
  bool Sleep(std::chrono::milliseconds duration) const { return stop_.Sleep(duration); }

  int File() const { return connection_.Get(); }
  const StopSignal& Stop() const { return stop_; }

 private:
  FileDescriptor connection_;
  const StopSignal& stop_;
};

/// Has a connection for itself; the connection is closed when it returns.
using TcpHandler = std::function<void(Socket&)>;

/// A server on 127.0.0.1 that does with every connection what its handler does, in a thread of its own.
class TcpPeer {
 public:
  explicit TcpPeer(TcpHandler handler);
  ~TcpPeer();
  TcpPeer(const TcpPeer&) = delete;
  TcpPeer& operator=(const TcpPeer&) = delete;

  uint16_t Port() const { return port_; }
  /// Those accepted so far.
  int Connections() const { return connections_; }

 private:
  struct Worker {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> done;
  };

  void AcceptAll();
  void StartHandler(FileDescriptor connection);

  TcpHandler handler_;
  FileDescriptor listener_;
  uint16_t port_;
  StopSignal stop_;
  std::atomic<int> connections_ = 0;
  std::vector<Worker> workers_;  // the acceptor's own while it runs
  std::thread acceptor_;
};

// Handlers of servers that misbehave.

/// Takes what comes and never answers.
TcpHandler StaySilent();
TcpHandler CloseAtOnce();
/// Answers whatever comes first with these bytes, and closes.
TcpHandler Answer(std::string bytes);
/// Answers whatever comes first with these bytes, one at a time, and closes.
TcpHandler Drip(std::string bytes, std::chrono::milliseconds interval);
/// Answers whatever comes first with `head`, and with `block` again and again until the client goes.
TcpHandler Flood(std::string head, std::string block);

}  // namespace custom_bidi_test
