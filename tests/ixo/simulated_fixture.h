#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>

#include "src/platform.h"

namespace custom_bidi::simulated {

/// ASCII only.
inline WString Wide(std::string_view ascii) {
  return WString(ascii.begin(), ascii.end());
}

inline std::string Narrow(WStringView text) {
  return std::string(text.begin(), text.end());
}

/// In the form of Windows in both lanes.
inline WString ExecutablePath() {
  WString path(1024, WCHAR());
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

/// The folder of the test's executable, where the libraries and printer.json lie.
inline std::filesystem::path TestFolder() {
  if constexpr (std::is_same_v<std::filesystem::path::value_type, WCHAR>) {
    return std::filesystem::path(ExecutablePath()).parent_path();
  } else {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
  }
}

inline std::string ReadTestFile(const std::string& name) {
  std::ifstream file(TestFolder() / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteTestFile(const std::string& name, std::string_view content) {
  std::ofstream file(TestFolder() / name, std::ios::binary);
  file << content;
  ASSERT_TRUE(file.flush());
}

}  // namespace custom_bidi::simulated
