// Filling the item map from the device, and taking the CID from its IEEE 1284 device ID.

#include "src/context/request_context.h"
#include "src/response/answers.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr const WCHAR* kOperation = W("CCustomBiDi::LoadIPPResponse");

std::vector<WString> CopyNames(const WCHAR* const* names, LONG count) {
  std::vector<WString> copies;
  for (LONG i = 0; i < count; ++i) {
    if (names[i] != nullptr) {
      copies.emplace_back(names[i]);
    }
  }
  return copies;
}

DWORD Finish(bool success) {
  TraceLog(success ? W(">>>>>Custom Bidi :  LoadIPPResponse success!!!")
                   : W(">>>>>Custom Bidi :  LoadIPPResponse fail!!!"));
  return success ? ERROR_SUCCESS : kFailed;
}

/// The value of the first field whose key is CID; false when there is none. A field is a key and a value
/// around its first colon; without a colon it is both.
bool FindCid(WStringView device_id, WStringView& cid) {
  size_t start = 0;
  while (!device_id.empty() && start <= device_id.size()) {
    const size_t end = std::min(device_id.find(WCHAR{';'}, start), device_id.size());
    const WStringView field = device_id.substr(start, end - start);
    const size_t colon = field.find(WCHAR{':'});
    if (field.substr(0, colon) == W("CID")) {
      cid = colon == WStringView::npos ? field : field.substr(colon + 1);
      return true;
    }
    start = end + 1;
  }
  return false;
}

}  // namespace

DWORD CCustomBiDi::LoadIPPResponse(const WCHAR* const* names, LONG count) noexcept {
  return GuardedOperation(kOperation, W("Error in Run"), kFailed, [&]() -> DWORD {
    for (const WString& name : CopyNames(names, count)) {
      if (ReadItem(name.c_str()) != ERROR_SUCCESS && name == W("CustomPQ")) {
        MergePrintQualityEntries();
      }
    }
    return Finish(!items_.empty());
  });
}

DWORD CCustomBiDi::LoadIPPResponse() noexcept {
  return GuardedOperation(kOperation, W("Error in Run"), kFailed, [&]() -> DWORD {
    WCHAR device_id[1024] = {};
    ixo_.GetData(W("DeviceID"), device_id, std::size(device_id));
    DWORD code = ParseAndSaveCIDInfo(device_id);
    if (code == ERROR_SUCCESS) {
      code = ReadDataMapItems();
    }
    MergePrintQualityEntries();
    if (code != ERROR_SUCCESS || items_.empty()) {
      return Finish(false);
    }
    items_.Set(W("JobJsonDeviceCapsComplete"), W("true"));
    return Finish(true);
  });
}

DWORD CCustomBiDi::ParseAndSaveCIDInfo(WStringView device_id) noexcept {
  WStringView cid;
  if (FindCid(device_id, cid)) {
    CopyText(cid_, cid);
    return ERROR_SUCCESS;
  }
  if (*cid_ != 0) {
    TraceLog(W(">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found so using default CID!!!"));
    return ERROR_SUCCESS;
  }
  TraceLog(W(">>>>>Custom Bidi :  ParseAndSaveCIDInfo -> No CID found and default CID also not set!!!"));
  return kFailed;
}

/// Reads and stores one item; the code of the read.
DWORD CCustomBiDi::ReadItem(const WCHAR* name) {
  WCHAR text[4096];
  *text = 0;  // all that an empty buffer needs: fifty items are read into one each
  const DWORD code = ixo_.GetData(name, text, std::size(text));
  if (code == ERROR_SUCCESS) {
    StoreItem(name, text, items_);
  }
  return code;
}

DWORD CCustomBiDi::ReadDataMapItems() {
  std::vector<ComPtr<IXMLDOMNode>> data_items;
  const DWORD code = data_map_.GetPathedNodeListAsArray(W("//IPPDataMap//DataItem"), data_items);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  for (ComPtr<IXMLDOMNode>& data_item : data_items) {
    WCHAR name[CCIXML::kValueChars] = {};
    if (data_map_.GetAttributeValue(data_item.Get(), W("Name"), name) == ERROR_SUCCESS && *name != 0) {
      ReadItem(name);
    }
    data_item.Reset();
  }
  return ERROR_SUCCESS;
}

void CCustomBiDi::MergePrintQualityEntries() {
  for (const auto& [name, text] : ixo_.GetCustomPQ()) {
    items_.AddIfAbsent(name, text);
  }
}

}  // namespace custom_bidi
