#include "pal/system.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/thread_slot.h"
#include "base/utf.h"
#include "pal/internal.h"

namespace {

[[gnu::init_priority(101)]] base::ThreadSlot g_last_error;

constexpr uint32_t kFree = 0;
constexpr uint32_t kHeld = 1;

#if defined(__x86_64__)
constexpr char kMachine[] = "AMD64";
#elif defined(__aarch64__)
constexpr char kMachine[] = "ARM64";
#elif defined(__i386__)
constexpr char kMachine[] = "x86";
#else
#error "What does Windows call this machine in PROCESSOR_ARCHITECTURE?"
#endif

const char* FindVariable(const std::string& name) {
  if (const char* value = base::Variable(name.c_str())) {
    return value;
  }
  return name == "PROCESSOR_ARCHITECTURE" ? kMachine : nullptr;
}

// What precedes the country, character set and variant in "pt_BR.UTF-8@euro".
std::string_view UserLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = base::Variable(variable);
    if (value == nullptr || !*value) {
      continue;
    }
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

DWORD GetLastError() {
  return static_cast<DWORD>(g_last_error.Get());
}

void SetLastError(DWORD code) {
  g_last_error.Set(code);
}

DWORD FormatMessageW(DWORD flags,
                     const void* source,
                     DWORD code,
                     DWORD language,
                     WCHAR* buffer,
                     DWORD size_chars,
                     va_list* arguments) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  constexpr DWORD kUserDefaultLanguage = 0x400;
  if (flags != kFlags || buffer == nullptr) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  WCHAR*& allocated = *reinterpret_cast<WCHAR**>(buffer);
  allocated = nullptr;
  if (pal::MustFail("FormatMessageW")) {
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
  }
  if (source != nullptr || language != kUserDefaultLanguage || size_chars != 0 || arguments != nullptr) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  }

  const std::u16string_view text = base::TextOfCode(code);
  if (text.empty()) {
    return pal::FailWith(ERROR_MR_MID_NOT_FOUND, DWORD{0});
  }
  if (text.find(u'%') != std::u16string_view::npos) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  }

  constexpr std::u16string_view kLineEnd = u"\r\n";
  const size_t length = text.size() + kLineEnd.size();
  allocated = static_cast<WCHAR*>(pal::AllocateBlock((length + 1) * sizeof(WCHAR)));
  if (allocated == nullptr) {
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
  }
  std::ranges::copy(kLineEnd, std::ranges::copy(text, allocated).out);
  return static_cast<DWORD>(length);
}

void GetLocalTime(SYSTEMTIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  // localtime_r alone looks at TZ only once.
  tzset();
  tm local{};
  localtime_r(&now.tv_sec, &local);
  *time = {.wYear = static_cast<WORD>(local.tm_year + 1900),
           .wMonth = static_cast<WORD>(local.tm_mon + 1),
           .wDayOfWeek = static_cast<WORD>(local.tm_wday),
           .wDay = static_cast<WORD>(local.tm_mday),
           .wHour = static_cast<WORD>(local.tm_hour),
           .wMinute = static_cast<WORD>(local.tm_min),
           .wSecond = static_cast<WORD>(local.tm_sec),
           .wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000)};
}

void AcquireSRWLockExclusive(SRWLOCK* lock) {
  std::atomic_ref<uint32_t> state(lock->state);
  while (state.exchange(kHeld, std::memory_order_acquire) != kFree) {
    state.wait(kHeld, std::memory_order_relaxed);
  }
}

void ReleaseSRWLockExclusive(SRWLOCK* lock) {
  std::atomic_ref<uint32_t> state(lock->state);
  state.store(kFree, std::memory_order_release);
  state.notify_one();
}

DWORD GetEnvironmentVariableW(const WCHAR* name, WCHAR* value, DWORD capacity_chars) {
  if (pal::MustFail("GetEnvironmentVariableW")) {
    return pal::FailWith(ERROR_ENVVAR_NOT_FOUND, DWORD{0});
  }
  if (name == nullptr || (value == nullptr && capacity_chars != 0)) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  return pal::Guarded(DWORD{0}, [&] {
    const char* found = FindVariable(base::ToUtf8(name));
    if (found == nullptr) {
      return pal::FailWith(ERROR_ENVVAR_NOT_FOUND, DWORD{0});
    }
    const std::u16string text = base::ToUtf16(found);
    if (text.size() >= capacity_chars) {
      return static_cast<DWORD>(text.size() + 1);
    }
    std::copy_n(text.c_str(), text.size() + 1, value);
    if (text.empty()) {
      SetLastError(ERROR_SUCCESS);
    }
    return static_cast<DWORD>(text.size());
  });
}

int GetLocaleInfoW(LCID locale, LCTYPE type, WCHAR* text, int capacity_chars) {
  if (pal::MustFail("GetLocaleInfoW")) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, 0);
  }
  if (locale != 0 || type != LOCALE_SISO639LANGNAME || capacity_chars < 0 ||
      (capacity_chars > 0 && text == nullptr)) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, 0);
  }
  const std::string_view language = UserLanguage();
  const int needed_chars = static_cast<int>(language.size()) + 1;
  if (capacity_chars == 0) {
    return needed_chars;
  }
  if (capacity_chars < needed_chars) {
    return pal::FailWith(ERROR_INSUFFICIENT_BUFFER, 0);
  }
  *std::copy(language.begin(), language.end(), text) = 0;
  return needed_chars;
}
