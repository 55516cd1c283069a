// The I/O library: addresses of devices on a network.

#include <sys/random.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "base/utf.h"
#include "ixo/network/connection/connection.h"
#include "ixo/network/location.h"
#include "ixo/network/settings.h"
#include "ixo/support/objects.h"
#include "ixo/support/results.h"

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
      : DeviceAddress(std::move(location), RandomNumber()), text_(base::ToUtf16(Where().ToText())) {}

  LONG IsActive() override {
    return support::RaisingNoMemory([this]() -> LONG {
      const Settings* const settings = TheSettings();
      const DWORD code = settings != nullptr ? Knock(Deadline(settings->deadline)) : DWORD{ERROR_GEN_FAILURE};
      if (code == kNoResources || code == ERROR_NOT_ENOUGH_MEMORY || code == ERROR_GEN_FAILURE) {
        throw code;  // nobody knows, and "no" would be taken for a device that is not there
      }
      return code == ERROR_SUCCESS ? 1 : 0;
    });
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

support::Keep<NetworkAddress> g_addresses;

/// Given while there is no memory for another: nobody knows what is there, and without an address it would be
/// taken for nothing.
class UnknownAddress final : public deviceio::PrinterAddress {
 public:
  LONG IsActive() override { throw DWORD{ERROR_NOT_ENOUGH_MEMORY}; }
  const WCHAR* GetAddressString() override { return W(""); }
};
UnknownAddress g_unknown_address;

struct ClosePrinterHandle {
  void operator()(void* printer) const { ClosePrinter(printer); }
};
using PrinterHandle = std::unique_ptr<void, ClosePrinterHandle>;

/// The port of a queue of the spooler; empty when there is none.
WString PortOfQueue(const WCHAR* name) {
  HANDLE opened = nullptr;
  WString queue = name;
  if (!OpenPrinterW(queue.data(), &opened, nullptr)) {
    return {};
  }
  const PrinterHandle printer(opened);
  DWORD size_bytes = 0;
  GetPrinterW(printer.get(), 2, nullptr, 0, &size_bytes);
  std::vector<PRINTER_INFO_2W> info(size_bytes / sizeof(PRINTER_INFO_2W) + 1);
  auto* const bytes = reinterpret_cast<BYTE*>(info.data());
  const bool is_told = GetPrinterW(printer.get(), 2, bytes, size_bytes, &size_bytes) != 0;
  return is_told && (info[0].pPortName != nullptr) ? info[0].pPortName : W("");
}

/// `locate` finds what the name means.
template <class Locate>
deviceio::PrinterAddress* Make(const WCHAR* name, Locate&& locate) {
  return support::OrNoMemory<deviceio::PrinterAddress*>(
      &g_unknown_address, [&]() -> deviceio::PrinterAddress* {
        std::optional<Location> location = name != nullptr ? locate(name) : std::nullopt;
        return location ? g_addresses.Make(std::move(*location)) : nullptr;
      });
}

}  // namespace

extern "C" {

deviceio::PrinterAddress* CreateAddressFromQueueName(const WCHAR* name) {
  return Make(name, [](const WCHAR* queue) { return LocationFromPortName(PortOfQueue(queue)); });
}

deviceio::PrinterAddress* CreateAddressFromPortName(const WCHAR* name) {
  return Make(name, LocationFromPortName);
}

deviceio::PrinterAddress* CreateAddressFromIPAddress(const WCHAR* name) {
  return Make(name, LocationFromIpAddress);
}

deviceio::PrinterAddress* CreateAddressFromHostName(const WCHAR* name) {
  return Make(name, LocationFromHostName);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateAddressFromQueueName), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromPortName), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromIPAddress), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromHostName), deviceio::CreateAddressFunction>);

}  // namespace custom_bidi::network
