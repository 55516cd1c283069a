#include "ixo/network/location.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "ixo/network/uri.h"
#include "pal/text.h"

namespace custom_bidi::network {
namespace {

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
  return std::ranges::all_of(text, is_plain) ? pal::ToUtf8(text) : "";
}

}  // namespace

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
