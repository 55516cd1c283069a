#include "pal/path.h"

#include "pal/home.h"
#include "pal/text.h"
#include "tests/pal/pal_fixture.h"

namespace {

using PathTest = PalTest;

TEST_F(PathTest, WindowsToPosix) {
  const std::string home = home_.string();
  const std::string here = std::filesystem::current_path().string();
  const struct {
    std::u16string path;
    DWORD code;
    std::string posix_path;
  } cases[] = {
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
  for (const auto& c : cases) {
    std::string posix_path;
    EXPECT_EQ(pal::ToPosixPath(c.path, &posix_path), c.code) << pal::ToUtf8(c.path);
    EXPECT_EQ(posix_path, c.posix_path) << pal::ToUtf8(c.path);
  }
}

TEST_F(PathTest, PosixToWindowsAndBack) {
  EXPECT_EQ(pal::ToWindowsPath("/a/b"), u"Z:\\a\\b");
  for (const char* path : {"/", "/a/b", "/a b/ä.txt"}) {
    std::string back;
    EXPECT_EQ(pal::ToPosixPath(pal::ToWindowsPath(path), &back), 0u);
    EXPECT_EQ(back, path);
  }
}

TEST_F(PathTest, HomeIsTheFirstOfThree) {
  const ScopedVariable own("CUSTOMBIDI_HOME", "/own/");
  const ScopedVariable data("XDG_DATA_HOME", "/data");
  const ScopedVariable user("HOME", "/user");
  EXPECT_EQ(pal::HomeFolder(), "/own");
  {
    const ScopedVariable no_own("CUSTOMBIDI_HOME", "");
    EXPECT_EQ(pal::HomeFolder(), "/data/custom-bidi");
    const ScopedVariable no_data("XDG_DATA_HOME", nullptr);
    EXPECT_EQ(pal::HomeFolder(), "/user/.local/share/custom-bidi");
    const ScopedVariable no_user("HOME", nullptr);
    EXPECT_NE(pal::HomeFolder().find("/.local/share/custom-bidi"), std::string::npos);
  }
}

}  // namespace
