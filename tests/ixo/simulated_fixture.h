#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

/// The folder of the test's executable, where the libraries and printer.json lie.
std::filesystem::path TestFolder();

/// The same as callers write it, with the name behind it: `folder//name`.
WString TestPath(std::string_view name);

/// ASCII only.
WString Wide(std::string_view ascii);

/// A device library, loaded for as long as this lives.
class DeviceLibrary {
 public:
  /// A file of the test's folder.
  explicit DeviceLibrary(std::string_view file);
  ~DeviceLibrary();
  DeviceLibrary(const DeviceLibrary&) = delete;
  DeviceLibrary& operator=(const DeviceLibrary&) = delete;

  bool IsLoaded() const { return module_ != nullptr; }

  /// Null when the library has no such entry point.
  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

 private:
  HMODULE module_;
};

/// Both libraries with every entry point bound, for one load.
struct Device {
  DeviceLibrary io{"vexmoixo.dll"};
  DeviceLibrary data_map{"vexmoixodm.dll"};
  ixo::CreateAddressFunction* from_queue =
      io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromQueueName);
  ixo::CreateAddressFunction* from_port =
      io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromPortName);
  ixo::CreateAddressFunction* from_ip = io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromIpAddress);
  ixo::CreateAddressFunction* from_host =
      io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromHostName);
  ixo::CreateDataCollectionFromFileFunction* create_collection =
      data_map.Find<ixo::CreateDataCollectionFromFileFunction>(ixo::kCreateDataCollectionFromFile);
  ixo::CreateOidProviderFunction* create_oid_provider =
      data_map.Find<ixo::CreateOidProviderFunction>(ixo::kCreateOidProvider);
  ixo::GetDeviceLocaleStringsFunction* get_locale_strings =
      data_map.Find<ixo::GetDeviceLocaleStringsFunction>(ixo::kGetDeviceLocaleStrings);
  ixo::DisposeStringBufferFunction* dispose_string_buffer =
      data_map.Find<ixo::DisposeStringBufferFunction>(ixo::kDisposeStringBuffer);

  ixo::PrinterAddress* Address() const { return from_ip(W("192.0.2.10")); }
  /// Null when there is none.
  ixo::DataCollection* Collection() const;
};

/// Calls an operation of an object by its place in the object's table, as callers do.
template <class Result, class... Arguments>
Result CallPosition(void* object, size_t position, Arguments... arguments) {
  void* const* const table = *static_cast<void* const**>(object);
  return reinterpret_cast<Result (*)(void*, Arguments...)>(table[position])(object, arguments...);
}

/// Gives the libraries a printer of the test's own. It starts and ends without one, so with the default.
class SimulatedPrinter : public testing::Test {
 protected:
  SimulatedPrinter() { RemovePrinter(); }
  ~SimulatedPrinter() override { RemovePrinter(); }

  static void WritePrinter(std::string_view json);
  static void RemovePrinter();
};

}  // namespace custom_bidi::simulated
