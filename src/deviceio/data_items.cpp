// The device's data collection and its items as text.

#include "src/deviceio/ixo_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

/// Writes the value as text; false when it does not fit. A type that has no text leaves the buffer alone.
bool WriteValue(const VARIANT& value, std::span<WCHAR> text) {
  switch (value.vt) {
    case VT_BSTR:
      return CopyText(text, BstrText(value.bstrVal));
    case VT_I1:
      return FormatText(text, W("%d"), static_cast<signed char>(value.cVal)) < text.size();
    case VT_I2:
      return FormatText(text, W("%d"), value.iVal) < text.size();
    case VT_I4:
      return FormatText(text, W("%d"), value.lVal) < text.size();
    case VT_UI1:
      return FormatText(text, W("%u"), value.bVal) < text.size();
    case VT_UI2:
      return FormatText(text, W("%u"), value.uiVal) < text.size();
    case VT_UI4:
      return FormatText(text, W("%u"), value.ulVal) < text.size();
    default:
      return true;
  }
}

}  // namespace

DWORD IxoWrapper::BiDiData() noexcept {
  return GuardedDeviceCall(W("IxoWrapper::BiDiData"), ERROR_INVALID_DATA, [&]() -> DWORD {
    const auto make_collection = FindEntry<deviceio::CreateDataCollectionFromFileFunction>(
        xdm_module_.Get(), deviceio::kCreateDataCollectionFromFile);
    if (!make_collection) {
      const DWORD code = GetLastError();
      TraceLog(W("GetProcAddress (%s) failed"), W("CreateDataCollectionFromFile"));
      TraceErrorCode(code, W("BiDiData"));
      return code;
    }
    deviceio::DataCollection* collection = nullptr;
    const HRESULT result = make_collection(printer_address_.Get(), data_map_path_.c_str(), &collection, 0);
    data_collection_ = DataCollection(collection);
    if (FAILED(result) || !data_collection_) {
      TraceLog(W("CreateDataCollection from xml: [%s] ==> failed"), data_map_path_);
      return ERROR_INVALID_DATA;
    }
    TraceLog(W("CreateDataCollection from xml: [%s] ==> success"), data_map_path_);
    return ERROR_SUCCESS;
  });
}

DWORD IxoWrapper::GetData(const WCHAR* name, WCHAR* text, size_t capacity_chars) noexcept {
  if (IsNullOrEmpty(name) || text == nullptr || capacity_chars == 0) {
    return ERROR_INVALID_PARAMETER;
  }
  if (!data_collection_) {
    return ERROR_INVALID_DATA;
  }
  return GuardedDeviceCall(W("IxoWrapper::GetData"), ERROR_INVALID_DATA, [&]() -> DWORD {
    VARIANT value;  // never cleared: what it receives stays the library's
    VariantInit(&value);
    if (FAILED(data_collection_.GetValue(name, &value, 1))) {
      return ERROR_INVALID_DATA;
    }
    if (!WriteValue(value, {text, capacity_chars})) {
      *text = 0;
      return ERROR_INVALID_DATA;
    }
    return ERROR_SUCCESS;
  });
}

}  // namespace custom_bidi
