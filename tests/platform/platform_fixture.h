#pragma once

/// What the tests of the platform share, in both lanes: whatever they state holds on Windows, and so must
/// hold for the stand-in.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "src/platform.h"

namespace custom_bidi {

inline constexpr DWORD kPoison = 0xDEADBEEF;

/// Calls and reads the last error, which was poisoned before.
template <class Call>
DWORD LastErrorOf(Call&& call) {
  SetLastError(kPoison);
  call();
  return GetLastError();
}

/// What a call must leave in the last error when it has nothing to say about it.
inline constexpr DWORD kUntouched = kPoison;

/// A path as Windows writes it.
WString PlatformPath(const std::filesystem::path& path);
std::string ToUtf8(WStringView text);
/// Sets a variable of the process; null removes it.
void SetVariable(const std::string& name, const char* value);
/// True in the windows lane when it runs under Wine, some of whose answers are known to differ.
bool IsWine();

/// Every test has an empty folder of its own, and must give back all that it acquired.
class PlatformTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::filesystem::path WriteFileIn(std::string_view name, std::string_view content);

  std::filesystem::path folder_;
};

/// Owns a COM object.
template <class T>
class Owned {
 public:
  Owned() = default;
  ~Owned() { Reset(); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  T** Put() {
    Reset();
    return &object_;
  }
  T* operator->() const { return object_; }
  T* Get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  void Reset() {
    if (object_)
      object_->Release();
    object_ = nullptr;
  }

 private:
  T* object_ = nullptr;
};

/// Owns a BSTR.
class Text {
 public:
  Text() = default;
  explicit Text(WStringView text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  BSTR Get() const { return text_; }
  BSTR* Put() {
    SysFreeString(text_);
    text_ = nullptr;
    return &text_;
  }
  std::string Utf8() const { return text_ ? ToUtf8({text_, SysStringLen(text_)}) : "(null)"; }

 private:
  BSTR text_ = nullptr;
};

}  // namespace custom_bidi
