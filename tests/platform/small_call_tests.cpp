// The smaller calls: files, texts and values, environment, error texts, registry, lock, last error.

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <tuple>

#include "src/xml/ccixml.h"
#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

using SmallCall = PlatformTest;
constexpr DWORD kInvalidHandle = ERROR_INVALID_HANDLE;

HANDLE Open(const std::filesystem::path& path, DWORD disposition) {
  return CreateFileW(PlatformPath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

TEST_F(SmallCall, FailedOpensSayWhy) {
  const std::tuple<std::filesystem::path, DWORD, DWORD> cases[] = {
      {folder_ / "none", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {folder_ / "none" / "file", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
      {folder_ / "none" / "file", CREATE_NEW, ERROR_PATH_NOT_FOUND},
      {WriteFileIn("file", ""), CREATE_NEW, ERROR_FILE_EXISTS},
      {folder_, OPEN_EXISTING, ERROR_ACCESS_DENIED},
  };
  for (const auto& [path, disposition, code] : cases) {
    HANDLE handle = nullptr;
    EXPECT_EQ(LastErrorOf([&] { handle = Open(path, disposition); }), code) << path << " " << disposition;
    EXPECT_EQ(handle, INVALID_HANDLE_VALUE);
  }
}

TEST_F(SmallCall, ClosedHandleIsInvalid) {
  const HANDLE file = Open(folder_ / "log", CREATE_NEW);
  ASSERT_TRUE(CloseHandle(file));
  DWORD written = 1;
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr)); }), kInvalidHandle);
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(CloseHandle(file)); }), kInvalidHandle);
  EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_END), ~DWORD{0}); }),
            kInvalidHandle);
}

TEST_F(SmallCall, LengthStandsInFrontOfATextAndNullIsAnEmptyOne) {
  const Bstr text(SysAllocStringLen(W("a\0b"), 3));
  UINT bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text.Get()) - 4, 4);
  EXPECT_EQ(bytes, 6u);
  EXPECT_EQ(SysStringLen(text.Get()), 3u);
  EXPECT_EQ(WString(text.Get() + 2), W("b"));
  EXPECT_EQ(SysStringLen(Bstr(SysAllocString(W("a\0b"))).Get()), 1u);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST_F(SmallCall, ClearMakesAVariantEmpty) {
  VARIANT variant;
  VariantInit(&variant);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  for (const VARTYPE type : std::initializer_list<VARTYPE>{VT_BSTR, VT_NULL, VT_I2, VT_I4, VT_R8, VT_DATE,
                                                           VT_BOOL, VT_I1, VT_UI1, VT_UI4, VT_UI8}) {
    variant.vt = type;
    variant.bstrVal = type == VT_BSTR ? SysAllocString(W("text")) : reinterpret_cast<BSTR>(-1);
    EXPECT_EQ(VariantClear(&variant), S_OK) << type;
    EXPECT_EQ(variant.vt, VT_EMPTY) << type;
  }
  variant.vt = 0x0FFF;
  EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE);
  EXPECT_EQ(variant.vt, 0x0FFF);
}

TEST_F(SmallCall, EnvironmentVariable) {
  WCHAR value[16] = {W('#')};
  const auto get = [&](DWORD capacity) {
    return GetEnvironmentVariableW(W("CUSTOMBIDI_TEST_VARIABLE"), value, capacity);
  };
  EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(get(16), 0u); }), DWORD{ERROR_ENVVAR_NOT_FOUND});
#ifdef _WIN32
  SetEnvironmentVariableA("CUSTOMBIDI_TEST_VARIABLE", "text");
#else
  setenv("CUSTOMBIDI_TEST_VARIABLE", "text", 1);
#endif
  EXPECT_EQ(get(5), 4u) << "just fits";
  EXPECT_EQ(ToUtf8(value), "text");
  EXPECT_EQ(get(4), 5u) << "the capacity that is needed";
  EXPECT_EQ(get(0), 5u);
  EXPECT_NE(GetEnvironmentVariableW(W("PROCESSOR_ARCHITECTURE"), value, 16), 0u);
}

/// Asks for a text as the trace does.
WString TextOf(DWORD code) {
  WCHAR* allocated = nullptr;
  SetLastError(kPoison);
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                      code, 0x400, reinterpret_cast<WCHAR*>(&allocated), 0, nullptr);
  const WString text = allocated != nullptr ? allocated : W("");
  EXPECT_EQ(LocalFree(allocated), nullptr);
  EXPECT_EQ(text.size(), length);
  return text;
}

TEST_F(SmallCall, ErrorTextsEndTheirLine) {
  for (const DWORD code :
       {1u,    2u,    3u,    4u,    5u,    6u,    8u,    13u,   14u,   29u,    31u,         50u,
        80u,   87u,   112u,  122u,  123u,  126u,  127u,  203u,  206u,  223u,   1062u,       1168u,
        1169u, 1225u, 1232u, 1236u, 1312u, 1460u, 1801u, 6000u, 6001u, 11001u, 0x80004005u, 0x8009310Bu}) {
    const WString text = TextOf(code);
    if (text.empty() && IsWine() && (code == 223 || code == 6000 || code == 6001 || code == 0x8009310B)) {
      continue;  // Wine has no text for these
    }
    EXPECT_GT(text.size(), 2u) << code;
    EXPECT_TRUE(text.ends_with(W("\r\n"))) << code;
  }
  EXPECT_EQ(ToUtf8(TextOf(0x80070000 | ERROR_NOT_FOUND)), ToUtf8(TextOf(ERROR_NOT_FOUND)));
  // No text, and one with a place in it.
  EXPECT_EQ(TextOf(0x2000ABCD).size(), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MR_MID_NOT_FOUND});
  EXPECT_EQ(TextOf(ERROR_BAD_EXE_FORMAT).size(), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(SmallCall, WhatTheRegistryDoesNotHave) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, W("SYSTEM\\No such key\\PrinterDriverData"), 0, KEY_READ, &key),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, nullptr);
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), ERROR_SUCCESS);
  DWORD value = kPoison;
  DWORD size = sizeof(value);
  EXPECT_EQ(
      RegQueryValueExW(key, W("No such value"), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size),
      ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(value, kPoison);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(SmallCall, LockIsHeldByOneThreadAtATime) {
  SRWLOCK lock = SRWLOCK_INIT;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 20000; ++i) {
      AcquireSRWLockExclusive(&lock);
      ++counter;
      ReleaseSRWLockExclusive(&lock);
    }
  };
  AcquireSRWLockExclusive(&lock);
  std::thread first(count);
  std::thread second(count);
  // Long enough that they no longer spin. Without the wake, the joins never return.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ReleaseSRWLockExclusive(&lock);
  first.join();
  second.join();
  EXPECT_EQ(counter, 40000);
}

TEST_F(SmallCall, LastErrorIsTheThreadsOwn) {
  std::atomic<int> turn{0};  // starting and joining a thread may set it
  std::thread other([&] {
    SetLastError(7);
    for (turn = 1; turn != 2;) {
      std::this_thread::yield();
    }
    EXPECT_EQ(GetLastError(), 7u);
  });
  while (turn != 1) {
    std::this_thread::yield();
  }
  SetLastError(5);
  turn = 2;
  other.join();
}

}  // namespace
}  // namespace custom_bidi
