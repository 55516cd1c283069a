#include "pal/environment.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "pal/accounting.h"
#include "pal/guarded.h"
#include "pal/text.h"

namespace {

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
  if (const char* value = std::getenv(name.c_str()))
    return value;
  return name == "PROCESSOR_ARCHITECTURE" ? kMachine : nullptr;
}

}  // namespace

DWORD GetEnvironmentVariableW(const WCHAR* name, WCHAR* value, DWORD capacity_chars) {
  if (pal::MustFail("GetEnvironmentVariableW"))
    return pal::FailWith(ERROR_ENVVAR_NOT_FOUND, DWORD{0});
  if (!name || (!value && capacity_chars != 0))
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  return pal::Guarded(DWORD{0}, [&] {
    const char* found = FindVariable(pal::ToUtf8(name));
    if (!found)
      return pal::FailWith(ERROR_ENVVAR_NOT_FOUND, DWORD{0});
    const std::u16string text = pal::ToUtf16(found);
    if (text.size() >= capacity_chars)
      return static_cast<DWORD>(text.size() + 1);
    std::copy_n(text.c_str(), text.size() + 1, value);
    if (text.empty())
      SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(text.size());
  });
}
