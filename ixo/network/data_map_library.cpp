// The data-map library: items, SNMP objects and strings of devices on a network.

#include <map>
#include <type_traits>

#include "ixo/network/device.h"
#include "ixo/network/oid_provider.h"
#include "ixo/support/contract_bases.h"
#include "ixo/support/objects.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

/// The devices of this load, one for each address. They stay, since items and strings that were handed out
/// are theirs.
class Devices {
 public:
  /// Null when there are no settings to work with.
  Device* At(DeviceAddress& address) {
    const Settings* const settings = TheSettings();
    if (!settings) {
      return nullptr;
    }
    const device::Locked locked(lock_);
    return &devices_.try_emplace(address.Id(), address, *settings).first->second;
  }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  std::map<uint64_t, Device> devices_;
};

class NetworkDataCollection final : public device::DataCollection {
 public:
  explicit NetworkDataCollection(Device& device) : device_(device) {}

  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG /*flag*/) override {
    return name && value ? device_.ReadItem(name, value) : E_INVALIDARG;
  }

 private:
  Device& device_;
};

Devices devices;
device::Keep<NetworkDataCollection> collections;
device::Keep<NetworkOidProvider> oid_providers;
device::StringBuffers string_buffers;

/// Null for an address that is none of this family's, too.
Device* DeviceAt(ixo::PrinterAddress* address) {
  DeviceAddress* const of_family = AsDeviceAddress(address);
  return of_family ? devices.At(*of_family) : nullptr;
}

}  // namespace

extern "C" {

HRESULT CreateDataCollectionFromFile(ixo::PrinterAddress* address,
                                     const WCHAR* xml_path,
                                     ixo::DataCollection** collection,
                                     LONG /*reserved*/) {
  if (!address || !xml_path || !collection) {
    return E_INVALIDARG;
  }
  *collection = nullptr;
  Device* const device = DeviceAt(address);
  if (!device) {
    return E_FAIL;
  }
  DataMap map;
  if (const DWORD code = ReadDataMap(xml_path, map)) {
    return device::ResultFromWin32(code);
  }
  device->Describe(std::move(map));
  *collection = collections.Make(*device);
  return S_OK;
}

ixo::OidProvider* CreateOIDProvider(ixo::PrinterAddress* address) {
  Device* const device = DeviceAt(address);
  return device ? oid_providers.Make(device->Oids()) : nullptr;
}

LONG GetDeviceLocaleStrings(ixo::PrinterAddress* address,
                            const WCHAR* language,
                            WCHAR** buffer,
                            ULONGLONG* length) {
  if (!buffer || !length) {
    return E_INVALIDARG;
  }
  *buffer = nullptr;
  *length = 0;
  if (!address || !language) {
    return E_INVALIDARG;
  }
  Device* const device = DeviceAt(address);
  if (!device) {
    return E_FAIL;
  }
  WString text;
  if (const DWORD code = device->ReadStrings(language, text)) {
    return device::ResultFromWin32(code);
  }
  *buffer = string_buffers.Make(text);
  *length = text.size();
  return ERROR_SUCCESS;
}

void DisposeStringBuffer(WCHAR* buffer, ULONGLONG /*length*/) {
  string_buffers.Dispose(buffer);
}

}  // extern "C"

static_assert(
    std::is_same_v<decltype(CreateDataCollectionFromFile), ixo::CreateDataCollectionFromFileFunction>);
static_assert(std::is_same_v<decltype(CreateOIDProvider), ixo::CreateOidProviderFunction>);
static_assert(std::is_same_v<decltype(GetDeviceLocaleStrings), ixo::GetDeviceLocaleStringsFunction>);
static_assert(std::is_same_v<decltype(DisposeStringBuffer), ixo::DisposeStringBufferFunction>);

}  // namespace custom_bidi::network
