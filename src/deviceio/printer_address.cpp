// Printer addresses, and whether a device answers at one.

#include <array>

#include "src/deviceio/ixo_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr const WCHAR* kNoAddressMaker =
    W("Getting exported function point failed (CreateAddressFunctionFromxxxx)");

/// By AddressKind.
constexpr std::array kAddressMakers = {
    deviceio::kCreateAddressFromQueueName,
    deviceio::kCreateAddressFromPortName,
    deviceio::kCreateAddressFromIpAddress,
    deviceio::kCreateAddressFromHostName,
};

EntryPoint<deviceio::CreateAddressFunction> FindAddressMaker(HMODULE module, AddressKind kind) {
  const auto index = static_cast<size_t>(kind);
  if (index >= kAddressMakers.size()) {
    return {};
  }
  return FindEntry<deviceio::CreateAddressFunction>(module, kAddressMakers[index]);
}

}  // namespace

PrinterAddress IxoWrapper::GetAddress(const WCHAR* name, AddressKind kind) noexcept {
  if (IsNullOrEmpty(name)) {
    return {};
  }

  PrinterAddress address;
  return Guarded(
      [&]() -> PrinterAddress {
        const auto make_address = FindAddressMaker(ixo_module_.Get(), kind);
        if (!make_address) {
          TraceErrorCode(GetLastError(), kNoAddressMaker);
          return {};
        }
        address = PrinterAddress(make_address(name));
        if (!address) {
          TraceLog(W("Get the printer address from the name [%s] failed!!"), name);
          return {};
        }
        TraceLog(W("Get the printer address from the name [%s] success ==> [%s]"), name,
                 address.GetAddressString());
        return address;
      },
      [](DWORD) { return PrinterAddress(); },
      [&address] {
        TraceLog(W("Error in %s!!"), W("IxoWrapper::GetAddress"));
        return address;
      });
}

bool IxoWrapper::KeepAddress(const WCHAR* name, AddressKind kind) noexcept {
  printer_address_ = GetAddress(name, kind);
  return static_cast<bool>(printer_address_);
}

DWORD IxoWrapper::IsPortConnected(const WCHAR* port, DWORD& connected) noexcept {
  const auto raised = [] {
    TraceLog(W("Exception occured in IsPortConnected function"));
    return DWORD{ERROR_GEN_FAILURE};
  };
  return Guarded(
      [&]() -> DWORD {
        connected = 0;
        if (IsNullOrEmpty(port)) {
          TraceLog(W(">> IxoWrapper: Invalid Parameter in IsPortConnected function"));
          return ERROR_INVALID_PARAMETER;
        }
        if (!ixo_module_) {
          TraceLog(W("[IxoWrapper]:IXO DLL Not Loaded Failed"));
          return ERROR_INVALID_DATA;
        }
        const auto make_address = FindEntry<deviceio::CreateAddressFunction>(
            ixo_module_.Get(), deviceio::kCreateAddressFromPortName);
        if (!make_address) {
          TraceLog(W("[IxoWrapper]:GetProcAddress() in IsPortConnected() Failed"));
          return ERROR_INVALID_DATA;
        }
        const PrinterAddress address(make_address(port));
        if (!address) {
          TraceErrorCode(GetLastError(), kNoAddressMaker);
          return ERROR_INVALID_DATA;
        }
        connected = address.IsActive() != 0 ? 1 : 0;
        return ERROR_SUCCESS;
      },
      [&raised](DWORD) { return raised(); }, raised);
}

}  // namespace custom_bidi
