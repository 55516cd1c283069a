// A device's strings: cleaned as plain replacements would clean them, and every entry is a piece of them.

#include "src/deviceio/locale_strings.h"

#include "fuzz/fuzz_input.h"

namespace custom_bidi::fuzz {
namespace {

WString CleanedPlainly(WString text) {
  std::erase(text, WCHAR{'\n'});
  std::erase(text, WCHAR{'"'});
  for (size_t at = 0; (at = text.find(W(" = "), at)) != WString::npos; ++at) {
    text.erase(at + 2, 1);
    text.erase(at, 1);
  }
  return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ExactText strings(Input(data, size).TakeText());
  const WString cleaned = CleanLocaleStrings(strings.View());
  Demand(cleaned == CleanedPlainly(WString(strings.View())), "cleaning is a row of replacements");

  std::map<WString, WString> entries;
  AddPrintQualityEntries(ExactText(cleaned).View(), entries);
  Demand(entries.size() <= 8, "there are eight names");
  for (const auto& [name, text] : entries) {
    Demand(!text.empty(), "no text is empty");
    Demand(name.starts_with(W("vexmo-print-quality-supported.com.vexmo.")), "a name is one of the eight");
    Demand((name + text).find(';') == WString::npos, "an entry ends at its semicolon");
    const WString entry = name == text ? name : name + W("=") + text;
    Demand(cleaned.find(entry) != WString::npos, "an entry is a piece of the strings");
  }
  return 0;
}

}  // namespace custom_bidi::fuzz
