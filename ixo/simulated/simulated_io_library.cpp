// The I/O library: addresses of the simulated printer.

#include <type_traits>

#include "ixo/simulated/library.h"

namespace custom_bidi::simulated {
namespace {

Library g_library;

class SimulatedAddress final : public deviceio::PrinterAddress {
 public:
  SimulatedAddress(WStringView name, const Address& address)
      : name_(name), text_(address.text.value_or(name_)), active_(address.active) {}

  LONG IsActive() override {
    const Course course = g_library.Enter(Operation::kAddressIsActive, name_);
    if (course.give_null || course.result != S_OK) {
      return course.result;
    }
    return active_ ? 1 : 0;
  }

  const WCHAR* GetAddressString() override {
    const Course course = g_library.Enter(Operation::kAddressGetAddressString, name_);
    return course.give_null ? nullptr : text_.c_str();
  }

 private:
  const WString name_;
  const WString text_;
  const bool active_;
};

support::Keep<SimulatedAddress> g_addresses;

deviceio::PrinterAddress* MakeAddress(Operation operation, AddressKind kind, const WCHAR* name) {
  return support::RaisingNoMemory([=]() -> deviceio::PrinterAddress* {
    const Printer* const printer = g_library.ThePrinter();
    if (name == nullptr || printer == nullptr) {
      return nullptr;
    }
    if (g_library.Enter(operation, name).give_null) {
      return nullptr;
    }
    const Address* const address = printer->FindAddress(kind, name);
    return address != nullptr ? g_addresses.Make(name, *address) : nullptr;
  });
}

}  // namespace

extern "C" {

deviceio::PrinterAddress* CreateAddressFromQueueName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromQueueName, AddressKind::kQueue, name);
}

deviceio::PrinterAddress* CreateAddressFromPortName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromPortName, AddressKind::kPort, name);
}

deviceio::PrinterAddress* CreateAddressFromIPAddress(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromIpAddress, AddressKind::kIp, name);
}

deviceio::PrinterAddress* CreateAddressFromHostName(const WCHAR* name) {
  return MakeAddress(Operation::kCreateAddressFromHostName, AddressKind::kHost, name);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateAddressFromQueueName), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromPortName), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromIPAddress), deviceio::CreateAddressFunction>);
static_assert(std::is_same_v<decltype(CreateAddressFromHostName), deviceio::CreateAddressFunction>);

}  // namespace custom_bidi::simulated
