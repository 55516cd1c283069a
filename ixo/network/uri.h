#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace custom_bidi::network {

/// An IPv4 or IPv6 address, this one with or without a zone ("fe80::1%eth0").
bool IsAddress(const std::string& host);

/// Letters, digits, hyphens, dots and underscores, which not only Windows allows, or what is not ASCII. Not
/// digits and dots alone: that is an address that went wrong.
bool IsHostName(const std::string& host);

/// The parts of a URI (RFC 3986) that say where something is.
struct Uri {
  std::string scheme;  // in small letters
  std::string host;    // an address without brackets, or a name
  uint16_t port = 0;   // 0 when the URI names none
  std::string path;    // as it stands, with the query; "/" when there is none
};

/// Nothing for a text that is no URI with a host in it, and on a machine without libxml2, which parses it.
std::optional<Uri> ParseUri(const std::string& text);

/// Host and port as a URI and the Host field of HTTP have them: an IPv6 address in brackets, without its
/// zone, which means nothing to anybody else.
std::string HostField(const std::string& host, uint16_t port);

}  // namespace custom_bidi::network
