// The printer's device certificate.

#include "src/exports/request_context.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {

DeviceCertificate* CCustomBiDi::GetPrinterCertificate(const WCHAR* /*user*/,
                                                      const WCHAR* queue,
                                                      DWORD /*mode*/) noexcept {
  if (IsNullOrEmpty(queue))
    TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
  // No certificate is read yet.
  return nullptr;
}

DWORD CCustomBiDi::VerifyCertificateValidity(const WCHAR* /*user*/,
                                             const WCHAR* queue,
                                             DWORD /*mode*/,
                                             DeviceCertificate* /*record*/) noexcept {
  if (IsNullOrEmpty(queue)) {
    TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
    return ERROR_INVALID_PARAMETER;
  }
  // No certificate is checked yet.
  return ERROR_INVALID_FUNCTION;
}

}  // namespace custom_bidi
