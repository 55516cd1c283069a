// What the stand-in promises beyond what both systems do: paths, what the environment decides, files, and
// certificates and documents that mean harm.

#include <fcntl.h>
#include <openssl/err.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <tuple>

#include "base/files.h"
#include "base/utf.h"
#include "src/xml/ccixml.h"
#include "tests/pal/pal_fixture.h"

namespace {

using StandInTest = PalTest;

TEST_F(StandInTest, WindowsPathsAsPosixOnes) {
  const std::string home = folder_.string();
  const std::string here = std::filesystem::current_path().string();
  const std::tuple<std::u16string, DWORD, std::string> cases[] = {
      {u"Z:\\a\\b", 0, "/a/b"},
      {u"Z:\\", 0, "/"},
      {u"Z:", 0, "/"},
      {u"z:/a//ä\\\\..\\b\\.\\\U0001F600", 0, "/a/b/\U0001F600"},
      {u"c:/temp\\x.log", 0, home + "/drive_c/temp/x.log"},
      {u"C:\\..\\..\\x", 0, home + "/drive_c/x"},
      {u"\\a/b", 0, "/a/b"},
      {u".//a\\b", 0, here + "/a/b"},
      {u"", ERROR_PATH_NOT_FOUND, ""},
      {u"D:\\a", ERROR_PATH_NOT_FOUND, ""},
      {u"\\\\server\\share", ERROR_PATH_NOT_FOUND, ""},
      {u"Z:a", ERROR_INVALID_NAME, ""},
      {std::u16string(u"Z:\\") + char16_t{0xD83D}, ERROR_INVALID_NAME, ""},
  };
  for (const auto& [path, code, expected] : cases) {
    std::string posix_path;
    EXPECT_EQ(base::ToPosixPath(path, &posix_path), code) << base::ToUtf8(path);
    EXPECT_EQ(posix_path, expected) << base::ToUtf8(path);
  }
  EXPECT_EQ(base::ToWindowsPath("/a b/ä.txt"), u"Z:\\a b\\ä.txt");
  EXPECT_EQ(base::ToWindowsPath("/"), u"Z:\\");
}

TEST_F(StandInTest, HomeIsTheFirstOfThree) {
  SetVariable("CUSTOMBIDI_HOME", "own");
  EXPECT_EQ(base::HomeFolder(), "/dev/null/nowhere");
  SetVariable("CUSTOMBIDI_HOME", "/own/");
  SetVariable("XDG_DATA_HOME", "/data");
  SetVariable("HOME", "/user");
  EXPECT_EQ(base::HomeFolder(), "/own");
  SetVariable("CUSTOMBIDI_HOME", "");
  EXPECT_EQ(base::HomeFolder(), "/data/custom-bidi");
  SetVariable("XDG_DATA_HOME", "data");
  EXPECT_EQ(base::HomeFolder(), "/user/.local/share/custom-bidi");
  SetVariable("HOME", nullptr);
  EXPECT_NE(base::HomeFolder().find("/.local/share/custom-bidi"), std::string::npos);
}

TEST_F(StandInTest, LanguageOfTheUser) {
  // LC_ALL, LC_MESSAGES and LANG.
  const std::tuple<const char*, const char*, const char*, std::u16string_view> cases[] = {
      {nullptr, nullptr, nullptr, u"en"},   {nullptr, "fr", "de", u"fr"},
      {"pt_BR@x", "fr", "de", u"pt"},       {"", "", "ja_JP.UTF-8", u"ja"},
      {"C", nullptr, "de", u"en"},          {nullptr, nullptr, "POSIX", u"en"},
      {nullptr, nullptr, "fil_PH", u"fil"}, {nullptr, nullptr, "\xFF\xFF", u"en"},
  };
  for (const auto& [all, messages, lang, language] : cases) {
    SetVariable("LC_ALL", all);
    SetVariable("LC_MESSAGES", messages);
    SetVariable("LANG", lang);
    WCHAR name[8] = {};
    EXPECT_EQ(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, name, 8), static_cast<int>(language.size()) + 1);
    EXPECT_EQ(name, language) << base::ToUtf8(language);
  }
}

TEST_F(StandInTest, TimeZoneIsReadAnew) {
  const auto minutes_in = [this](const char* zone) {
    SetVariable("TZ", zone);
    SYSTEMTIME time{};
    GetLocalTime(&time);
    return time.wHour * 60 + time.wMinute;
  };
  const int utc = minutes_in("UTC0");
  const int difference = (minutes_in("IST-5:30") - utc + 24 * 60) % (24 * 60);
  EXPECT_TRUE(difference == 330 || difference == 331) << difference;
}

TEST_F(StandInTest, FilesAreNotInherited) {
  const int lowest = dup(0);
  close(lowest);
  const HANDLE file =
      CreateFileW((u"Z:" + WriteFileIn("file", "").u16string()).c_str(), GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(fcntl(lowest, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_TRUE(CloseHandle(file));
}

/// Run by the next test, in a copy of this program: it is called the same whatever becomes of its file.
TEST_F(StandInTest, DISABLED_FileGoes) {
  const std::string path = std::filesystem::read_symlink("/proc/self/exe");
  for (const char* what : {"as it is", "gone", "with another beside it"}) {
    WCHAR name[1024] = {};
    GetModuleFileNameW(nullptr, name, 1024);
    EXPECT_EQ(base::ToUtf8(name), base::ToUtf8(base::ToWindowsPath(path))) << what;
    if (!std::filesystem::remove(path)) {
      std::ofstream(path + " (deleted)") << "another";
    }
  }
}

TEST_F(StandInTest, ExecutableKeepsItsNameWhenItsFileGoes) {
  const std::string options =
      " --gtest_output= --gtest_also_run_disabled_tests --gtest_filter=*.DISABLED_FileGoes";
  for (const char* name : {"host (deleted)", "host"}) {
    const std::filesystem::path copy = folder_ / name;
    std::filesystem::copy_file("/proc/self/exe", copy);
    EXPECT_EQ(std::system(("'" + copy.string() + "'" + options).c_str()), 0) << name;
    EXPECT_FALSE(std::filesystem::exists(copy)) << "it did not run";
  }
}

/// Run by the next test, by a program with the rights of a user who is not the caller.
TEST(AnotherUsersRights, DISABLED_NoVariableCounts) {
  WCHAR name[16] = {};
  GetEnvironmentVariableW(u"PROCESSOR_ARCHITECTURE", name, 16);
  EXPECT_NE(base::ToUtf8(name), "x86");
  EXPECT_NE(base::HomeFolder(), "/own");
  _exit(HasFailure() ? 1 : 0);  // without the search for leaks, which such a program may not make
}

TEST_F(StandInTest, EnvironmentBelongsToTheCallerOfAPrivilegedProcess) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a program another user's rights";
  }
  const std::filesystem::path copy = folder_ / "privileged";
  std::filesystem::copy_file("/proc/self/exe", copy);
  ASSERT_TRUE(chown(copy.c_str(), 65534, 65534) == 0 && chmod(copy.c_str(), 04755) == 0);
  SetVariable("PROCESSOR_ARCHITECTURE", "x86");
  SetVariable("CUSTOMBIDI_HOME", "/own");
  const std::string options =  // it could write no results where its caller does
      " --gtest_output= --gtest_also_run_disabled_tests --gtest_filter=*.DISABLED_NoVariableCounts";
  EXPECT_EQ(std::system((copy.string() + options).c_str()), 0);
}

TEST_F(StandInTest, WhatIsWrittenIsOnesOwnAndReachedByNoLink) {
  const auto code_of = [this](const char* name) {
    const std::u16string path = u"Z:" + (folder_ / name).u16string();
    return custom_bidi::LastErrorOf([&] {
      EXPECT_EQ(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr),
                INVALID_HANDLE_VALUE);
    });
  };
  std::filesystem::create_symlink(WriteFileIn("file", ""), folder_ / "link");
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(code_of("link"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(code_of("pipe"), DWORD{ERROR_ACCESS_DENIED});
  if (geteuid() == 0) {
    ASSERT_EQ(chown((folder_ / "file").c_str(), 65534, 65534), 0);
    EXPECT_EQ(code_of("file"), DWORD{ERROR_ACCESS_DENIED});
  }
}

TEST_F(StandInTest, ErrorsOfTheProgramsOpensslAreLeftAlone) {
  ERR_clear_error();
  ERR_raise(ERR_LIB_USER, 7);
  EXPECT_EQ(CertCreateCertificateContext(X509_ASN_ENCODING, reinterpret_cast<const BYTE*>("0"), 1), nullptr);
  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
  EXPECT_EQ(ERR_get_error(), 0u);
}

/// The code and the reason of the error; nothing where there is none.
std::string ErrorIn(const std::filesystem::path& path) {
  custom_bidi::CCIXML xml;
  WCHAR text[custom_bidi::CCIXML::kErrorTextChars] = {};
  if (xml.Load(custom_bidi::PlatformPath(path).c_str()) != 0) {
    xml.GetErrorText(text);
  }
  const std::string error = base::ToUtf8(text);
  return error.empty() ? ""
                       : error.substr(error.find("0x") + 2, 9) + error.substr(error.find("Reason: ") + 8);
}

TEST_F(StandInTest, DocumentsAreRefusedAndNothingIsPrinted) {
  const std::string file =
      "<!DOCTYPE r [<!ENTITY e SYSTEM '" + WriteFileIn("secret", "secret").string() + "'>]><r>&e;</r>";
  std::string deep;
  for (int i = 0; i < 400000; ++i) {
    deep += i < 200000 ? "<a>" : "</a>";
  }
  const std::string dtd = "C00CE584 DTD is prohibited.\r\n";
  const std::pair<std::string, std::string> cases[] = {
      {file, dtd},
      {"<!DOCTYPE r [<!ENTITY a 'x'><!ENTITY b '&a;&a;'>]><r>&b;</r>", dtd},
      {"<!DOCTYPE r [", dtd},
      {"", "C00CE558"},
      {"<r>&undefined;<", "C00"},
      {"<?xml version='1.0' encoding='no-such'?><r/>", "C00CE56E"},
      {"<x:r/>", "C00CE01D"},
      {"<r>", "C00CE553"},
      {deep, "C00"},
      {deep.substr(0, deep.size() / 3), "C00"},
      {"<r/>", ""},
  };
  testing::internal::CaptureStderr();
  for (const auto& [text, error] : cases) {
    const std::string said = ErrorIn(WriteFileIn("document.xml", text));
    EXPECT_TRUE(said.starts_with(error) && (error.empty() ? said.empty() : said.ends_with(".\r\n")))
        << text.substr(0, 99) << " gives " << said;
  }
  EXPECT_EQ(ErrorIn(folder_ / "none"), "800C0006 The system cannot locate the object specified.\r\n");
  EXPECT_EQ(ErrorIn(folder_), "80070005 Access is denied.\r\n") << "a folder";
  EXPECT_EQ(ErrorIn("/dev/zero"), "80070005 Access is denied.\r\n") << "a file without an end";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
