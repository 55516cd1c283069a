// The smaller calls: environment, error texts, locale, memory, clock, registry, spooler, lock.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

class SystemTest : public PlatformTest {
 protected:
  void TearDown() override {
    SetVariable(kVariable, nullptr);
    PlatformTest::TearDown();
  }
  static constexpr char kVariable[] = "CUSTOMBIDI_TEST_VARIABLE";
};

const WCHAR* const kVariableName = W("CUSTOMBIDI_TEST_VARIABLE");

TEST_F(SystemTest, EnvironmentVariable) {
  WCHAR value[16] = {W('#')};
  const auto get = [&](DWORD capacity) {
    SetLastError(kPoison);
    return GetEnvironmentVariableW(kVariableName, value, capacity);
  };
  EXPECT_EQ(get(16), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ENVVAR_NOT_FOUND});

  SetVariable(kVariable, "text");
  EXPECT_EQ(get(16), 4u);
  EXPECT_EQ(ToUtf8(value), "text");
  EXPECT_EQ(get(5), 4u) << "just fits";
  EXPECT_EQ(get(4), 5u) << "the capacity that is needed";
  EXPECT_EQ(get(0), 5u);
}

TEST_F(SystemTest, MachineIsNamedInTheEnvironment) {
  WCHAR value[16];
  EXPECT_NE(GetEnvironmentVariableW(W("PROCESSOR_ARCHITECTURE"), value, 16), 0u);
}

// Asks for a text as the trace does.
DWORD TextOf(DWORD code, WString* text) {
  WCHAR* allocated = nullptr;
  SetLastError(kPoison);
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                      code, 0x400, reinterpret_cast<WCHAR*>(&allocated), 0, nullptr);
  if (allocated)
    text->assign(allocated);
  EXPECT_EQ(LocalFree(allocated), nullptr);
  EXPECT_EQ(text->size(), length);
  return length;
}

TEST_F(SystemTest, ErrorTextsEndTheirLine) {
  for (const int code : {1, 2, 3, 5, 6, 8, 13, 14, 29, 31, 87, 122, 126, 127, 203, 206, 1168, 1169, 1801}) {
    WString text;
    ASSERT_GT(TextOf(static_cast<DWORD>(code), &text), 2u) << code;
    EXPECT_EQ(ToUtf8(WStringView(text).substr(text.size() - 2)), "\r\n") << code;
  }
}

TEST_F(SystemTest, CodeWithoutText) {
  WString text;
  EXPECT_EQ(TextOf(0x2000ABCD, &text), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MR_MID_NOT_FOUND});
}

TEST_F(SystemTest, TextWithPlaceForAnArgument) {
  WString text;
  EXPECT_EQ(TextOf(ERROR_BAD_EXE_FORMAT, &text), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(SystemTest, LanguageName) {
  WCHAR name[522] = {};
  const int length = GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, name, 522);
  EXPECT_GE(length, 3);
  EXPECT_EQ(WStringView(name).size() + 1, static_cast<size_t>(length));
  EXPECT_EQ(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, nullptr, 0), length);
  EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, name, 2), 0); }),
            DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(SystemTest, BlocksAreZeroed) {
  const auto* block = static_cast<const BYTE*>(GlobalAlloc(GPTR, 1000));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::count(block, block + 1000, 0), 1000);
  EXPECT_EQ(GlobalFree(const_cast<BYTE*>(block)), nullptr);
}

TEST_F(SystemTest, LocalTimeIsTheClocks) {
  SYSTEMTIME time{};
  const auto before = std::chrono::system_clock::now();
  GetLocalTime(&time);
  const auto after = std::chrono::system_clock::now();
  // The second of the minute is the same in every zone of today.
  const auto second_of = [](auto point) {
    return std::chrono::duration_cast<std::chrono::seconds>(point.time_since_epoch()).count() % 60;
  };
  EXPECT_TRUE(time.wSecond == second_of(before) || time.wSecond == second_of(after)) << time.wSecond;
  EXPECT_LT(time.wMilliseconds, 1000);
  EXPECT_GE(time.wYear, 2024);
}

TEST_F(SystemTest, MissingRegistryKey) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(
                HKEY_LOCAL_MACHINE,
                W("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\No such queue\\PrinterDriverData"), 0,
                KEY_READ, &key),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, nullptr);
}

TEST_F(SystemTest, MissingRegistryValue) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), ERROR_SUCCESS);
  DWORD value = 0xFFFFFFFF;
  DWORD size = sizeof(value);
  EXPECT_EQ(
      RegQueryValueExW(key, W("No such value"), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size),
      ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(value, 0xFFFFFFFF);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(SystemTest, UnknownQueue) {
  HANDLE printer = nullptr;
  WCHAR name[] = W("No such queue");
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(OpenPrinterW(name, &printer, nullptr)); }),
            DWORD{ERROR_INVALID_PRINTER_NAME});
  EXPECT_EQ(printer, nullptr);
}

TEST_F(SystemTest, LockIsHeldByOneThreadAtATime) {
  static SRWLOCK lock = SRWLOCK_INIT;
  int counter = 0;
  const auto count = [&counter] {
    for (int i = 0; i < 20000; ++i) {
      AcquireSRWLockExclusive(&lock);
      ++counter;
      ReleaseSRWLockExclusive(&lock);
    }
  };
  std::thread first(count);
  std::thread second(count);
  count();
  first.join();
  second.join();
  EXPECT_EQ(counter, 60000);
}

TEST_F(SystemTest, ReleaseWakesAWaiter) {
  SRWLOCK lock = SRWLOCK_INIT;
  AcquireSRWLockExclusive(&lock);
  std::thread waiter([&lock] {
    AcquireSRWLockExclusive(&lock);
    ReleaseSRWLockExclusive(&lock);
  });
  // Long enough that it no longer spins. Without the wake, the join never returns.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ReleaseSRWLockExclusive(&lock);
  waiter.join();
}

TEST_F(SystemTest, LastErrorIsTheThreadsOwn) {
  std::atomic<int> turn{0};
  const auto wait_for = [&turn](int wanted) {
    while (turn != wanted)
      std::this_thread::yield();
  };
  std::thread other([&] {
    SetLastError(7);
    turn = 1;
    wait_for(2);
    EXPECT_EQ(GetLastError(), 7u);
    SetLastError(8);
    turn = 3;
  });
  wait_for(1);
  SetLastError(5);
  turn = 2;
  wait_for(3);
  EXPECT_EQ(GetLastError(), 5u);
  other.join();
}

}  // namespace
}  // namespace custom_bidi
