#include "ixo/network/uri.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <memory>

#include "ixo/network/xml_library.h"

namespace custom_bidi::network {
namespace {

/// RFC 1035, section 2.3.4.
constexpr size_t kMaxHostChars = 255;

bool IsIpv4(const std::string& host) {
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1;
}

bool IsIpv6(const std::string& host) {
  in6_addr address{};
  const size_t zone = host.find('%');
  const bool is_whole = zone == std::string::npos || zone + 1 < host.size();
  return is_whole && inet_pton(AF_INET6, host.substr(0, zone).c_str(), &address) == 1;
}

/// Takes the brackets away; the zone of an IPv6 address is written "%25eth0" (RFC 6874). Empty for what is no
/// host.
std::string HostFrom(std::string server) {
  if (server.starts_with('[') && server.ends_with(']')) {
    server = server.substr(1, server.size() - 2);
    if (const size_t zone = server.find("%25"); zone != std::string::npos) {
      server.erase(zone + 1, 2);
    }
    return IsIpv6(server) ? server : "";
  }
  return IsIpv4(server) || IsHostName(server) ? server : "";
}

}  // namespace

bool IsAddress(const std::string& host) {
  return IsIpv4(host) || IsIpv6(host);
}

bool IsHostName(const std::string& host) {
  const auto is_known = [](unsigned char unit) {
    return std::isalnum(unit) != 0 || unit == '-' || unit == '.' || unit == '_' || unit >= 0x80;
  };
  const auto is_of_address = [](unsigned char unit) { return std::isdigit(unit) != 0 || unit == '.'; };
  return !host.empty() && host.size() <= kMaxHostChars && host.front() != '.' && host.front() != '-' &&
         std::ranges::all_of(host, is_known) && !std::ranges::all_of(host, is_of_address);
}

std::optional<Uri> ParseUri(const std::string& text) {
  const XmlLibrary* const xml = TheXmlLibrary();
  if (!xml) {
    return std::nullopt;
  }
  const std::unique_ptr<xmlURI, decltype(&::xmlFreeURI)> parsed(xml->xmlParseURIRaw(text.c_str(), 1),
                                                                xml->xmlFreeURI);
  if (!parsed || !parsed->scheme || !parsed->server || parsed->port < 0 || parsed->port > 65535) {
    return std::nullopt;
  }
  Uri uri{.scheme = parsed->scheme,
          .host = HostFrom(parsed->server),
          .port = static_cast<uint16_t>(parsed->port),
          .path = parsed->path ? parsed->path : ""};
  std::ranges::transform(uri.scheme, uri.scheme.begin(),
                         [](unsigned char unit) { return std::tolower(unit); });
  if (!uri.path.starts_with('/')) {
    uri.path.insert(0, "/");
  }
  if (parsed->query_raw) {
    uri.path.append("?").append(parsed->query_raw);
  }
  return uri.host.empty() ? std::nullopt : std::optional(uri);
}

std::string HostField(const std::string& host, uint16_t port) {
  const std::string shown =
      host.find(':') == std::string::npos ? host : '[' + host.substr(0, host.find('%')) + ']';
  return shown + ':' + std::to_string(port);
}

}  // namespace custom_bidi::network
