#pragma once

#include "src/unique.h"

namespace custom_bidi {

struct SystemTextTraits {
  using Value = WCHAR*;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { LocalFree(value); }
};

/// A text that the system allocated.
using SystemText = Unique<SystemTextTraits>;

/// The system's text for a Win32 code in the user's language, as it stands (usually with CR LF at its end);
/// null when it has none.
inline SystemText SystemTextOf(DWORD code) noexcept {
  constexpr DWORD kUserDefaultLanguage = 0x400;  // LANG_NEUTRAL, SUBLANG_DEFAULT
  WCHAR* text = nullptr;
  // With FORMAT_MESSAGE_ALLOCATE_BUFFER the buffer argument receives a pointer.
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code,
                 kUserDefaultLanguage, reinterpret_cast<WCHAR*>(&text), 0, nullptr);
  return SystemText(text);
}

}  // namespace custom_bidi
