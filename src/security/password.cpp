// The password kept in the credential vault.

#include "src/exports/request_context.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {

DWORD CCustomBiDi::ProcessPassword(const BYTE* /*password*/,
                                   DWORD /*length_bytes*/,
                                   const WCHAR* user,
                                   const WCHAR* target,
                                   PasswordMode /*mode*/,
                                   const WCHAR* queue) noexcept {
  return GuardedOperation(W("CCustomBiDi::ProcessPassword"), W("Error in Run"), ERROR_SUCCESS,
                          [&]() -> DWORD {
                            if (IsNullOrEmpty(user)) {
                              TraceLog(W(">>>> Custom Bidi : User is empty"));
                              return ERROR_INVALID_PARAMETER;
                            }
                            if (IsNullOrEmpty(target)) {
                              TraceLog(W(">>>> Custom Bidi : Target Name is empty"));
                              return ERROR_INVALID_PARAMETER;
                            }
                            if (IsNullOrEmpty(queue)) {
                              TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
                              return ERROR_INVALID_PARAMETER;
                            }
                            StartForQueue(queue);
                            TraceLog(W(">>>> Custom Bidi : Print Queue Name is [%s]"), queue_);
                            if (InitIOWrapperForSEPassword() != ERROR_SUCCESS)
                              TraceLog(W(">>>> Custom Bidi : InitIOWrapper Initialization failed!!"));
                            // No vault is reached yet: the call never reports success.
                            return ERROR_INVALID_FUNCTION;
                          });
}

}  // namespace custom_bidi
