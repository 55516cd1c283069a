#pragma once

#include <cstdlib>
#include <optional>
#include <vector>

#include "base/utf.h"
#include "tests/platform/platform_fixture.h"

/// Sets a variable of the process, or removes it when the value is null, and puts the former value back.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, const char* value) : name_(std::move(name)) {
    const char* const former = std::getenv(name_.c_str());
    former_ = former != nullptr ? std::optional<std::string>(former) : std::nullopt;
    Set(value);
  }
  ~ScopedVariable() { Set(former_ ? former_->c_str() : nullptr); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  void Set(const char* value) {
    value != nullptr ? setenv(name_.c_str(), value, 1) : unsetenv(name_.c_str());
  }

  std::string name_;
  std::optional<std::string> former_;
};

/// The queue's port, "no port", or "error" with the code.
inline std::string PortOfQueue(std::u16string queue) {
  HANDLE printer = INVALID_HANDLE_VALUE;
  DWORD needed = 0;
  if (!OpenPrinterW(queue.data(), &printer, nullptr)) {
    return printer != nullptr ? "a handle in spite of an error" : "error " + std::to_string(GetLastError());
  }
  EXPECT_FALSE(GetPrinterW(printer, 2, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  // A block of just that size, so that a byte too many is seen by the address sanitizer.
  const auto block = static_cast<BYTE*>(GlobalAlloc(GPTR, needed));
  EXPECT_FALSE(GetPrinterW(printer, 2, block, needed - 1, &needed));
  EXPECT_TRUE(GetPrinterW(printer, 2, block, needed, &needed));
  const auto* const info = reinterpret_cast<const PRINTER_INFO_2W*>(block);
  EXPECT_EQ(std::u16string(info->pPrinterName), queue);
  const std::string port = info->pPortName != nullptr ? base::ToUtf8(info->pPortName) : "no port";
  GlobalFree(block);
  EXPECT_FALSE(CloseHandle(printer)) << "a handle of another kind";
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_FALSE(ClosePrinter(printer));
  return port;
}

/// The folder of the test is its home.
class PalTest : public custom_bidi::PlatformTest {
 protected:
  void SetUp() override {
    PlatformTest::SetUp();
    home_variable_.emplace("CUSTOMBIDI_HOME", folder_.c_str());
  }
  void TearDown() override {
    home_variable_.reset();
    PlatformTest::TearDown();
  }

  const std::filesystem::path& home_ = folder_;

 private:
  std::optional<ScopedVariable> home_variable_;
};
