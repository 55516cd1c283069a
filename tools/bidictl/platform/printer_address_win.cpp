#include <winsock2.h>
#include <ws2tcpip.h>

#include <array>
#include <memory>

#include "tools/bidictl/platform/console.h"
#include "tools/bidictl/platform/printer_address.h"
#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_tools {

namespace {

/// Windows' sockets as long as they are needed, without which no name is resolved.
class Sockets {
 public:
  Sockets() {
    WSADATA data;
    code_ = WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~Sockets() {
    if (code_ == 0) {
      WSACleanup();
    }
  }
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;

  int code() const { return code_; }

 private:
  int code_;
};

[[noreturn]] void Fail(const std::string& name, int code) {
  throw CommandError("neither a queue nor a host is known by the name '" + name + "': Windows error " +
                     std::to_string(code));
}

}  // namespace

std::vector<std::string> ResolveHost(const std::string& name) {
  const Sockets sockets;
  if (sockets.code() != 0) {
    Fail(name, sockets.code());
  }
  ADDRINFOW hints{};
  hints.ai_socktype = SOCK_DGRAM;  // each address once
  ADDRINFOW* first = nullptr;
  if (const int code = GetAddrInfoW(ToWide(name).value_or(WideString()).c_str(), nullptr, &hints, &first)) {
    Fail(name, code);
  }
  const std::unique_ptr<ADDRINFOW, decltype(&FreeAddrInfoW)> list(first, &FreeAddrInfoW);
  std::vector<std::string> addresses;
  for (const ADDRINFOW* at = first; at != nullptr; at = at->ai_next) {
    std::array<wchar_t, NI_MAXHOST> text{};
    if (GetNameInfoW(at->ai_addr, static_cast<socklen_t>(at->ai_addrlen), text.data(),
                     static_cast<DWORD>(text.size()), nullptr, 0, NI_NUMERICHOST) == 0) {
      addresses.push_back(ToUtf8(text.data()));
    }
  }
  return addresses;
}

}  // namespace custom_bidi_tools
