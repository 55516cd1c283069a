#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#endif

#include "tools/bidictl/platform/printer_address.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace custom_bidi_tools {

namespace {

bool IsPort(std::string_view text) {
  uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port != 0;
}

/// Not digits and dots alone: that is an address that went wrong.
bool IsHostName(std::string_view text) {
  const auto is_known = [](unsigned char byte) {
    return std::isalnum(byte) != 0 || byte == '-' || byte == '.' || byte == '_' || byte >= 0x80;
  };
  return !text.empty() && text.front() != '.' && text.front() != '-' && std::ranges::all_of(text, is_known) &&
         text.find_first_not_of("0123456789.") != std::string_view::npos;
}

/// The host of "host", "host:port", "::1", "[::1]" or "[::1]:port"; empty for anything else.
std::string HostOfServer(const std::string& server) {
  if (IsAddress(server)) {
    return server;
  }
  const bool in_brackets = server.starts_with('[');
  const size_t end = server.find(in_brackets ? ']' : ':');
  const std::string host = in_brackets ? server.substr(1, end - 1) : server.substr(0, end);
  if (in_brackets ? end == std::string::npos || !IsAddress(host) : !IsAddress(host) && !IsHostName(host)) {
    return "";
  }
  const std::string rest = end == std::string::npos ? "" : server.substr(end + (in_brackets ? 1 : 0));
  return rest.empty() || (rest.front() == ':' && IsPort(std::string_view(rest).substr(1))) ? host : "";
}

std::string HostOfUri(const std::string& uri, size_t scheme_chars) {
  constexpr std::array<std::string_view, 6> kSchemes = {"ipp", "ipps", "http", "https", "socket", "lpd"};
  std::string scheme = uri.substr(0, scheme_chars);
  std::ranges::transform(scheme, scheme.begin(),
                         [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  if (std::ranges::find(kSchemes, scheme) == kSchemes.end()) {
    return "";
  }
  std::string server = uri.substr(scheme_chars + std::string_view("://").size());
  server.resize(std::min(server.size(), server.find_first_of("/?#")));
  server.erase(0, server.rfind('@') + 1);  // a user's name, or nothing
  // The zone of an address is written with an escape there (RFC 6874).
  if (const size_t zone = server.find("%25"); server.starts_with('[') && zone != std::string::npos) {
    server.erase(zone + 1, 2);
  }
  return HostOfServer(server);
}

/// "IP_192.0.2.10" or "IP_192.0.2.10_1" without what Windows puts around the address.
std::string WithoutPrefix(const std::string& port) {
  if (!port.starts_with("IP_") && !port.starts_with("ip_")) {
    return port;
  }
  const std::string address = port.substr(3);
  const size_t number = address.rfind('_');
  return number != std::string::npos && IsPort(std::string_view(address).substr(number + 1))
             ? address.substr(0, number)
             : address;
}

}  // namespace

bool IsAddress(const std::string& text) {
  in_addr v4{};
  in6_addr v6{};
  const size_t zone = text.find('%');
  return inet_pton(AF_INET, text.c_str(), &v4) == 1 ||
         (zone + 1 != text.size() && inet_pton(AF_INET6, text.substr(0, zone).c_str(), &v6) == 1);
}

std::string HostOfPort(const std::string& port) {
  if (const size_t scheme_chars = port.find("://"); scheme_chars != std::string::npos) {
    return HostOfUri(port, scheme_chars);
  }
  std::string host = HostOfServer(WithoutPrefix(port));
  // A name without a dot may be anything: "LPT1", "nul", another machine's queue.
  return IsAddress(host) || host.find('.') != std::string::npos ? host : "";
}

}  // namespace custom_bidi_tools
