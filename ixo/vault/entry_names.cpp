#include "ixo/vault/entry_names.h"

#include "ixo/vault/vault.h"

namespace custom_bidi::vault {

DWORD CheckNames(WStringView target, WStringView user) {
  if (target.empty() || user.empty()) {
    return ERROR_INVALID_PARAMETER;
  }
  if (target.find(WCHAR()) != WStringView::npos || user.find(WCHAR()) != WStringView::npos) {
    return ERROR_INVALID_NAME;
  }
  if (target.size() > kMaxTargetChars || user.size() > kMaxUserChars) {
    return ERROR_FILENAME_EXCED_RANGE;
  }
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::vault
