#include "tests/peers/tcp_relay.h"

#include <string>
#include <system_error>
#include <thread>

namespace custom_bidi_test {
namespace {

bool IsRequest(const std::string& block) {
  return block.starts_with("POST ") || block.starts_with("GET ");
}

}  // namespace

TcpRelay::TcpRelay(uint16_t target) : target_(target), peer_([this](Socket& client) { Forward(client); }) {}

void TcpRelay::Forward(Socket& client) {
  try {
    const Socket server(ConnectLoopback(Transport::kTcp, target_), client.Stop());
    std::thread answers([&] {
      for (std::string block; !(block = server.Read()).empty();) {
        bytes_to_client_ += static_cast<long>(block.size());
        if (!client.Write(block))
          break;
      }
      client.CloseWrite();
    });
    for (std::string block; !(block = client.Read()).empty();) {
      bytes_to_target_ += static_cast<long>(block.size());
      requests_ += IsRequest(block) ? 1 : 0;
      if (!server.Write(block))
        break;
    }
    server.CloseWrite();
    answers.join();
  } catch (const std::system_error&) {
    // Nobody is behind the relay: the client sees its connection end.
  }
}

}  // namespace custom_bidi_test
