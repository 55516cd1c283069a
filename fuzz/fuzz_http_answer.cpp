// A device's answer, by a connection of which it says no more: read whole, or refused at once.

#include <sys/socket.h>

#include "fuzz/fuzz_input.h"
#include "ixo/network/connection/http.h"
#include "tests/peers/loopback_peers.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  using custom_bidi_test::Socket;
  static const Socket listener = Socket::Bound(SOCK_STREAM);
  static const bool listens = listen(listener.Get(), 1) == 0;
  constexpr size_t kMaxBytes = 1024;
  const Deadline deadline(milliseconds(5000));
  network::Connection connection;
  Demand(listens && Connect("127.0.0.1", listener.Port(), deadline, connection) == 0, "a connection");
  const Socket device(accept(listener.Get(), nullptr, nullptr));
  const linger reset = {.l_onoff = 1, .l_linger = 0};  // else its port would be out of use for a minute
  setsockopt(device.Get(), SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
  Demand(send(device.Get(), data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size), "it is sent whole");
  shutdown(device.Get(), SHUT_WR);
  HttpAnswer answer;
  const DWORD code = ExchangeHttp(connection, {.host = "fuzz", .path = "/"}, kMaxBytes, deadline, answer);
  Demand(code != kTimeout, "nobody waits for what cannot come");
  Demand(code != ERROR_SUCCESS || answer.status >= 200, "what is announced is no answer");
  Demand(code != ERROR_SUCCESS || answer.body.size() <= kMaxBytes, "the body is no larger than wanted");
  return 0;
}

}  // namespace custom_bidi::fuzz
