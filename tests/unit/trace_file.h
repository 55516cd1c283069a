#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "src/trace/trace_log.h"

namespace custom_bidi::test {

/// Runs code with the trace on and reads the file that it wrote. The registry has no part in it.
class TraceFileTest : public testing::Test {
 protected:
  void SetUp() override {
    const char* const home = std::getenv("CUSTOMBIDI_HOME");
    const std::filesystem::path drive = home != nullptr ? std::filesystem::path(home) / "drive_c" : "C:\\";
    folder_is_ours_ = std::filesystem::create_directories(drive / "temp");
    file_ = drive / "temp" / "CustomBidi.log";
  }

  void TearDown() override {
    std::filesystem::remove(file_);
    if (folder_is_ours_)
      std::filesystem::remove(file_.parent_path());
  }

  /// What the trace says about `body`.
  template <class Body>
  WString TextOf(Body&& body) {
    std::filesystem::remove(file_);
    {
      const TraceShare share;
      EXPECT_TRUE(OpenTraceFile());
      trace_internal::g_switch = true;
      body();
      trace_internal::g_switch = false;
    }
    std::ifstream file(file_, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(bytes.size() % 2, 0u);
    WString text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      const auto low = static_cast<uint8_t>(bytes[i]);
      const auto high = static_cast<uint8_t>(bytes[i + 1]);
      text.push_back(static_cast<WCHAR>(high << 8 | low));
    }
    return text;
  }

  static constexpr size_t kStampChars = 16;  // [09:05:03.007] and two blanks

  /// The message of a text that is one line, without stamp and line end.
  static WString MessageOf(const WString& line) {
    EXPECT_GE(line.size(), kStampChars + 2);
    if (line.size() < kStampChars + 2)
      return {};
    EXPECT_EQ(line.substr(line.size() - 2), W("\r\n"));
    return line.substr(kStampChars, line.size() - kStampChars - 2);
  }

 private:
  std::filesystem::path file_;
  bool folder_is_ours_ = false;
};

}  // namespace custom_bidi::test
