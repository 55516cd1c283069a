// The data-map library: items, SNMP objects and locale strings of the simulated printer.

#include <type_traits>

#include "ixo/simulated/library.h"
#include "ixo/support/contract_bases.h"
#include "ixo/support/host_system.h"

namespace custom_bidi::simulated {
namespace {

/// GetDeviceLocaleStrings for a language that the device does not have.
constexpr LONG kNoSuchLanguage = 1;

Library g_library;

HRESULT Deliver(const Course& course, const support::Value* found, VARIANT* value) {
  if (course.StopsWork()) {
    if (course.give_null) {
      support::Value::NullText().CopyTo(value);
    }
    return course.result;
  }
  if (found == nullptr) {
    return support::kElementNotFound;
  }
  found->CopyTo(value);
  return course.result;
}

class SimulatedDataCollection final : public support::DataCollection {
 private:
  HRESULT DoGetValue(const WCHAR* name, VARIANT* value, LONG /*flag*/) override {
    if (name == nullptr || value == nullptr) {
      return E_INVALIDARG;
    }
    const Course course = g_library.Enter(Operation::kDataCollectionGetValue, name);
    return Deliver(course, g_library.ThePrinter()->FindItem(name), value);
  }
};

class SimulatedOidProvider final : public support::OidProvider {
 private:
  HRESULT DoGetValue(const WCHAR* oid, VARIANT* value) override {
    if (oid == nullptr || value == nullptr) {
      return E_INVALIDARG;
    }
    const Course course = g_library.Enter(Operation::kOidProviderGetValue, oid);
    return Deliver(course, g_library.ThePrinter()->FindOid(oid), value);
  }
};

support::Keep<SimulatedDataCollection> g_collections;
support::Keep<SimulatedOidProvider> g_oid_providers;
support::StringBuffers g_string_buffers;

}  // namespace

extern "C" {

HRESULT CreateDataCollectionFromFile(deviceio::PrinterAddress* address,
                                     const WCHAR* xml_path,
                                     deviceio::DataCollection** collection,
                                     LONG /*reserved*/) {
  if (address == nullptr || xml_path == nullptr || collection == nullptr) {
    return E_INVALIDARG;
  }
  *collection = nullptr;
  return support::OrNoMemory(support::kNoMemory, [=] {
    if (g_library.ThePrinter() == nullptr) {
      return E_FAIL;
    }
    const Course course = g_library.Enter(Operation::kCreateDataCollectionFromFile, xml_path);
    if (course.StopsWork()) {
      return course.result;
    }
    if (const DWORD code = support::CheckReadable(xml_path)) {
      return support::ResultFromWin32(code);
    }
    *collection = g_collections.Make();
    return course.result;
  });
}

deviceio::OidProvider* CreateOIDProvider(deviceio::PrinterAddress* address) {
  return support::RaisingNoMemory([=]() -> deviceio::OidProvider* {
    if (address == nullptr || g_library.ThePrinter() == nullptr) {
      return nullptr;
    }
    return g_library.Enter(Operation::kCreateOidProvider, {}).give_null ? nullptr : g_oid_providers.Make();
  });
}

LONG GetDeviceLocaleStrings(deviceio::PrinterAddress* address,
                            const WCHAR* language,
                            WCHAR** buffer,
                            ULONGLONG* length) {
  if (buffer == nullptr || length == nullptr) {
    return E_INVALIDARG;
  }
  *buffer = nullptr;
  *length = 0;
  if (address == nullptr || language == nullptr) {
    return E_INVALIDARG;
  }
  return support::OrNoMemory(support::kNoMemory, [=]() -> LONG {
    const Printer* const printer = g_library.ThePrinter();
    if (printer == nullptr) {
      return E_FAIL;
    }
    const Course course = g_library.Enter(Operation::kGetDeviceLocaleStrings, language);
    if (course.StopsWork()) {
      return course.result;
    }
    const WString* const text = printer->FindLocale(language);
    if (text == nullptr) {
      return kNoSuchLanguage;
    }
    *buffer = g_string_buffers.Make(*text);
    *length = course.length.value_or(static_cast<DWORD>(text->size()));
    return course.result;
  });
}

void DisposeStringBuffer(WCHAR* buffer, ULONGLONG /*length*/) {
  if (g_library.ThePrinter() != nullptr) {
    g_library.Enter(Operation::kDisposeStringBuffer, {});
  }
  g_string_buffers.Dispose(buffer);
}

}  // extern "C"

static_assert(
    std::is_same_v<decltype(CreateDataCollectionFromFile), deviceio::CreateDataCollectionFromFileFunction>);
static_assert(std::is_same_v<decltype(CreateOIDProvider), deviceio::CreateOidProviderFunction>);
static_assert(std::is_same_v<decltype(GetDeviceLocaleStrings), deviceio::GetDeviceLocaleStringsFunction>);
static_assert(std::is_same_v<decltype(DisposeStringBuffer), deviceio::DisposeStringBufferFunction>);

}  // namespace custom_bidi::simulated
