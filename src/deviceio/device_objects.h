#pragma once

/// The device libraries as the library calls them: loaded modules, their entry points, and their objects with
/// each operation of the contract, all run in the device frame. A holder of an object is as cheap as the
/// pointer that it holds, and owns nothing: the objects are their library's.

#include "src/deviceio/frame/device_frame.h"
#include "src/deviceio/ixo_contract.h"
#include "src/unique.h"

namespace custom_bidi {

struct ModuleTraits {
  using Value = HMODULE;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { FreeLibrary(value); }
};

/// A loaded library.
using Module = Unique<ModuleTraits>;

template <class Function>
class EntryPoint;

/// An entry point of a device library, or null; called in the device frame.
template <class Result, class... Parameters>
class EntryPoint<Result(Parameters...)> {
 public:
  using Function = Result(Parameters...);

  EntryPoint() = default;
  explicit EntryPoint(Function* function) : function_(function) {}

  explicit operator bool() const { return function_ != nullptr; }
  Result operator()(Parameters... arguments) const {
    return CallDevice([&] { return function_(arguments...); });
  }

 private:
  Function* function_ = nullptr;
};

/// The entry point `name` of `module` as a `Function`, or null with the reason as last error. The one place
/// where an entry point gets its type.
template <class Function>
EntryPoint<Function> FindEntry(HMODULE module, const char* name) {
  using AnyFunction = void (*)();
  return EntryPoint<Function>(
      reinterpret_cast<Function*>(reinterpret_cast<AnyFunction>(GetProcAddress(module, name))));
}

/// A borrowed object of a library, or null.
template <class Interface>
class DeviceObject {
 public:
  DeviceObject() = default;
  explicit DeviceObject(Interface* object) : object_(object) {}

  explicit operator bool() const { return object_ != nullptr; }
  /// For handing the object back to its library.
  Interface* Get() const { return object_; }

 protected:
  template <class Result, class... Parameters>
  Result Call(Result (Interface::*operation)(Parameters...), Parameters... arguments) const {
    return CallDevice([&] { return (object_->*operation)(arguments...); });
  }

 private:
  Interface* object_ = nullptr;
};

class PrinterAddress : public DeviceObject<deviceio::PrinterAddress> {
 public:
  using DeviceObject::DeviceObject;
  LONG IsActive() const { return Call(&deviceio::PrinterAddress::IsActive); }
  const WCHAR* GetAddressString() const { return Call(&deviceio::PrinterAddress::GetAddressString); }
};

class DataCollection : public DeviceObject<deviceio::DataCollection> {
 public:
  using DeviceObject::DeviceObject;
  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG flag) const {
    return Call(&deviceio::DataCollection::GetValue, name, value, flag);
  }
};

class OidProvider : public DeviceObject<deviceio::OidProvider> {
 public:
  using DeviceObject::DeviceObject;
  HRESULT GetValue(const WCHAR* oid, VARIANT* value) const {
    return Call(&deviceio::OidProvider::GetValue, oid, value);
  }
};

class VaultStoreProvider : public DeviceObject<deviceio::VaultStoreProvider> {
 public:
  using DeviceObject::DeviceObject;
  DWORD SaveTarget(const BYTE* bytes, DWORD length_bytes) const {
    return Call(&deviceio::VaultStoreProvider::SaveTarget, bytes, length_bytes);
  }
  HRESULT GetCertFromVault(BYTE** bytes, DWORD* length_bytes) const {
    return Call(&deviceio::VaultStoreProvider::GetCertFromVault, bytes, length_bytes);
  }
  DWORD DeleteTarget() const { return Call(&deviceio::VaultStoreProvider::DeleteTarget); }
  LONG IsTargetPresent() const { return Call(&deviceio::VaultStoreProvider::IsTargetPresent); }
  HRESULT SetTargetName(const WCHAR* target) const {
    return Call(&deviceio::VaultStoreProvider::SetTargetName, target);
  }
  HRESULT SetUserName(const WCHAR* user) const {
    return Call(&deviceio::VaultStoreProvider::SetUserName, user);
  }
};

class CertificateProvider : public DeviceObject<deviceio::CertificateProvider> {
 public:
  using DeviceObject::DeviceObject;
  HRESULT GetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) const {
    return Call(&deviceio::CertificateProvider::GetDeviceUUID, uuid, capacity_chars, length_chars);
  }
  HRESULT GetCertificateAllSecurityWarnings(DWORD* codes, DWORD capacity, DWORD* count) const {
    return Call(&deviceio::CertificateProvider::GetCertificateAllSecurityWarnings, codes, capacity, count);
  }
  DWORD GetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                             BYTE* bytes,
                             DWORD* length_bytes,
                             const WORD* eight,
                             DWORD ten,
                             DWORD* unread) const {
    return Call(&deviceio::CertificateProvider::GetDeviceCertificate, key_types, bytes, length_bytes, eight,
                ten, unread);
  }
  HRESULT CheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) const {
    return Call(&deviceio::CertificateProvider::CheckCertificateDate, bytes, length_bytes, valid);
  }
  DWORD GetLastErrorCode() const { return Call(&deviceio::CertificateProvider::GetLastErrorCode); }
};

}  // namespace custom_bidi
