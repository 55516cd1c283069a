#pragma once

#include "ixo/network/device_oids.h"
#include "ixo/support/contract_bases.h"

namespace custom_bidi::network {

class NetworkOidProvider final : public device::OidProvider {
 public:
  explicit NetworkOidProvider(DeviceOids& oids) : oids_(oids) {}

  HRESULT GetValue(const WCHAR* oid, VARIANT* value) override {
    return oid && value ? oids_.Read(oid, value) : E_INVALIDARG;
  }

 private:
  DeviceOids& oids_;  // borrowed
};

}  // namespace custom_bidi::network
