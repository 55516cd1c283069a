// The two JSON answers of a request.

#include "src/exports/request_context.h"
#include "src/response/json_text.h"
#include "src/trace/guard.h"

namespace custom_bidi {

WString CCustomBiDi::ComposeBidiJson() const {
  return BidiJson(items_, cid_);
}

WString CCustomBiDi::ComposeStatusJson() {
  DWORD printer_status = 0;
  DWORD response_code = 0;
  DWORD status_code = 0;
  switch (GetStatusData(printer_status, response_code, status_code)) {
    case ERROR_SUCCESS:
      return StatusJson(printer_status, response_code, status_code);
    case ERROR_INVALID_DATA:
      // Whatever was read before the failure does not count. Blanks stand after these colons.
      return W("{\"printerState\": 5,\"responseCode\": 1,\"statusCode\": 0}");
    default:
      return W("{}");
  }
}

DWORD CCustomBiDi::GetStatusData(DWORD& printer_status, DWORD& response_code, DWORD& status_code) noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::GetStatusData");
  return GuardedOperation(kOperation, W("Error in InitIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const DWORD code = ixo_.GetPrinterStatus(printer_status, response_code, status_code);
    if (code != ERROR_SUCCESS)
      TraceLog(W(">>>>>Custom Bidi : GetStatusData fail!!!"));
    return code;
  });
}

}  // namespace custom_bidi
