#pragma once

#include <list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ixo/network/location.h"
#include "ixo/network/settings.h"
#include "ixo/network/snmp/snmp.h"
#include "ixo/support/contract_bases.h"
#include "ixo/support/objects.h"
#include "ixo/support/value.h"

namespace custom_bidi::network {

/// An object's value as `DeviceOids::Read` gives it, and as `DeviceOids::FindItem` does.
support::Value AsObject(const SnmpValue& value);
support::Value AsItem(const SnmpValue& value);

/// The SNMP objects of one device during one call of the library. Any thread may call; the others wait
/// meanwhile. What is handed out lives as long as this does.
class DeviceOids {
 public:
  DeviceOids(DeviceAddress& address, const Settings& settings) : address_(address), settings_(settings) {}
  DeviceOids(const DeviceOids&) = delete;
  DeviceOids& operator=(const DeviceOids&) = delete;

  /// Reads an object (dotted decimal): INTEGER as VT_I4, the unsigned types as VT_UI4, octets as hexadecimal
  /// digits and anything else as text. The three objects of a printer's state (hrPrinterStatus,
  /// hrDeviceStatus and hrPrinterDetectedErrorState, each with the index 1) are asked for together when the
  /// first of them is read, and so are of one moment; another object is asked for by itself, at each call.
  /// kElementNotFound for an object that the device does not have; E_FAIL when the exchange fails in whatever
  /// way, and for the state of a device that has none of its objects.
  HRESULT Read(WStringView oid, VARIANT* value);

  /// The objects that FindItem knows from now on. Those of before are forgotten.
  void Describe(std::vector<std::string> oids);

  /// All that were described are asked for together when the first is looked for. Octets that are text in
  /// UTF-8 are that, without padding at the end; others are hexadecimal digits. Null for an object that the
  /// device does not have, or that was not described, or when the exchange failed.
  const support::Value* FindItem(const std::string& oid);

 private:
  using Values = std::vector<std::optional<SnmpValue>>;

  struct State {
    HRESULT result = E_FAIL;
    /// In the order of their names; null for what the device does not have.
    std::vector<const support::Value*> values;
  };

  HRESULT ReadState(size_t index, VARIANT* value);
  void AskForState();
  HRESULT ReadOther(const std::string& oid, VARIANT* value);
  void AskForItems();
  DWORD Ask(std::span<const std::string> oids, Values& values);

  DeviceAddress& address_;
  const Settings& settings_;

  SRWLOCK lock_ = SRWLOCK_INIT;
  std::list<support::Value> values_;  // all that was ever made
  std::optional<State> state_;
  std::vector<std::string> described_;
  std::optional<std::map<std::string, const support::Value*>> items_;
};

class NetworkOidProvider final : public support::OidProvider {
 public:
  explicit NetworkOidProvider(DeviceOids& oids) : oids_(oids) {}

 private:
  HRESULT DoGetValue(const WCHAR* oid, VARIANT* value) override {
    return oid != nullptr && value != nullptr ? oids_.Read(oid, value) : E_INVALIDARG;
  }

  DeviceOids& oids_;  // borrowed
};

}  // namespace custom_bidi::network
