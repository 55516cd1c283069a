#include "tests/platform/platform_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#ifndef _WIN32
#include "pal/test_hooks.h"
#endif

namespace custom_bidi {

namespace fs = std::filesystem;

#ifdef _WIN32

WString PlatformPath(const fs::path& path) {
  WString text = fs::absolute(path).wstring();
  std::replace(text.begin(), text.end(), L'/', L'\\');
  return text;
}

void SetVariable(const std::string& name, const char* value) {
  SetEnvironmentVariableA(name.c_str(), value);
}

bool IsWine() {
  return GetProcAddress(GetModuleHandleW(W("ntdll.dll")), "wine_get_version") != nullptr;
}

#else

WString PlatformPath(const fs::path& path) {
  WString text = u"Z:" + fs::absolute(path).u16string();
  std::replace(text.begin(), text.end(), u'/', u'\\');
  return text;
}

void SetVariable(const std::string& name, const char* value) {
  if (value)
    setenv(name.c_str(), value, 1);
  else
    unsetenv(name.c_str());
}

bool IsWine() {
  return false;
}

#endif

std::string ToUtf8(WStringView text) {
  const auto utf8 = fs::path(std::u16string(text.begin(), text.end())).u8string();
  return {utf8.begin(), utf8.end()};
}

void PlatformTest::SetUp() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  folder_ =
      fs::current_path() / "platform_tests.tmp" / (std::string(test->test_suite_name()) + '.' + test->name());
  fs::remove_all(folder_);
  fs::create_directories(folder_);
}

void PlatformTest::TearDown() {
  // As far as it goes: Windows holds on to a library that it has just refused.
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
#ifndef _WIN32
  EXPECT_EQ(pal::LiveObjects(), 0) << pal::DescribeLiveObjects();
#endif
}

fs::path PlatformTest::WriteFileIn(std::string_view name, std::string_view content) {
  const fs::path path = folder_ / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

}  // namespace custom_bidi
