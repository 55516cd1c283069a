// The registry calls and the spooler over a registry file.

#include <gtest/gtest.h>

#include "tests/pal/pal_fixture.h"

namespace {

constexpr char kRegistry[] = R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Office]
"Port"="IP_10.0.0.5"

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Office\PrinterDriverData]
"DebugTraceEnable"=dword:00000001
"One"="1"
"Two"="22"
"Short"=hex:2a
@="unnamed"

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\No port]

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Number]
"Port"=dword:00000001
)";
constexpr char16_t kOffice[] = u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Office";

class RegistryTest : public PalTest {
 protected:
  void SetUp() override {
    PalTest::SetUp();
    WriteRegistry(kRegistry);
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOffice, 0, KEY_READ, &office_), 0);
    ASSERT_EQ(RegOpenKeyExW(office_, u"printerdriverdata", 0, KEY_READ, &data_), 0);
  }
  void TearDown() override {
    EXPECT_EQ(RegCloseKey(data_), 0);
    EXPECT_EQ(RegCloseKey(office_), 0);
    PalTest::TearDown();
  }

  HKEY office_ = nullptr;
  HKEY data_ = nullptr;
};

// Reads as the trace reads its switch.
LSTATUS ReadSwitch(HKEY key, const WCHAR* name, DWORD* value, DWORD* type, DWORD* size) {
  *value = 0xFFFFFFFF;
  *size = sizeof(*value);
  return RegQueryValueExW(key, name, nullptr, type, reinterpret_cast<BYTE*>(value), size);
}

TEST_F(RegistryTest, BytesAreReadWhateverTheirType) {
  const struct {
    const char16_t* name;
    LSTATUS code;
    DWORD value;
    DWORD type;
    DWORD size;
  } cases[] = {
      {u"DebugTraceEnable", 0, 1, REG_DWORD, 4},
      {u"debugtraceenable", 0, 1, REG_DWORD, 4},
      {u"One", 0, u'1', REG_SZ, 4},
      {u"Two", ERROR_MORE_DATA, 0xFFFFFFFF, REG_SZ, 6},
      {u"Short", 0, 0xFFFFFF2A, REG_BINARY, 1},
      {u"None", ERROR_FILE_NOT_FOUND, 0xFFFFFFFF, 42, 4},
  };
  for (const auto& c : cases) {
    DWORD value = 0;
    DWORD type = 42;
    DWORD size = 0;
    const std::string name(c.name, c.name + std::char_traits<char16_t>::length(c.name));
    EXPECT_EQ(ReadSwitch(data_, c.name, &value, &type, &size), c.code) << name;
    EXPECT_EQ(value, c.value) << name;
    EXPECT_EQ(type, c.type) << name;
    EXPECT_EQ(size, c.size) << name;
  }
}

TEST_F(RegistryTest, SizeAloneAndUnnamedValue) {
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(data_, u"Two", nullptr, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(RegQueryValueExW(data_, nullptr, nullptr, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 16u);
}

TEST_F(RegistryTest, EachOpenReadsAnew) {
  WriteRegistry("[HKEY_LOCAL_MACHINE\\New]\n");
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOffice, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"new", 0, KEY_READ, &key), 0);
  EXPECT_EQ(RegCloseKey(key), 0);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(data_, u"Two", nullptr, nullptr, nullptr, &size), 0)
      << "open keys keep their values";
}

TEST_F(RegistryTest, RefusesWhatItDoesNotOffer) {
  HKEY key = nullptr;
  DWORD reserved = 0;
  BYTE byte = 0;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOffice, 0, KEY_READ | 2, &key), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOffice, 1, KEY_READ, &key), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegOpenKeyExW(nullptr, kOffice, 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegQueryValueExW(data_, u"One", &reserved, nullptr, nullptr, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegQueryValueExW(data_, u"One", nullptr, nullptr, &byte, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
  EXPECT_EQ(key, nullptr);
}

TEST_F(RegistryTest, ClosedAndForeignHandlesAreInvalid) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kOffice, 0, KEY_READ, &key), 0);
  ASSERT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(CloseHandle(data_));
  EXPECT_FALSE(ClosePrinter(data_));
}

class SpoolerTest : public PalTest {
 protected:
  void SetUp() override {
    PalTest::SetUp();
    WriteRegistry(kRegistry);
  }
};

HANDLE Open(std::u16string name) {
  HANDLE printer = nullptr;
  EXPECT_TRUE(OpenPrinterW(name.data(), &printer, nullptr)) << GetLastError();
  return printer;
}

TEST_F(SpoolerTest, AnswersInTwoSteps) {
  const HANDLE printer = Open(u"Office");
  DWORD needed = 0;
  EXPECT_FALSE(GetPrinterW(printer, 2, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  ASSERT_GT(needed, sizeof(PRINTER_INFO_2W));

  // A block of just that size, so that a byte too many is seen by the address sanitizer.
  const auto info = static_cast<BYTE*>(GlobalAlloc(GPTR, needed));
  DWORD needed_again = 0;
  EXPECT_FALSE(GetPrinterW(printer, 2, info, needed - 1, &needed_again));
  EXPECT_EQ(needed_again, needed);
  ASSERT_TRUE(GetPrinterW(printer, 2, info, needed, &needed_again));
  const auto* queue = reinterpret_cast<const PRINTER_INFO_2W*>(info);
  EXPECT_EQ(std::u16string(queue->pPrinterName), u"Office");
  EXPECT_EQ(std::u16string(queue->pPortName), u"IP_10.0.0.5");
  EXPECT_EQ(queue->pDriverName, nullptr);
  GlobalFree(info);
  EXPECT_TRUE(ClosePrinter(printer));
  EXPECT_FALSE(ClosePrinter(printer));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(SpoolerTest, QueueWithoutAPortText) {
  for (const char16_t* name : {u"No port", u"Number"}) {
    const HANDLE printer = Open(name);
    alignas(PRINTER_INFO_2W) BYTE info[512];
    DWORD needed = 0;
    ASSERT_TRUE(GetPrinterW(printer, 2, info, sizeof(info), &needed));
    EXPECT_EQ(reinterpret_cast<const PRINTER_INFO_2W*>(info)->pPortName, nullptr);
    EXPECT_TRUE(ClosePrinter(printer));
  }
}

TEST_F(SpoolerTest, OnlyQueuesCanBeOpened) {
  for (std::u16string name :
       {u"None", u"", u"Office\\PrinterDriverData", u"\\\\server\\Office", u"..", u"Office\\"}) {
    HANDLE printer = nullptr;
    EXPECT_FALSE(OpenPrinterW(name.data(), &printer, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PRINTER_NAME});
    EXPECT_EQ(printer, nullptr);
  }
}

TEST_F(SpoolerTest, RefusesWhatItDoesNotOffer) {
  const HANDLE printer = Open(u"oFFICE");
  DWORD needed = 0;
  EXPECT_FALSE(GetPrinterW(printer, 1, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
  EXPECT_FALSE(GetPrinterW(INVALID_HANDLE_VALUE, 2, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_TRUE(ClosePrinter(printer));

  PRINTER_DEFAULTSW defaults{};
  HANDLE other = nullptr;
  std::u16string name = u"Office";
  EXPECT_FALSE(OpenPrinterW(name.data(), &other, &defaults));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
