#pragma once

#include "src/platform.h"

namespace custom_bidi::device {

/// Takes one of the two names of a vault's entry. E_INVALIDARG for none, or one that is too long; `name` is
/// empty then, so that nothing is done under the one before.
inline HRESULT TakeVaultName(const WCHAR* given, size_t max_chars, WString& name) {
  const WStringView text = given ? given : WStringView();
  const bool is_good = !text.empty() && text.size() <= max_chars;
  name = is_good ? text : WStringView();
  return is_good ? S_OK : E_INVALIDARG;
}

}  // namespace custom_bidi::device
