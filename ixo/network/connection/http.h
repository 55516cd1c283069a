#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ixo/network/connection/connection.h"

namespace custom_bidi::network {

/// One request of HTTP/1.1 (RFC 9112), after which the connection is closed. libcups and other libraries do
/// not hold to a deadline during the TLS handshake, or while a device sends a byte now and then, so this is
/// ours.
struct HttpRequest {
  const char* method = "GET";
  std::string host;  // for the Host field: with the port, and an IPv6 address in brackets
  std::string path;
  std::string content_type = {};  // of the body; with no body there is none of it either
  std::vector<BYTE> body = {};
};

struct HttpAnswer {
  int status = 0;  // RFC 9110, section 15
  std::vector<BYTE> body;
  std::string failure = {};  // why there is no more of it, in words; empty where the code says it all
};

/// "stopped after 12 of 400 bytes", or "of unknown bytes".
std::string StoppedAfter(size_t received_bytes, std::optional<size_t> all_bytes = std::nullopt);

/// Sends the request and reads the whole answer. kBadAnswer for what is no HTTP, kTooLarge for a body of more
/// than `max_bytes`, kConnectionAborted when the device closes too early, kStopped when it falls silent amid
/// the answer. Redirections are not followed.
DWORD ExchangeHttp(Connection& connection,
                   const HttpRequest& request,
                   size_t max_bytes,
                   const Patience& patience,
                   HttpAnswer& answer);

}  // namespace custom_bidi::network
