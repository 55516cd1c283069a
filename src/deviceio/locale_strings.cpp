#include "src/deviceio/locale_strings.h"

#include "src/deviceio/ixo_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr WStringView kSpacedEquals = W(" = ");
constexpr int kIndices[] = {21, 22};
constexpr const WCHAR* kNamePatterns[] = {
    W("vexmo-print-quality-supported.com.vexmo.display-string.%d"),
    W("vexmo-print-quality-supported.com.vexmo.display-string.%d._tooltip"),
    W("vexmo-print-quality-supported.com.vexmo.optimal-resolution.%d"),
    W("vexmo-print-quality-supported.com.vexmo.pq-mode.%d"),
};

/// The entry in which `name` first occurs goes in under what stands before its "=". That need not be `name`:
/// the plain name occurs in the tooltip's, too.
void AddEntryOf(WStringView name, WStringView strings, std::map<WString, WString>& entries) {
  const size_t start = strings.find(name);
  if (start == WStringView::npos) {
    return;
  }
  WStringView entry = strings.substr(start);
  entry = entry.substr(0, entry.find(WCHAR{';'}));
  const size_t equals = entry.find(WCHAR{'='});
  const WStringView key = entry.substr(0, equals);
  const WStringView value = equals == WStringView::npos ? entry : entry.substr(equals + 1);
  if (!key.empty() && !value.empty()) {
    entries.try_emplace(WString(key), value);
  }
}

}  // namespace

WString CleanLocaleStrings(WStringView strings) {
  WString bare;
  bare.reserve(strings.size());
  for (const WCHAR unit : strings) {
    if (unit != '\n' && unit != '"') {
      bare.push_back(unit);
    }
  }

  WString cleaned;
  cleaned.reserve(bare.size());
  size_t from = 0;
  for (size_t at = bare.find(kSpacedEquals); at != WString::npos; at = bare.find(kSpacedEquals, from)) {
    cleaned.append(bare, from, at - from).push_back('=');
    from = at + kSpacedEquals.size();
  }
  return cleaned.append(bare, from);
}

void AddPrintQualityEntries(WStringView strings, std::map<WString, WString>& entries) {
  for (const int index : kIndices) {
    for (const WCHAR* pattern : kNamePatterns) {
      WCHAR name[100];
      FormatText(name, pattern, index);
      AddEntryOf(name, strings, entries);
    }
  }
}

std::map<WString, WString> IxoWrapper::GetCustomPQ() noexcept {
  constexpr const WCHAR* kOperation = W("IxoWrapper::GetCustomPQ");
  std::map<WString, WString> entries;
  GuardedDeviceCall(kOperation, ERROR_INVALID_DATA, [&]() -> DWORD {
    const auto get_strings = FindEntry<deviceio::GetDeviceLocaleStringsFunction>(
        xdm_module_.Get(), deviceio::kGetDeviceLocaleStrings);
    const auto dispose =
        FindEntry<deviceio::DisposeStringBufferFunction>(xdm_module_.Get(), deviceio::kDisposeStringBuffer);
    if (!get_strings || !printer_address_) {
      return ERROR_SUCCESS;
    }

    constexpr int kLanguageChars = 522;
    WCHAR language[kLanguageChars] = {};
    if (GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, language, kLanguageChars) == 0) {
      language[0] = 0;
    }

    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    const LONG result = get_strings(printer_address_.Get(), language, &buffer, &length);
    if (result == 0 && buffer != nullptr) {
      // Guarded by itself, so that the buffer goes back also when memory runs short.
      GuardedDeviceCall(kOperation, ERROR_INVALID_DATA, [&]() -> DWORD {
        AddPrintQualityEntries(CleanLocaleStrings(buffer), entries);
        return ERROR_SUCCESS;
      });
    }
    if (dispose) {
      dispose(buffer, length);
    }
    return ERROR_SUCCESS;
  });
  return entries;
}

}  // namespace custom_bidi
