// What the stand-in promises beyond what both systems do: documents that mean harm, what the environment
// decides, handles, queues.

#include <fcntl.h>
#include <openssl/err.h>
#include <unistd.h>

#include <cstdlib>
#include <tuple>

#include "base/utf.h"
#include "src/xml/ccixml.h"
#include "tests/pal/pal_fixture.h"

namespace {

using StandInTest = PalTest;

TEST_F(StandInTest, LanguageOfTheUser) {
  // LC_ALL, LC_MESSAGES and LANG.
  const std::tuple<const char*, const char*, const char*, std::u16string_view> cases[] = {
      {nullptr, nullptr, nullptr, u"en"},
      {nullptr, nullptr, "de_DE.UTF-8", u"de"},
      {nullptr, "fr", "de_DE.UTF-8", u"fr"},
      {"pt_BR@x", "fr", "de", u"pt"},
      {"", "", "ja_JP", u"ja"},
      {"C", nullptr, "de", u"en"},
      {nullptr, nullptr, "POSIX", u"en"},
      {nullptr, nullptr, "fil_PH", u"fil"},
      {nullptr, nullptr, "\xFF\xFF", u"en"},
  };
  for (const auto& [all, messages, lang, language] : cases) {
    const ScopedVariable set_all("LC_ALL", all);
    const ScopedVariable set_messages("LC_MESSAGES", messages);
    const ScopedVariable set_lang("LANG", lang);
    WCHAR name[8] = {};
    EXPECT_EQ(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, name, 8), static_cast<int>(language.size()) + 1);
    EXPECT_EQ(name, language) << base::ToUtf8(language);
  }
}

TEST_F(StandInTest, TimeZoneIsReadAnew) {
  const auto minutes_in = [](const char* zone) {
    const ScopedVariable variable("TZ", zone);
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

TEST_F(StandInTest, QueuesOfTheRegistry) {
  WriteFileIn("registry.reg", R"([HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Office]
"Port"="IP_10.0.0.5"
[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Office\Data]
[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\Number]
"Port"=dword:00000001
)");
  EXPECT_EQ(PortOfQueue(u"oFFICE"), "IP_10.0.0.5");
  EXPECT_EQ(PortOfQueue(u"Number"), "no port");
  for (const std::u16string none : {u"None", u"", u"Office\\Data", u"..", u"Office\\", u"\\\\a\\Office"}) {
    EXPECT_EQ(PortOfQueue(none), "error 1801") << base::ToUtf8(none);
  }
}

TEST_F(StandInTest, ExecutableKeepsItsNameWhenItsFileGoes) {
  for (const char* name : {"host", "host (deleted)"}) {
    std::filesystem::copy_file(REPLACED_PROGRAM, home_ / name,
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(std::system(("'" + (home_ / name).string() + "'").c_str()), 0) << name;
  }
}

TEST_F(StandInTest, BlockThatIsNoCertificate) {
  const std::pair<std::vector<BYTE>, HRESULT> cases[] = {
      {{}, CRYPT_E_ASN1_EOD},           {{0x30}, CRYPT_E_ASN1_EOD},
      {{0x30, 5, 1}, CRYPT_E_ASN1_EOD}, {{0x30, 0}, CRYPT_E_ASN1_CORRUPT},
      {{0x31, 0}, CRYPT_E_ASN1_BADTAG}, {{'-', '-'}, CRYPT_E_ASN1_BADTAG},
  };
  ERR_clear_error();
  ERR_raise(ERR_LIB_USER, 7);
  for (const auto& [bytes, code] : cases) {
    const DWORD size = static_cast<DWORD>(bytes.size());
    EXPECT_EQ(CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(), size), nullptr);
    EXPECT_EQ(static_cast<HRESULT>(GetLastError()), code) << size;
  }
  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7) << "the program's own";
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
      {"<?xml version='1.0'?>\n<!DOCTYPE r SYSTEM 'x.dtd'>\n<r/>", dtd},
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
    EXPECT_EQ(ErrorIn(WriteFileIn("document.xml", text)).substr(0, error.size()), error)
        << text.substr(0, 99);
  }
  EXPECT_EQ(ErrorIn(home_ / "none"), "800C0006 The system cannot locate the object specified.\r\n");
  EXPECT_EQ(ErrorIn(home_), "80070005 Access is denied.\r\n") << "a folder";
  EXPECT_EQ(ErrorIn("/dev/zero"), "80070005 Access is denied.\r\n") << "a file without an end";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
