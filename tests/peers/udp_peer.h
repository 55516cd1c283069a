#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/peers/loopback.h"
#include "tests/peers/stop_signal.h"

namespace custom_bidi_test {

/// A server on 127.0.0.1 that answers every datagram with what its handler makes of it, in its own thread.
class UdpPeer {
 public:
  /// Gets a datagram and gives the datagrams to send back, if any.
  using Handler = std::function<std::vector<std::string>(const std::string&)>;

  explicit UdpPeer(Handler handler);
  ~UdpPeer();
  UdpPeer(const UdpPeer&) = delete;
  UdpPeer& operator=(const UdpPeer&) = delete;

  /// One that never answers.
  static Handler StaySilent();

  uint16_t Port() const { return port_; }
  /// Those received so far.
  int Datagrams() const { return datagrams_; }

 private:
  void AnswerAll();

  Handler handler_;
  FileDescriptor socket_;
  uint16_t port_;
  StopSignal stop_;
  std::atomic<int> datagrams_ = 0;
  std::thread thread_;
};

/// A port of 127.0.0.1 that leads to another one, and counts what passes.
class UdpRelay {
 public:
  explicit UdpRelay(uint16_t target);
  ~UdpRelay();
  UdpRelay(const UdpRelay&) = delete;
  UdpRelay& operator=(const UdpRelay&) = delete;

  uint16_t Port() const { return port_; }
  int DatagramsToTarget() const { return to_target_; }
  int DatagramsToClient() const { return to_client_; }

 private:
  void ForwardAll();

  uint16_t target_;
  FileDescriptor socket_;
  uint16_t port_;
  StopSignal stop_;
  std::atomic<int> to_target_ = 0;
  std::atomic<int> to_client_ = 0;
  std::thread thread_;
};

}  // namespace custom_bidi_test
