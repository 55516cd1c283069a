#pragma once

#include <map>

#include "src/platform.h"

namespace custom_bidi {

/// Makes a device's strings ready for searching: without line feeds and quotation marks, and with "=" in
/// place of " = ". Linear in the text's length.
WString CleanLocaleStrings(WStringView strings);

/// Adds the eight print-quality entries of cleaned strings to `entries`, by the name that stands before the
/// "="; an entry that is there already keeps its text. An entry without "=" stands for its own name and text;
/// one with an empty name or text is left out.
void AddPrintQualityEntries(WStringView strings, std::map<WString, WString>& entries);

}  // namespace custom_bidi
