#include <fstream>
#include <iterator>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

using FileTest = PlatformTest;

HANDLE Open(const std::filesystem::path& path, DWORD disposition) {
  return CreateFileW(PlatformPath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

bool Append(HANDLE file, std::string_view text) {
  DWORD written = 0;
  return SetFilePointer(file, 0, nullptr, FILE_END) != INVALID_SET_FILE_POINTER &&
         WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
         written == text.size();
}

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(FileTest, FailedOpensSayWhy) {
  const auto file = WriteFileIn("file", "");
  const struct {
    const char* name;
    std::filesystem::path path;
    DWORD disposition;
    DWORD code;
  } cases[] = {
      {"missing file", folder_ / "none", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {"missing folder", folder_ / "none" / "file", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
      {"new file in a missing folder", folder_ / "none" / "file", CREATE_NEW, ERROR_PATH_NOT_FOUND},
      {"new file that exists", file, CREATE_NEW, ERROR_FILE_EXISTS},
      {"folder", folder_, OPEN_EXISTING, ERROR_ACCESS_DENIED},
  };
  for (const auto& c : cases) {
    HANDLE handle = nullptr;
    EXPECT_EQ(LastErrorOf([&] { handle = Open(c.path, c.disposition); }), c.code) << c.name;
    EXPECT_EQ(handle, INVALID_HANDLE_VALUE) << c.name;
  }
}

TEST_F(FileTest, TwoHandlesAppendToOneFile) {
  const auto path = folder_ / "log";
  const HANDLE first = Open(path, CREATE_NEW);
  ASSERT_NE(first, INVALID_HANDLE_VALUE);
  const HANDLE second = Open(path, OPEN_EXISTING);
  ASSERT_NE(second, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(Append(first, "one,"));
  EXPECT_TRUE(Append(second, "two,"));
  EXPECT_TRUE(Append(first, "three"));
  EXPECT_TRUE(CloseHandle(first));
  EXPECT_TRUE(CloseHandle(second));
  EXPECT_EQ(ContentOf(path), "one,two,three");
}

TEST_F(FileTest, ClosedHandleIsInvalid) {
  const HANDLE file = Open(folder_ / "log", CREATE_NEW);
  ASSERT_TRUE(CloseHandle(file));
  DWORD written = 1;
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr)); }),
            DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(CloseHandle(file)); }), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(
      LastErrorOf([&] { EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_END), INVALID_SET_FILE_POINTER); }),
      DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
}  // namespace custom_bidi
