// The two JSON answers of a request, and the items that the first is made of.

#include "src/response/answers.h"

#include "src/context/request_context.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {

void StoreItem(WStringView name, WStringView text, ItemMap& items) {
  if (text.empty()) {
    return;
  }
  if (text.find(WCHAR{','}) == WStringView::npos) {
    items.Set(name, text);
    return;
  }
  items.Set(WString(name) + W("_Value"), text);
  items.Set(name, W("Valid"));
}

WString BidiJson(const ItemMap& items, WStringView cid) {
  constexpr WStringView kBetween = W("\": \"");
  constexpr WStringView kAfter = W("\",");
  constexpr WStringView kCidMember = W("\"CID\": \"");

  size_t length = kCidMember.size() + cid.size() + 3;
  for (const ItemMap::Entry& entry : items) {
    length += 1 + entry.key.size() + kBetween.size() + entry.value.size() + kAfter.size();
  }

  WString json;
  json.reserve(length);
  json.push_back('{');
  for (const ItemMap::Entry& entry : items) {
    json.append(1, '"').append(entry.key).append(kBetween).append(entry.value).append(kAfter);
  }
  return json.append(kCidMember).append(cid).append(W("\"}"));
}

WString StatusJson(DWORD printer_status, DWORD response_code, DWORD status_code) {
  WCHAR json[80];  // the longest has 79 characters
  FormatText(json, W("{\"printerState\":%d,\"responseCode\":%d,\"statusCode\":%u}"), printer_status,
             response_code, status_code);
  return json;
}

WString CCustomBiDi::ComposeBidiJson() const {
  return BidiJson(items_, cid_);
}

DWORD CCustomBiDi::ComposeStatusJson(WString& json) {
  DWORD printer_status = 0;
  DWORD response_code = 0;
  DWORD status_code = 0;
  const DWORD code = GetStatusData(printer_status, response_code, status_code);
  switch (code) {
    case ERROR_SUCCESS:
      json = StatusJson(printer_status, response_code, status_code);
      return ERROR_SUCCESS;
    case ERROR_INVALID_DATA:
      // Whatever was read before the failure does not count. Blanks stand after these colons.
      json = W("{\"printerState\": 5,\"responseCode\": 1,\"statusCode\": 0}");
      return ERROR_SUCCESS;
    default:
      json = W("{}");
      return code;
  }
}

DWORD CCustomBiDi::GetStatusData(DWORD& printer_status, DWORD& response_code, DWORD& status_code) noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::GetStatusData");
  return GuardedOperation(kOperation, W("Error in InitIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const DWORD code = ixo_.GetPrinterStatus(printer_status, response_code, status_code);
    if (code != ERROR_SUCCESS) {
      TraceLog(W(">>>>>Custom Bidi : GetStatusData fail!!!"));
    }
    return code;
  });
}

}  // namespace custom_bidi
