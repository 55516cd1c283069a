#pragma once

#include "ixo/network/device_oids.h"
#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::network {

class NetworkOidProvider final : public ixo::OidProvider {
 public:
  explicit NetworkOidProvider(DeviceOids& oids) : oids_(oids) {}

  void Reserved0() override {}
  void Reserved1() override {}
  void Reserved2() override {}
  void Reserved3() override {}
  void Reserved4() override {}

  HRESULT GetValue(const WCHAR* oid, VARIANT* value) override {
    return oid && value ? oids_.Read(oid, value) : E_INVALIDARG;
  }

 private:
  DeviceOids& oids_;  // borrowed
};

}  // namespace custom_bidi::network
