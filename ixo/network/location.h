#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ixo/network/exchange.h"
#include "src/deviceio/ixo_contract.h"
#include "src/platform.h"

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

/// The address of a device on a network, with what the libraries of this family have to know beyond the
/// contract. The I/O library makes it, and it lives until that is unloaded; the others look into it. It has
/// no code of its own, so that each library can tell it from another family's address.
class DeviceAddress : public deviceio::PrinterAddress {
 public:
  DeviceAddress(Location location, uint64_t id) : location_(std::move(location)), id_(id) {}

  const Location& Where() const { return location_; }

  /// Tells this address from every other one, also from one that comes to lie at the same place in memory.
  uint64_t Id() const { return id_; }

  Standing& TheStanding() { return standing_; }

 protected:
  ~DeviceAddress() = default;

 private:
  const Location location_;
  const uint64_t id_;
  Standing standing_;
};

/// Null for null, and for an address that another family's I/O library made.
inline DeviceAddress* AsDeviceAddress(deviceio::PrinterAddress* address) {
  return dynamic_cast<DeviceAddress*>(address);
}

}  // namespace custom_bidi::network
