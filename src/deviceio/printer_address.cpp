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
    ixo::kCreateAddressFromQueueName,
    ixo::kCreateAddressFromPortName,
    ixo::kCreateAddressFromIpAddress,
    ixo::kCreateAddressFromHostName,
};

ixo::CreateAddressFunction* FindAddressMaker(HMODULE module, AddressKind kind) {
  const auto index = static_cast<size_t>(kind);
  if (index >= kAddressMakers.size())
    return nullptr;
  return FindEntry<ixo::CreateAddressFunction>(module, kAddressMakers[index]);
}

}  // namespace

ixo::PrinterAddress* IxoWrapper::GetAddress(const WCHAR* name, AddressKind kind) noexcept {
  if (IsNullOrEmpty(name))
    return nullptr;

  ixo::PrinterAddress* address = nullptr;
  return Guarded(
      [&]() -> ixo::PrinterAddress* {
        ixo::CreateAddressFunction* const make_address = FindAddressMaker(ixo_module_.Get(), kind);
        if (make_address == nullptr) {
          TraceErrorCode(GetLastError(), kNoAddressMaker);
          return nullptr;
        }
        address = make_address(name);
        if (address == nullptr) {
          TraceLog(W("Get the printer address from the name [%s] failed!!"), name);
          return nullptr;
        }
        TraceLog(W("Get the printer address from the name [%s] success ==> [%s]"), name,
                 address->GetAddressString());
        return address;
      },
      [](DWORD) -> ixo::PrinterAddress* { return nullptr; },
      [&address] {
        TraceLog(W("Error in %s!!"), W("IxoWrapper::GetAddress"));
        return address;
      });
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
        ixo::CreateAddressFunction* const make_address =
            FindEntry<ixo::CreateAddressFunction>(ixo_module_.Get(), ixo::kCreateAddressFromPortName);
        if (make_address == nullptr) {
          TraceLog(W("[IxoWrapper]:GetProcAddress() in IsPortConnected() Failed"));
          return ERROR_INVALID_DATA;
        }
        ixo::PrinterAddress* const address = make_address(port);
        if (address == nullptr) {
          TraceErrorCode(GetLastError(), kNoAddressMaker);
          return ERROR_INVALID_DATA;
        }
        connected = address->IsActive() != 0 ? 1 : 0;
        return ERROR_SUCCESS;
      },
      [&raised](DWORD) { return raised(); }, raised);
}

}  // namespace custom_bidi
