// An I/O library whose addresses say which entry point made them, and that fails for the names "none", "code"
// and "mute".

#include <stdexcept>

#include "src/deviceio/ixo_contract.h"

namespace {

using custom_bidi::WStringView;
using custom_bidi::ixo::PrinterAddress;

class FakeAddress final : public PrinterAddress {
 public:
  explicit FakeAddress(const WCHAR* maker) : maker_(maker) {}

  LONG IsActive() override { return -2; }  // not 0, and that is all that counts
  const WCHAR* GetAddressString() override {
    if (maker_ == nullptr)
      throw std::runtime_error("no address");
    return maker_;
  }

 private:
  const WCHAR* maker_;
};

FakeAddress g_mute(nullptr);

PrinterAddress* Answer(const WCHAR* name, FakeAddress& address) {
  if (WStringView(name) == W("none"))
    return nullptr;
  if (WStringView(name) == W("code"))
    throw DWORD{ERROR_ACCESS_DENIED};
  return WStringView(name) == W("mute") ? &g_mute : &address;
}

}  // namespace

extern "C" {

PrinterAddress* CreateAddressFromQueueName(const WCHAR* name) {
  static FakeAddress address(W("by queue"));
  return Answer(name, address);
}

PrinterAddress* CreateAddressFromPortName(const WCHAR* name) {
  static FakeAddress address(W("by port"));
  return Answer(name, address);
}

PrinterAddress* CreateAddressFromIPAddress(const WCHAR* name) {
  static FakeAddress address(W("by IP address"));
  return Answer(name, address);
}

PrinterAddress* CreateAddressFromHostName(const WCHAR* name) {
  static FakeAddress address(W("by host"));
  return Answer(name, address);
}

}  // extern "C"
