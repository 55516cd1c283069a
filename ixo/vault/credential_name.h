#pragma once

#include "src/platform.h"

namespace custom_bidi::vault {

/// The one name under which the Credential Manager knows an entry, which looks names up without regard to
/// case and has no second name: "CustomBidi/<target>/<user>". In both parts small letters, digits, '.', '-'
/// and '_' stand for themselves, '^' goes before a letter that is a capital, and any other unit is '%' and
/// four hexadecimal digits. So different pairs have different names, in any case.
WString CredentialName(WStringView target, WStringView user);

}  // namespace custom_bidi::vault
