// One address for every name.

#include "src/deviceio/ixo_contract.h"

namespace {

class FixedAddress final : public custom_bidi::ixo::PrinterAddress {
 public:
  LONG IsActive() override { return 1; }
  const WCHAR* GetAddressString() override { return W("fixed"); }
};

FixedAddress g_address;

}  // namespace

extern "C" {

custom_bidi::ixo::PrinterAddress* CreateAddressFromPortName(const WCHAR*) {
  return &g_address;
}

}  // extern "C"
