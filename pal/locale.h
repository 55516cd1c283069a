#pragma once

#include "pal/types.h"

inline constexpr LCTYPE LOCALE_SISO639LANGNAME = 0x59;

/// The user's language as ISO 639 has it, two letters (three for the few languages that have no two): that of
/// LC_ALL, LC_MESSAGES or LANG, the first that is set and not empty; "en" when that names no language, as "C"
/// does. `locale` is 0, the user's. Returns the units written, NUL included; with a capacity of 0 the units
/// needed; 0 on failure.
int GetLocaleInfoW(LCID locale, LCTYPE type, WCHAR* text, int capacity_chars);
