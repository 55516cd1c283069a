#include "ixo/network/resolver.h"

#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>

#include <array>
#include <cstring>
#include <memory>

namespace custom_bidi::network {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, FreeAddresses>;

addrinfo Hints(int flags) {
  addrinfo hints{};
  hints.ai_flags = flags | AI_NUMERICSERV;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  return hints;
}

/// A question to the name service, with all the memory that it uses.
struct Question {
  std::string host;
  std::string port;
  addrinfo hints = Hints(0);
  gaicb request{};
};

DWORD Ask(const std::string& host, const std::string& port, Deadline deadline, AddressList& list) {
  auto question = std::make_unique<Question>(Question{host, port});
  question->request.ar_name = question->host.c_str();
  question->request.ar_service = question->port.c_str();
  question->request.ar_request = &question->hints;
  std::array<gaicb*, 1> requests = {&question->request};
  if (getaddrinfo_a(GAI_NOWAIT, requests.data(), 1, nullptr) != 0) {
    return kHostUnknown;
  }
  int state = gai_error(requests[0]);
  while (state == EAI_INPROGRESS && !deadline.IsOver()) {
    const int left_ms = deadline.RemainingMs();
    const timespec wait{left_ms / 1000, static_cast<long>(left_ms % 1000) * 1'000'000};
    gai_suspend(requests.data(), 1, &wait);
    state = gai_error(requests[0]);
  }
  if (state == EAI_INPROGRESS) {
    if (gai_cancel(requests[0]) != EAI_CANCELED) {
      static_cast<void>(question.release());  // the system still writes to it
    }
    return kTimeout;
  }
  list.reset(question->request.ar_result);
  return state == 0 ? DWORD{ERROR_SUCCESS} : kHostUnknown;
}

/// What needs no name service: an address, and the name of this machine itself (RFC 6761, section 6.3).
bool Know(const std::string& host, const std::string& port, AddressList& list) {
  const bool is_own = strcasecmp(host.c_str(), "localhost") == 0;
  const addrinfo hints = Hints(is_own ? 0 : AI_NUMERICHOST);
  addrinfo* known = nullptr;
  // Without a host it is the loopback interface, of IPv6 and IPv4.
  if (getaddrinfo(is_own ? nullptr : host.c_str(), port.c_str(), &hints, &known) != 0) {
    return false;
  }
  list.reset(known);
  return true;
}

}  // namespace

SocketAddress SocketAddress::WithPort(uint16_t port) const {
  SocketAddress address = *this;
  in_port_t& place = IsIpv6() ? reinterpret_cast<sockaddr_in6&>(address.storage).sin6_port
                              : reinterpret_cast<sockaddr_in&>(address.storage).sin_port;
  place = htons(port);
  return address;
}

bool SocketAddress::IsSameHost(const SocketAddress& other) const {
  if (storage.ss_family != other.storage.ss_family) {
    return false;
  }
  if (!IsIpv6()) {
    return reinterpret_cast<const sockaddr_in&>(storage).sin_addr.s_addr ==
           reinterpret_cast<const sockaddr_in&>(other.storage).sin_addr.s_addr;
  }
  const auto& left = reinterpret_cast<const sockaddr_in6&>(storage);
  const auto& right = reinterpret_cast<const sockaddr_in6&>(other.storage);
  return left.sin6_scope_id == right.sin6_scope_id &&
         std::memcmp(&left.sin6_addr, &right.sin6_addr, sizeof(in6_addr)) == 0;
}

std::string SocketAddress::ToText() const {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  if (getnameinfo(Get(), length, host.data(), host.size(), port.data(), port.size(),
                  NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return "";
  }
  return IsIpv6() ? std::string("[") + host.data() + "]:" + port.data()
                  : std::string(host.data()) + ':' + port.data();
}

DWORD Resolve(const std::string& host,
              uint16_t port,
              Deadline deadline,
              std::vector<SocketAddress>& addresses) {
  addresses.clear();
  const std::string service = std::to_string(port);
  AddressList list;
  const DWORD code = Know(host, service, list) ? DWORD{ERROR_SUCCESS} : Ask(host, service, deadline, list);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  for (const addrinfo* entry = list.get(); entry; entry = entry->ai_next) {
    SocketAddress& address = addresses.emplace_back();
    address.length = entry->ai_addrlen;
    std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
  }
  return addresses.empty() ? kHostUnknown : DWORD{ERROR_SUCCESS};
}

}  // namespace custom_bidi::network
