#include "ixo/network/location.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <memory>
#include <string_view>

#include "base/utf.h"
#include "base/xml_functions.h"

namespace custom_bidi::network {
namespace {

/// RFC 1035, section 2.3.4.
constexpr size_t kMaxHostChars = 255;

bool IsIpv4(const std::string& host) {
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1;
}

/// The characters that need no escape in a URI (RFC 6874, section 2), as many as an interface's name may
/// have.
bool IsZone(std::string_view zone) {
  const auto is_plain = [](unsigned char unit) {
    return unit < 0x80 && (std::isalnum(unit) != 0 ||
                           std::string_view("-._~").find(static_cast<char>(unit)) != std::string_view::npos);
  };
  return !zone.empty() && zone.size() < IF_NAMESIZE && std::ranges::all_of(zone, is_plain);
}

bool IsIpv6(const std::string& host) {
  in6_addr address{};
  const size_t percent = host.find('%');
  return inet_pton(AF_INET6, host.substr(0, percent).c_str(), &address) == 1 &&
         (percent == std::string::npos || IsZone(std::string_view(host).substr(percent + 1)));
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

/// How a URI of CUPS names a device, and where such a device speaks IPP.
struct Scheme {
  std::string_view name;
  uint16_t port;
  bool is_ipp;  // the URI's own port and path are those of IPP
  bool has_tls;
};
constexpr std::array kSchemes = {
    Scheme{"ipp", kIppPort, true, false},     Scheme{"ipps", kIppPort, true, true},
    Scheme{"http", kHttpPort, true, false},   Scheme{"https", kHttpsPort, true, true},
    Scheme{"socket", kRawPort, false, false}, Scheme{"lpd", kLpdPort, false, false},
};

/// 0 for anything but a port's number.
uint16_t PortFrom(std::string_view text) {
  uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() ? port : uint16_t{0};
}

/// A host with the port that goes with it, if any.
struct HostAndPort {
  std::string host;
  std::optional<uint16_t> port;
};

/// "host", "host:port", "::1", "[::1]", "[::1]:port".
std::optional<HostAndPort> Split(const std::string& text) {
  if (IsAddress(text)) {
    return HostAndPort{text, std::nullopt};
  }
  const bool in_brackets = text.starts_with('[');
  const size_t end = in_brackets ? text.find(']') : text.find(':');
  if (in_brackets && end == std::string::npos) {
    return std::nullopt;
  }
  HostAndPort parts{in_brackets ? text.substr(1, end - 1) : text.substr(0, end), std::nullopt};
  if (in_brackets && !IsAddress(parts.host)) {
    return std::nullopt;
  }
  const std::string rest = end == std::string::npos ? "" : text.substr(end + (in_brackets ? 1 : 0));
  if (rest.empty()) {
    return parts;
  }
  parts.port = PortFrom(std::string_view(rest).substr(1));
  return rest.front() == ':' && *parts.port != 0 ? std::optional(parts) : std::nullopt;
}

Location Locate(const HostAndPort& parts) {
  Location location;
  location.host = parts.host;
  if (parts.port) {
    location.ports = {*parts.port};
    location.ipp_port = *parts.port;
  } else {
    location.ports = {kIppPort, kRawPort};
  }
  return location;
}

std::optional<Location> LocationFromUri(const std::string& text) {
  const std::optional<Uri> uri = ParseUri(text);
  const auto* const scheme =
      uri ? std::ranges::find(kSchemes, std::string_view(uri->scheme), &Scheme::name) : kSchemes.end();
  if (scheme == kSchemes.end()) {
    return std::nullopt;
  }
  const uint16_t port = uri->port == 0 ? scheme->port : uri->port;
  Location location{.host = uri->host, .ports = {port}};
  if (scheme->is_ipp) {
    location.ipp_port = port;
    location.ipp_tls = scheme->has_tls;
    // What stands behind the path is meant for CUPS' backend.
    location.ipp_path = uri->path.substr(0, uri->path.find('?'));
  }
  return location;
}

/// "IP_192.0.2.10" or "IP_192.0.2.10_1" without what Windows puts around the address.
std::string WithoutPrefix(const std::string& text) {
  if (!text.starts_with("IP_") && !text.starts_with("ip_")) {
    return text;
  }
  const std::string address = text.substr(3);
  const size_t number = address.rfind('_');
  return number != std::string::npos && PortFrom(address.substr(number + 1)) != 0 ? address.substr(0, number)
                                                                                  : address;
}

/// As UTF-8; empty for a text with anything in it that is neither printable nor part of a name.
std::string PlainText(WStringView text) {
  const auto is_plain = [](WCHAR unit) { return unit > 0x20 && unit != 0x7F; };
  return std::ranges::all_of(text, is_plain) ? base::ToUtf8(text) : "";
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

namespace {

using ParsedUri = std::unique_ptr<xmlURI, void (*)(xmlURIPtr)>;

/// Null for one that has not all the parts that count.
ParsedUri TryParse(const base::XmlFunctions& xml, const std::string& text) {
  ParsedUri parsed(xml.Call<&::xmlParseURIRaw>(text.c_str(), 1), xml.Get<&::xmlFreeURI>());
  const bool is_whole = parsed && parsed->scheme != nullptr && parsed->server != nullptr &&
                        parsed->port >= 0 && parsed->port <= 65535;
  return is_whole ? std::move(parsed) : ParsedUri(nullptr, xml.Get<&::xmlFreeURI>());
}

}  // namespace

std::optional<Uri> ParseUri(const std::string& text) {
  const base::XmlFunctions* const xml = base::TheXmlFunctions();
  if (xml == nullptr) {
    return std::nullopt;
  }
  ParsedUri parsed = TryParse(*xml, text);
  if (!parsed) {
    // libxml2 does not say that memory is lacking. Where it still is, none is left for the copy.
    parsed = TryParse(*xml, std::string(text));
  }
  if (!parsed) {
    return std::nullopt;
  }
  Uri uri{.scheme = parsed->scheme,
          .host = HostFrom(parsed->server),
          .port = static_cast<uint16_t>(parsed->port),
          .path = parsed->path != nullptr ? parsed->path : ""};
  std::ranges::transform(uri.scheme, uri.scheme.begin(),
                         [](unsigned char unit) { return std::tolower(unit); });
  if (!uri.path.starts_with('/')) {
    uri.path.insert(0, "/");
  }
  if (parsed->query_raw != nullptr) {
    uri.path.append("?").append(parsed->query_raw);
  }
  return uri.host.empty() ? std::nullopt : std::optional(uri);
}

std::string HostField(const std::string& host, uint16_t port) {
  const std::string shown =
      host.find(':') == std::string::npos ? host : '[' + host.substr(0, host.find('%')) + ']';
  return shown + ':' + std::to_string(port);
}

std::string Location::ToText() const {
  const std::string shown = host.find(':') == std::string::npos ? host : '[' + host + ']';
  return shown + ':' + std::to_string(ports.front());
}

std::optional<Location> LocationFromIpAddress(WStringView text) {
  const auto parts = Split(PlainText(text));
  return parts && IsAddress(parts->host) ? std::optional(Locate(*parts)) : std::nullopt;
}

std::optional<Location> LocationFromHostName(WStringView text) {
  const auto parts = Split(PlainText(text));
  const bool is_host = parts && (IsAddress(parts->host) || IsHostName(parts->host));
  return is_host ? std::optional(Locate(*parts)) : std::nullopt;
}

std::optional<Location> LocationFromPortName(WStringView text) {
  const std::string plain = PlainText(text);
  if (plain.find("://") != std::string::npos) {
    return LocationFromUri(plain);
  }
  const auto parts = Split(WithoutPrefix(plain));
  if (!parts) {
    return std::nullopt;
  }
  const bool is_dotted_name = IsHostName(parts->host) && parts->host.find('.') != std::string::npos;
  return IsAddress(parts->host) || is_dotted_name ? std::optional(Locate(*parts)) : std::nullopt;
}

}  // namespace custom_bidi::network
