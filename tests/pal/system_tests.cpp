// What the environment decides, and the arguments that are refused.

#include <fcntl.h>
#include <unistd.h>

#include "tests/pal/pal_fixture.h"

namespace {

using SystemTest = PalTest;

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE;

TEST_F(SystemTest, LanguageOfTheUser) {
  const struct {
    const char* all;
    const char* messages;
    const char* lang;
    const char16_t* language;
  } cases[] = {
      {nullptr, nullptr, nullptr, u"en"},
      {nullptr, nullptr, "de_DE.UTF-8", u"de"},
      {nullptr, "fr", "de_DE.UTF-8", u"fr"},
      {"pt_BR@x", "fr", "de", u"pt"},
      {"", "", "ja_JP", u"ja"},
      {"C", nullptr, "de", u"en"},
      {nullptr, nullptr, "C.UTF-8", u"en"},
      {nullptr, nullptr, "POSIX", u"en"},
      {nullptr, nullptr, "fil_PH", u"fil"},
      {nullptr, nullptr, "\xFF\xFF", u"en"},
  };
  for (const auto& c : cases) {
    const ScopedVariable all("LC_ALL", c.all);
    const ScopedVariable messages("LC_MESSAGES", c.messages);
    const ScopedVariable lang("LANG", c.lang);
    WCHAR name[8] = {};
    EXPECT_EQ(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, name, 8),
              static_cast<int>(std::char_traits<WCHAR>::length(c.language)) + 1);
    EXPECT_EQ(std::u16string(name), c.language) << (c.lang ? c.lang : "");
  }
}

TEST_F(SystemTest, TimeZoneIsReadAnew) {
  const auto minutes_in = [](const char* zone) {
    const ScopedVariable variable("TZ", zone);
    SYSTEMTIME time{};
    GetLocalTime(&time);
    return time.wHour * 60 + time.wMinute;
  };
  const int utc = minutes_in("UTC0");
  const int later = minutes_in("IST-5:30");
  const int difference = (later - utc + 24 * 60) % (24 * 60);
  EXPECT_TRUE(difference == 330 || difference == 331) << difference;
}

TEST_F(SystemTest, MachineUnlessTheEnvironmentSaysOtherwise) {
  WCHAR value[16];
  {
    const ScopedVariable none("PROCESSOR_ARCHITECTURE", nullptr);
    EXPECT_NE(GetEnvironmentVariableW(u"PROCESSOR_ARCHITECTURE", value, 16), 0u);
  }
  const ScopedVariable other("PROCESSOR_ARCHITECTURE", "x86");
  EXPECT_EQ(GetEnvironmentVariableW(u"PROCESSOR_ARCHITECTURE", value, 16), 3u);
  EXPECT_EQ(std::u16string(value), u"x86");
  const ScopedVariable empty("PROCESSOR_ARCHITECTURE", "");
  SetLastError(42);
  EXPECT_EQ(GetEnvironmentVariableW(u"PROCESSOR_ARCHITECTURE", value, 16), 0u);
  EXPECT_EQ(GetLastError(), 0u) << "empty is not missing";
}

TEST_F(SystemTest, DriveCIsInTheHome) {
  const auto open = [](DWORD disposition) {
    return CreateFileW(u"C:\\temp\\CustomBidi.log", kReadWrite, kShared, nullptr, disposition,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  };
  EXPECT_EQ(open(CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  std::filesystem::create_directories(home_ / "drive_c" / "temp");
  const HANDLE file = open(CREATE_NEW);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(std::filesystem::exists(home_ / "drive_c" / "temp" / "CustomBidi.log"));
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(SystemTest, FilesAreNotInherited) {
  const int lowest = dup(0);
  close(lowest);
  const std::u16string path = u"Z:" + WriteFileIn("file", "").u16string();
  const HANDLE file =
      CreateFileW(path.c_str(), kReadWrite, kShared, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(fcntl(lowest, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(SystemTest, RefusesWhatItDoesNotOffer) {
  const std::u16string path = u"Z:" + WriteFileIn("file", "").u16string();
  const struct {
    const char* name;
    DWORD access, share, disposition, attributes;
  } cases[] = {
      {"no access", 0, kShared, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL},
      {"other access", 1, kShared, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL},
      {"not shared", kReadWrite, 0, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL},
      {"open or create", kReadWrite, kShared, 4, FILE_ATTRIBUTE_NORMAL},
      {"delete on close", kReadWrite, kShared, OPEN_EXISTING, 0x04000000},
  };
  for (const auto& c : cases) {
    SetLastError(0);
    EXPECT_EQ(CreateFileW(path.c_str(), c.access, c.share, nullptr, c.disposition, c.attributes, nullptr),
              INVALID_HANDLE_VALUE)
        << c.name;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << c.name;
  }

  const HANDLE file =
      CreateFileW(path.c_str(), kReadWrite, kShared, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, 0), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(SetFilePointer(file, 1, nullptr, FILE_END), INVALID_SET_FILE_POINTER);
  EXPECT_TRUE(CloseHandle(file));

  EXPECT_EQ(GlobalAlloc(0, 1), nullptr);
  WCHAR* text = nullptr;
  EXPECT_EQ(FormatMessageW(0x1300, nullptr, 5, 0x400, reinterpret_cast<WCHAR*>(&text), 0, nullptr), 0u);
  EXPECT_EQ(FormatMessageW(0x1100, nullptr, 5, 0x407, reinterpret_cast<WCHAR*>(&text), 0, nullptr), 0u);
  EXPECT_EQ(text, nullptr);
  WCHAR name[4];
  EXPECT_EQ(GetLocaleInfoW(0x407, LOCALE_SISO639LANGNAME, name, 4), 0);
  EXPECT_EQ(GetLocaleInfoW(0, 1, name, 4), 0);
  EXPECT_EQ(CoInitializeEx(name, COINIT_MULTITHREADED), E_INVALIDARG);
  EXPECT_EQ(CoInitializeEx(nullptr, 4), E_INVALIDARG);
}

TEST_F(SystemTest, TooManyFiles) {
  const std::u16string path = u"Z:" + WriteFileIn("file", "").u16string();
  std::vector<HANDLE> files;
  for (;;) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, kShared, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
      break;
    files.push_back(file);
    ASSERT_LT(files.size(), 5000u);
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_TOO_MANY_OPEN_FILES});
  for (const HANDLE file : files)
    EXPECT_TRUE(CloseHandle(file));
}

}  // namespace
