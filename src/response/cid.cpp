// The CID of the device, from its IEEE 1284 device ID.

#include "src/exports/request_context.h"
#include "src/text.h"

namespace custom_bidi {
namespace {

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
  return ERROR_INVALID_FUNCTION;
}

}  // namespace custom_bidi
