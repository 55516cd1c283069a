// The three libraries of the family in one: one address for every name, and fixed values from static memory. No
// certificate is ever asked for.

#include "src/deviceio/ixo_contract.h"

namespace {

using custom_bidi::WStringView;

class FixedAddress final : public custom_bidi::deviceio::PrinterAddress {
 public:
  LONG IsActive() override { return 1; }
  const WCHAR* GetAddressString() override { return W("fixed"); }
};

FixedAddress g_address;

/// A BSTR's memory: the length in bytes, then the text.
template <size_t N>
struct StaticBstr {
  constexpr StaticBstr(const WCHAR (&source)[N]) : length_bytes((N - 1) * sizeof(WCHAR)) {
    for (size_t i = 0; i < N; ++i) {
      text[i] = source[i];
    }
  }

  uint32_t length_bytes;
  WCHAR text[N] = {};
};

StaticBstr g_device_id(W("MFG:Maker;MDL:Model 7;CMD:PCL,PS;CID:Maker_Model_7;"));
StaticBstr g_text(W("iso_a4_210x297mm, na_letter_8.5x11in"));

class FixedCollection final : public custom_bidi::deviceio::DataCollection {
 public:
  void Reserved0() override {}
  void Reserved1() override {}
  void Reserved2() override {}
  void Reserved3() override {}
  void Reserved4() override {}

  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG) override {
    constexpr WStringView kItem = W("Item");
    const WStringView wanted(name);
    value->vt = VT_BSTR;
    if (wanted == W("DeviceID")) {
      value->bstrVal = g_device_id.text;
    } else if (wanted.substr(0, kItem.size()) != kItem) {
      value->vt = VT_EMPTY;
      return E_FAIL;
    } else if (wanted.back() % 2 != 0) {
      value->bstrVal = g_text.text;
    } else {
      value->vt = VT_I4;
      value->lVal = 42;
    }
    return S_OK;
  }
};

FixedCollection g_collection;

}  // namespace

extern "C" {

custom_bidi::deviceio::PrinterAddress* CreateAddressFromPortName(const WCHAR*) {
  return &g_address;
}

HRESULT CreateDataCollectionFromFile(custom_bidi::deviceio::PrinterAddress*,
                                     const WCHAR*,
                                     custom_bidi::deviceio::DataCollection** collection,
                                     LONG) {
  *collection = &g_collection;
  return S_OK;
}

}  // extern "C"
