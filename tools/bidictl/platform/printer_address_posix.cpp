#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <memory>

#include "tools/bidictl/platform/console.h"
#include "tools/bidictl/platform/printer_address.h"

namespace custom_bidi_tools {

std::vector<std::string> ResolveHost(const std::string& name) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;  // each address once
  addrinfo* first = nullptr;
  if (const int code = getaddrinfo(name.c_str(), nullptr, &hints, &first)) {
    throw CommandError("neither a queue nor a host is known by the name '" + name +
                       "': " + gai_strerror(code));
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(first, &freeaddrinfo);
  std::vector<std::string> addresses;
  for (const addrinfo* at = first; at != nullptr; at = at->ai_next) {
    std::array<char, NI_MAXHOST> text{};
    if (getnameinfo(at->ai_addr, at->ai_addrlen, text.data(), static_cast<socklen_t>(text.size()), nullptr, 0,
                    NI_NUMERICHOST) == 0) {
      addresses.emplace_back(text.data());
    }
  }
  return addresses;
}

}  // namespace custom_bidi_tools
