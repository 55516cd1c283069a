// The I/O library: addresses of the simulated printer.

#include <type_traits>

#include "ixo/simulated/library.h"

namespace custom_bidi::simulated {
namespace {

Library library;

class SimulatedAddress final : public ixo::PrinterAddress {
 public:
  SimulatedAddress(WStringView name, const Address& address)
      : name_(name), text_(address.text.value_or(name_)), active_(address.active) {}

  LONG IsActive() override {
    const Course course = library.Enter(Operation::kAddressIsActive, name_);
    if (course.give_null || course.result != S_OK) {
      return course.result;
    }
    return active_ ? 1 : 0;
  }

  const WCHAR* GetAddressString() override {
    const Course course = library.Enter(Operation::kAddressGetAddressString, name_);
    return course.give_null ? nullptr : text_.c_str();
  }

 private:
  const WString name_;
  const WString text_;
  const bool active_;
};

device::Keep<SimulatedAddress> addresses;

ixo::PrinterAddress* MakeAddress(Operation operation, AddressKind kind, const WCHAR* name) {
  const Printer* const printer = library.ThePrinter();
  if (!name || !printer) {
    return nullptr;
  }
  if (library.Enter(operation, name).give_null) {
    return nullptr;
  }
  const Address* const address = printer->FindAddress(kind, name);
  return address ? addresses.Make(name, *address) : nullptr;
}

}  // namespace

extern "C" {

ixo::PrinterAddress* CreateAddressFromQueueName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromQueueName, AddressKind::kQueue, name);
}

ixo::PrinterAddress* CreateAddressFromPortName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromPortName, AddressKind::kPort, name);
}

ixo::PrinterAddress* CreateAddressFromIPAddress(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromIpAddress, AddressKind::kIp, name);
}

ixo::PrinterAddress* CreateAddressFromHostName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromHostName, AddressKind::kHost, name);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateAddressFromQueueName), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromPortName), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromIPAddress), ixo::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromHostName), ixo::CreateAddressFunction>);

}  // namespace custom_bidi::simulated
