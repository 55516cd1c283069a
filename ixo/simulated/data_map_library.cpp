// The data-map library: items, SNMP objects and locale strings of the simulated printer.

#include <type_traits>

#include "ixo/simulated/library.h"
#include "ixo/simulated/map_file.h"
#include "ixo/support/contract_bases.h"

namespace custom_bidi::simulated {
namespace {

/// GetDeviceLocaleStrings for a language that the device does not have.
constexpr LONG kNoSuchLanguage = 1;

Library library;

HRESULT Deliver(const Course& course, const device::Value* found, VARIANT* value) {
  if (course.StopsWork()) {
    if (course.give_null) {
      device::Value::NullText().CopyTo(value);
    }
    return course.result;
  }
  if (!found) {
    return device::kElementNotFound;
  }
  found->CopyTo(value);
  return course.result;
}

class SimulatedDataCollection final : public device::DataCollection {
 public:
  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG /*flag*/) override {
    if (!name || !value) {
      return E_INVALIDARG;
    }
    const Course course = library.Enter(Operation::kDataCollectionGetValue, name);
    return Deliver(course, library.ThePrinter()->FindItem(name), value);
  }
};

class SimulatedOidProvider final : public device::OidProvider {
 public:
  HRESULT GetValue(const WCHAR* oid, VARIANT* value) override {
    if (!oid || !value) {
      return E_INVALIDARG;
    }
    const Course course = library.Enter(Operation::kOidProviderGetValue, oid);
    return Deliver(course, library.ThePrinter()->FindOid(oid), value);
  }
};

device::Keep<SimulatedDataCollection> collections;
device::Keep<SimulatedOidProvider> oid_providers;
device::StringBuffers string_buffers;

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
  if (!library.ThePrinter()) {
    return E_FAIL;
  }
  const Course course = library.Enter(Operation::kCreateDataCollectionFromFile, xml_path);
  if (course.StopsWork()) {
    return course.result;
  }
  if (const DWORD code = CheckMapFile(xml_path)) {
    return device::ResultFromWin32(code);
  }
  *collection = collections.Make();
  return course.result;
}

ixo::OidProvider* CreateOIDProvider(ixo::PrinterAddress* address) {
  if (!address || !library.ThePrinter()) {
    return nullptr;
  }
  return library.Enter(Operation::kCreateOidProvider, {}).give_null ? nullptr : oid_providers.Make();
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
  const Printer* const printer = library.ThePrinter();
  if (!printer) {
    return E_FAIL;
  }
  const Course course = library.Enter(Operation::kGetDeviceLocaleStrings, language);
  if (course.StopsWork()) {
    return course.result;
  }
  const WString* const text = printer->FindLocale(language);
  if (!text) {
    return kNoSuchLanguage;
  }
  *buffer = string_buffers.Make(*text);
  *length = text->size();
  return course.result;
}

void DisposeStringBuffer(WCHAR* buffer, ULONGLONG /*length*/) {
  if (library.ThePrinter()) {
    library.Enter(Operation::kDisposeStringBuffer, {});
  }
  string_buffers.Dispose(buffer);
}

}  // extern "C"

static_assert(
    std::is_same_v<decltype(CreateDataCollectionFromFile), ixo::CreateDataCollectionFromFileFunction>);
static_assert(std::is_same_v<decltype(CreateOIDProvider), ixo::CreateOidProviderFunction>);
static_assert(std::is_same_v<decltype(GetDeviceLocaleStrings), ixo::GetDeviceLocaleStringsFunction>);
static_assert(std::is_same_v<decltype(DisposeStringBuffer), ixo::DisposeStringBufferFunction>);

}  // namespace custom_bidi::simulated
