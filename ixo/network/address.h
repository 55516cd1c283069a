#pragma once

#include "ixo/network/location.h"
#include "ixo/network/standing.h"
#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::network {

/// The address of a device on a network, with what the libraries of this family have to know beyond the
/// contract. The I/O library makes it, and it lives until that is unloaded; the others look into it. It has
/// no code of its own, so that each library can tell it from another family's address.
class DeviceAddress : public ixo::PrinterAddress {
 public:
  DeviceAddress(Location location, uint64_t id) : location_(std::move(location)), id_(id) {}

  const Location& Where() const { return location_; }

  /// Tells this address from every other one, also from one that comes to lie at the same place in memory.
  uint64_t Id() const { return id_; }

  Standing& TheStanding() { return standing_; }

 protected:
  ~DeviceAddress() = default;

 private:
  const Location location_;
  const uint64_t id_;
  Standing standing_;
};

/// Null for null, and for an address that another family's I/O library made.
inline DeviceAddress* AsDeviceAddress(ixo::PrinterAddress* address) {
  return dynamic_cast<DeviceAddress*>(address);
}

}  // namespace custom_bidi::network
