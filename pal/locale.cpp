#include "pal/locale.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "pal/accounting.h"
#include "pal/guarded.h"

namespace {

// What precedes the country, character set and variant in "pt_BR.UTF-8@euro".
std::string_view UserLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (!value || !*value)
      continue;
    const std::string_view locale(value);
    const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
    const bool is_language =
        (language.size() == 2 || language.size() == 3) &&
        std::all_of(language.begin(), language.end(), [](char c) { return c >= 'a' && c <= 'z'; });
    return is_language ? language : "en";
  }
  return "en";
}

}  // namespace

int GetLocaleInfoW(LCID locale, LCTYPE type, WCHAR* text, int capacity_chars) {
  if (pal::MustFail("GetLocaleInfoW"))
    return pal::FailWith(ERROR_INVALID_PARAMETER, 0);
  if (locale != 0 || type != LOCALE_SISO639LANGNAME || capacity_chars < 0 || (capacity_chars > 0 && !text))
    return pal::FailWith(ERROR_INVALID_PARAMETER, 0);
  const std::string_view language = UserLanguage();
  const int needed_chars = static_cast<int>(language.size()) + 1;
  if (capacity_chars == 0)
    return needed_chars;
  if (capacity_chars < needed_chars)
    return pal::FailWith(ERROR_INSUFFICIENT_BUFFER, 0);
  *std::copy(language.begin(), language.end(), text) = 0;
  return needed_chars;
}
