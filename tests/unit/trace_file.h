#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

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
    if (folder_is_ours_) {
      std::filesystem::remove(file_.parent_path());
    }
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
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(bytes.size() % 2, 0u);
    WString text(bytes.size() / 2, 0);
    bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * 2);
    return text;
  }

  static constexpr size_t kStampChars = 16;  // [09:05:03.007] and two blanks

  /// The one line's message that the trace has about `body`, without stamp and line end.
  template <class Body>
  WString MessageOf(Body&& body) {
    const WString line = TextOf(body);
    EXPECT_TRUE(line.size() >= kStampChars && line.ends_with(W("\r\n")));
    return line.substr(std::min(kStampChars, line.size()), line.size() - kStampChars - 2);
  }

  std::filesystem::path file_;

 private:
  bool folder_is_ours_ = false;
};

}  // namespace custom_bidi::test
