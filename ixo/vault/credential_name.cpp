#include "ixo/vault/credential_name.h"

namespace custom_bidi::vault {
namespace {

void AppendEscaped(WStringView part, WString& name) {
  constexpr WStringView kPlain = W("abcdefghijklmnopqrstuvwxyz0123456789.-_");
  constexpr WStringView kDigits = W("0123456789abcdef");
  for (const WCHAR unit : part) {
    if (kPlain.find(unit) != WStringView::npos) {
      name += unit;
    } else if (unit >= W('A') && unit <= W('Z')) {
      name += W('^');
      name += static_cast<WCHAR>(unit - W('A') + W('a'));
    } else {
      name += W('%');
      for (int shift = 12; shift >= 0; shift -= 4) {
        name += kDigits[(unit >> shift) & 0xF];
      }
    }
  }
}

}  // namespace

WString CredentialName(WStringView target, WStringView user) {
  WString name = W("CustomBidi/");
  AppendEscaped(target, name);
  name += W('/');
  AppendEscaped(user, name);
  return name;
}

}  // namespace custom_bidi::vault
