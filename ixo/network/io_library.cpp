// The I/O library: addresses of devices on a network.

#include <sys/random.h>

#include <type_traits>
#include <vector>

#include "ixo/network/address.h"
#include "ixo/network/connection.h"
#include "ixo/network/settings.h"
#include "ixo/support/objects.h"
#include "pal/text.h"

namespace custom_bidi::network {
namespace {

/// 0 when the system has none to give, which is as good as any other number, only not unique.
uint64_t RandomNumber() {
  uint64_t number = 0;
  return getrandom(&number, sizeof(number), 0) == sizeof(number) ? number : 0;
}

class NetworkAddress final : public DeviceAddress {
 public:
  explicit NetworkAddress(Location location)
      : DeviceAddress(std::move(location), RandomNumber()), text_(pal::ToUtf16(Where().ToText())) {}

  LONG IsActive() override {
    const Settings* const settings = TheSettings();
    return settings && Knock(Deadline(settings->deadline)) == ERROR_SUCCESS ? 1 : 0;
  }

  const WCHAR* GetAddressString() override { return text_.c_str(); }

 private:
  /// Tries all ports at once, so that one which swallows everything does not hide the other.
  DWORD Knock(Deadline deadline) const {
    std::vector<SocketAddress> addresses;
    if (const DWORD code = Resolve(Where().host, Where().ports.front(), deadline, addresses)) {
      return code;
    }
    std::vector<SocketAddress> doors;
    for (const SocketAddress& address : addresses) {
      for (const uint16_t port : Where().ports) {
        doors.push_back(address.WithPort(port));
      }
    }
    return Connection().Open(doors, deadline);
  }

  const WString text_;
};

device::Keep<NetworkAddress> addresses;

/// The port of a queue of the spooler; empty when there is none.
WString PortOfQueue(const WCHAR* name) {
  HANDLE printer = nullptr;
  WString queue = name;
  if (!OpenPrinterW(queue.data(), &printer, nullptr)) {
    return {};
  }
  DWORD size_bytes = 0;
  GetPrinterW(printer, 2, nullptr, 0, &size_bytes);
  std::vector<PRINTER_INFO_2W> info(size_bytes / sizeof(PRINTER_INFO_2W) + 1);
  auto* const bytes = reinterpret_cast<BYTE*>(info.data());
  const bool told = GetPrinterW(printer, 2, bytes, size_bytes, &size_bytes) && info[0].pPortName;
  WString port = told ? info[0].pPortName : W("");
  ClosePrinter(printer);
  return port;
}

ixo::PrinterAddress* Make(std::optional<Location> location) {
  return location ? addresses.Make(std::move(*location)) : nullptr;
}

}  // namespace

extern "C" {

ixo::PrinterAddress* CreateAddressFromQueueName(const WCHAR* name) {
  return name ? Make(LocationFromPortName(PortOfQueue(name))) : nullptr;
}

ixo::PrinterAddress* CreateAddressFromPortName(const WCHAR* name) {
  return name ? Make(LocationFromPortName(name)) : nullptr;
}

ixo::PrinterAddress* CreateAddressFromIPAddress(const WCHAR* name) {
  return name ? Make(LocationFromIpAddress(name)) : nullptr;
}

ixo::PrinterAddress* CreateAddressFromHostName(const WCHAR* name) {
  return name ? Make(LocationFromHostName(name)) : nullptr;
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateAddressFromQueueName), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromPortName), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromIPAddress), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromHostName), ixo::CreateAddressFunction>);

}  // namespace custom_bidi::network
