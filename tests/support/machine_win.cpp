#include <gtest/gtest.h>

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
  EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened,
                            nullptr),
            0);
  EXPECT_EQ(RegSetValueExW(opened, ToWide(name).c_str(), 0, value.type,
                           reinterpret_cast<const BYTE*>(value.bytes.data()),
                           static_cast<DWORD>(value.bytes.size())),
            0);
  RegCloseKey(opened);
}

void RemoveQueueKey(const std::string& queue) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, KeyOf(queue).c_str());
}

void SetVariable(const std::string& name, const std::string& value) {
  SetEnvironmentVariableW(ToWide(name).c_str(), ToWide(value).c_str());
}

std::string LeftOpen() {
  std::string loaded;
  for (const char* name : {"vexmoixo", "vexmobixo32", "vexmobixo64", "vexmoixodm", "vexmobixodm32",
                           "vexmobixodm64", "vexmobixocert", "vexmobixocert32", "vexmobixocert64"}) {
    loaded += GetModuleHandleW(ToWide(name).c_str()) != nullptr ? name : "";
  }
  return loaded;
}

long CountOpenHandles() {
  // Wine does not tell the count. Handles are small multiples of 4, the lowest free one first.
  constexpr uintptr_t kHighest = 0x10000;
  long count = 0;
  for (uintptr_t value = 4; value <= kHighest; value += 4) {
    DWORD flags = 0;
    count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0;
  }
  return count;
}

}  // namespace custom_bidi_test
