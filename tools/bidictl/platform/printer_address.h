#pragma once

#include <string>
#include <vector>

/// From what a person calls a printer to addresses that the library takes.
namespace custom_bidi_tools {

/// An IPv4 or IPv6 address, this one with or without a zone ("fe80::1%eth0").
bool IsAddress(const std::string& text);

/// The host of the device that a queue's port leads to, an address or a name: of an address or a name with a dot
/// in it, each with or without a port ("192.0.2.10:8631", "[2001:db8::10]:8631"); of "IP_" and one of these, with
/// or without the "_1" that Windows adds; of a URI (ipp, ipps, http, https, socket, lpd). Empty for anything else,
/// behind which there is no network device.
std::string HostOfPort(const std::string& port);

/// The addresses of a host in the order in which the system would have them tried. Throws CommandError, with the
/// system's reason, when the name is not known.
std::vector<std::string> ResolveHost(const std::string& name);

}  // namespace custom_bidi_tools
