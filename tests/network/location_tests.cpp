#include "ixo/network/location.h"

#include <gtest/gtest.h>

#include "pal/text.h"

namespace custom_bidi::network {
namespace {

/// All of a location in one line; "none" for none.
std::string Shown(const std::optional<Location>& location) {
  if (!location) {
    return "none";
  }
  std::string text = location->ToText() + " at";
  for (const uint16_t port : location->ports) {
    text += ' ' + std::to_string(port);
  }
  return text + (location->ipp_tls ? ", ipps " : ", ipp ") + std::to_string(location->ipp_port) +
         location->ipp_path;
}

struct Case {
  std::string name;
  std::string shown;
};

TEST(Location, FromPortName) {
  const std::vector<Case> cases = {
      {"192.0.2.10", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"192.0.2.10:8631", "192.0.2.10:8631 at 8631, ipp 8631/ipp/print"},
      {"IP_192.0.2.10", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"IP_192.0.2.10_1", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"IP_2001:db8::10", "[2001:db8::10]:631 at 631 9100, ipp 631/ipp/print"},
      {"fe80::1%eth0", "[fe80::1%eth0]:631 at 631 9100, ipp 631/ipp/print"},
      {"[::1]:8631", "[::1]:8631 at 8631, ipp 8631/ipp/print"},
      {"printer.example.org", "printer.example.org:631 at 631 9100, ipp 631/ipp/print"},
      {"ipp://printer/", "printer:631 at 631, ipp 631/"},
      {"IPP://192.0.2.10:8631/ipp/print?waitjob=false", "192.0.2.10:8631 at 8631, ipp 8631/ipp/print"},
      {"ipps://user@printer.local/ipp/p%20q", "printer.local:631 at 631, ipps 631/ipp/p%20q"},
      {"http://192.0.2.10/ipp", "192.0.2.10:80 at 80, ipp 80/ipp"},
      {"https://[2001:db8::1]:4430/ipp", "[2001:db8::1]:4430 at 4430, ipps 4430/ipp"},
      {"ipp://[fe80::1%25eth0]/ipp/print", "[fe80::1%eth0]:631 at 631, ipp 631/ipp/print"},
      {"socket://192.0.2.10", "192.0.2.10:9100 at 9100, ipp 631/ipp/print"},
      {"socket://192.0.2.10:9101", "192.0.2.10:9101 at 9101, ipp 631/ipp/print"},
      {"lpd://192.0.2.10/queue", "192.0.2.10:515 at 515, ipp 631/ipp/print"},
      // Not on a network, or nothing at all.
      {"usb://Vexmo/VX%20400?serial=123", "none"},
      {"parallel:/dev/lp0", "none"},
      {"serial:/dev/ttyS0?baud=9600", "none"},
      {"file:///tmp/out", "none"},
      {"dnssd://VX400._ipp._tcp.local/", "none"},
      {"LPT1:", "none"},
      {"COM1:", "none"},
      {"FILE:", "none"},
      {"nul:", "none"},
      {"USB001", "none"},
      {"C:\\temp\\out.prn", "none"},
      {"IP_", "none"},
      {"", "none"},
      {"192.0.2.256", "none"},
      {"192.0.2", "none"},
      {"192.0.2.10:0", "none"},
      {"192.0.2.10:65536", "none"},
      {"192.0.2.10:", "none"},
      {"192.0.2.10 ", "none"},
      {"[::1", "none"},
      {"[192.0.2.10]x", "none"},
      {"ipp://", "none"},
      {"ipp:///ipp/print", "none"},
      {"ipp://host:99999/", "none"},
      {"ipp://[::g]/", "none"},
      {"ipp://ho st/", "none"},
      {"-o.example", "none"},
      {std::string("printer\r\nX: y.example"), "none"},
      {std::string(300, 'a') + ".example", "none"},
  };
  for (const auto& [name, shown] : cases) {
    EXPECT_EQ(Shown(LocationFromPortName(pal::ToUtf16(name))), shown) << name;
  }
}

TEST(Location, FromIpAddressAndHostName) {
  struct Both {
    std::string name;
    bool is_address;
    bool is_host;
  };
  const std::vector<Both> cases = {
      {"192.0.2.10", true, true},
      {"192.0.2.10:8631", true, true},
      {"::1", true, true},
      {"[::1]:8631", true, true},
      {"[::1]", true, true},
      {"printer", false, true},
      {"printer:631", false, true},
      {"printer.example", false, true},
      {"ipp://192.0.2.10/", false, false},
      {"IP_192.0.2.10", false, true},
      {"", false, false},
      {"a/b", false, false},
      {"1.2.3", false, false},
      {"::1:", false, false},
  };
  for (const auto& [name, is_address, is_host] : cases) {
    EXPECT_EQ(LocationFromIpAddress(pal::ToUtf16(name)).has_value(), is_address) << name;
    EXPECT_EQ(LocationFromHostName(pal::ToUtf16(name)).has_value(), is_host) << name;
  }
}

}  // namespace
}  // namespace custom_bidi::network
