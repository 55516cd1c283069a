#pragma once

#include <atomic>
#include <cstdint>

#include "tests/peers/tcp_peer.h"

namespace custom_bidi_test {

/// A port of 127.0.0.1 that leads to another one, and counts what passes.
class TcpRelay {
 public:
  explicit TcpRelay(uint16_t target);

  uint16_t Port() const { return peer_.Port(); }
  int Connections() const { return peer_.Connections(); }
  long BytesToTarget() const { return bytes_to_target_; }
  long BytesToClient() const { return bytes_to_client_; }
  /// Blocks from the client that begin with "POST " or "GET ": its HTTP requests, as long as each is sent by
  /// itself and not encrypted.
  int Requests() const { return requests_; }

 private:
  void Forward(Socket& client);

  uint16_t target_;
  std::atomic<long> bytes_to_target_ = 0;
  std::atomic<long> bytes_to_client_ = 0;
  std::atomic<int> requests_ = 0;
  TcpPeer peer_;  // its threads use all the others
};

}  // namespace custom_bidi_test
