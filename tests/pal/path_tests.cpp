#include "base/files.h"

#include <tuple>

#include "base/utf.h"
#include "tests/pal/pal_fixture.h"

namespace {

using PathTest = PalTest;

TEST_F(PathTest, WindowsToPosix) {
  const std::string home = home_.string();
  const std::string here = std::filesystem::current_path().string();
  const std::tuple<std::u16string, DWORD, std::string> cases[] = {
      {u"Z:\\a\\b", 0, "/a/b"},
      {u"z:/a\\b", 0, "/a/b"},
      {u"Z:\\", 0, "/"},
      {u"Z:", 0, "/"},
      {u"Z:\\a//b\\\\c", 0, "/a/b/c"},
      {u"Z:\\a\\..\\b\\.\\c", 0, "/b/c"},
      {u"Z:\\ä\\\U0001F600", 0, "/ä/\U0001F600"},
      {u"C:\\temp\\x.log", 0, home + "/drive_c/temp/x.log"},
      {u"c:/x", 0, home + "/drive_c/x"},
      {u"C:\\..\\..\\x", 0, home + "/drive_c/x"},
      {u"\\a\\b", 0, "/a/b"},
      {u"/a/b", 0, "/a/b"},
      {u"a\\b", 0, here + "/a/b"},
      {u".//a", 0, here + "/a"},
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

TEST_F(PathTest, HomeIsTheFirstOfThree) {
  const ScopedVariable own("CUSTOMBIDI_HOME", "/own/");
  const ScopedVariable data("XDG_DATA_HOME", "/data");
  const ScopedVariable user("HOME", "/user");
  EXPECT_EQ(base::HomeFolder(), "/own");
  const ScopedVariable no_own("CUSTOMBIDI_HOME", "");
  EXPECT_EQ(base::HomeFolder(), "/data/custom-bidi");
  const ScopedVariable no_data("XDG_DATA_HOME", nullptr);
  EXPECT_EQ(base::HomeFolder(), "/user/.local/share/custom-bidi");
  const ScopedVariable no_user("HOME", nullptr);
  EXPECT_NE(base::HomeFolder().find("/.local/share/custom-bidi"), std::string::npos);
}

}  // namespace
