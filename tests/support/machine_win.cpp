#include <stdexcept>

#include "tests/support/machine.h"

namespace custom_bidi_test {
namespace {

WString KeyOf(const std::string& queue) {
  return W("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\") + ToWide(queue);
}

}  // namespace

std::filesystem::path ProgramPath() {
  WCHAR path[1024];
  const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
  return std::wstring(path, length);
}

void SetDriverValue(const std::string& queue, const std::string& name, const RegistryBytes& value) {
  const WString key = KeyOf(queue) + W("\\PrinterDriverData");
  HKEY opened = nullptr;
  LSTATUS code = RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                                 &opened, nullptr);
  if (code == ERROR_SUCCESS) {
    code = RegSetValueExW(opened, ToWide(name).c_str(), 0, value.type,
                          reinterpret_cast<const BYTE*>(value.bytes.data()),
                          static_cast<DWORD>(value.bytes.size()));
    RegCloseKey(opened);
  }
  if (code != ERROR_SUCCESS)
    throw std::runtime_error("the registry cannot be changed: " + std::to_string(code));
}

void RemoveQueueKey(const std::string& queue) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, KeyOf(queue).c_str());
}

void SetVariable(const std::string& name, const std::optional<std::string>& value) {
  SetEnvironmentVariableW(ToWide(name).c_str(), value ? ToWide(*value).c_str() : nullptr);
}

void HideProcessor() {
  SetVariable("PROCESSOR_ARCHITECTURE", std::nullopt);
}

std::string LeftOpen() {
  std::string loaded;
  for (const char* name : {"vexmoixo", "vexmobixo32", "vexmobixo64", "vexmoixodm", "vexmobixodm32",
                           "vexmobixodm64", "vexmobixocert", "vexmobixocert32", "vexmobixocert64"}) {
    if (GetModuleHandleW(ToWide(std::string(name) + ".dll").c_str()))
      loaded += std::string(name) + " is loaded; ";
  }
  return loaded;
}

long CountOpenHandles() {
  // Wine does not tell the count. Handles are small multiples of 4, the lowest free one first.
  constexpr uintptr_t kHighest = 0x10000;
  long count = 0;
  for (uintptr_t value = 4; value <= kHighest; value += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags))
      ++count;
  }
  return count;
}

}  // namespace custom_bidi_test
