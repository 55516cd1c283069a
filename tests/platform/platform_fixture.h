#pragma once

/// What the tests of the platform share, in both lanes: whatever they state holds on Windows, and so must
/// hold for the stand-in.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "src/platform.h"
#ifndef _WIN32
#include "pal/test_hooks.h"
#endif

namespace custom_bidi {

/// What stands in the last error before a call, and after one that has nothing to say.
inline constexpr DWORD kPoison = 0xDEADBEEF;

template <class Call>
DWORD LastErrorOf(Call&& call) {
  SetLastError(kPoison);
  call();
  return GetLastError();
}

/// A path as Windows writes it.
inline WString PlatformPath(const std::filesystem::path& path) {
  const std::filesystem::path whole = std::filesystem::absolute(path);
  const std::u16string text = (whole.has_root_name() ? u"" : u"Z:") + whole.u16string();
  WString windows(text.begin(), text.end());
  std::ranges::replace(windows, W('/'), W('\\'));
  return windows;
}

inline std::string ToUtf8(WStringView text) {
  const auto utf8 = std::filesystem::path(std::u16string(text.begin(), text.end())).u8string();
  return {utf8.begin(), utf8.end()};
}

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// True in the windows lane when it runs under Wine, some of whose answers are known to differ.
inline bool IsWine() {
  const HMODULE system = LoadLibraryW(W("ntdll.dll"));
  return system != nullptr && GetProcAddress(system, "wine_get_version") != nullptr;
}

/// Every test has an empty folder of its own, and must give back all that it acquired.
class PlatformTest : public ::testing::Test {
 protected:
  PlatformTest() {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  ~PlatformTest() override {
    // As far as it goes: Windows holds on to a library that it has just refused.
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
#ifndef _WIN32
    EXPECT_EQ(pal::LiveObjects(), 0) << pal::DescribeLiveObjects();
#endif
  }

  std::filesystem::path WriteFileIn(std::string_view name, std::string_view content) {
    const std::filesystem::path path = folder_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  const testing::TestInfo& info_ = *testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path folder_ =
      std::filesystem::current_path() / "fixture.tmp" / info_.test_suite_name() / info_.name();
};

}  // namespace custom_bidi
