#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::network {

/// The port of IPP and IPPS (RFC 8010, section 4; RFC 7472, section 4).
inline constexpr uint16_t kIppPort = 631;
/// Where a printer takes raw data, if it has no IPP.
inline constexpr uint16_t kRawPort = 9100;
inline constexpr uint16_t kHttpPort = 80;
inline constexpr uint16_t kHttpsPort = 443;
/// RFC 1179.
inline constexpr uint16_t kLpdPort = 515;

/// Where a device is to be found.
struct Location {
  /// An IPv4 or IPv6 address without brackets, or a host name; UTF-8.
  std::string host;
  /// Where IsActive knocks; the first is the one that is shown.
  std::vector<uint16_t> ports = {};
  /// Where IPP is spoken: the port, whether TLS begins at once, and the path of the printer.
  uint16_t ipp_port = kIppPort;
  bool ipp_tls = false;
  std::string ipp_path = "/ipp/print";

  /// Host and first port: "192.0.2.10:631", "[2001:db8::10]:631".
  std::string ToText() const;
};

/// Each of these gives nothing for a text that means no device on a network.

/// An IPv4 or IPv6 address, this one in brackets when a port follows: "192.0.2.10", "192.0.2.10:8631", "::1",
/// "[::1]:8631", "fe80::1%eth0". The port is that of IPP.
std::optional<Location> LocationFromIpAddress(WStringView text);

/// A host name or an address, each with or without a port.
std::optional<Location> LocationFromHostName(WStringView text);

/// A port name: an address as above; "IP_" and an address, with or without the "_1" that Windows adds to tell
/// ports apart; a host name with a dot in it, as Windows names a port that was made by name; or the URI of a
/// network device as CUPS has it (ipp, ipps, http, https, socket, lpd). A local device (usb:, LPT1:, COM1:, a
/// file) gives nothing.
std::optional<Location> LocationFromPortName(WStringView text);

}  // namespace custom_bidi::network
