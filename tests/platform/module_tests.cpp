#include <algorithm>
#include <fstream>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

namespace fs = std::filesystem;

// Says 7 more than the library that it needs, which says 42.
const fs::path kLibrary = PLATFORM_TEST_LIBRARY;

class ModuleTest : public PlatformTest {
 protected:
  fs::path CopyOfLibrary(const char* name, uintmax_t bytes) {
    const fs::path copy = folder_ / name;
    fs::copy_file(kLibrary, copy);
    fs::resize_file(copy, bytes);
    return copy;
  }
};

DWORD CodeOfLoad(const fs::path& path) {
  return LastErrorOf([&] { EXPECT_EQ(LoadLibraryW(PlatformPath(path).c_str()), nullptr); });
}

WString FileNameOf(HMODULE module) {
  WCHAR name[1024];
  const DWORD length = GetModuleFileNameW(module, name, 1024);
  return WString(name, length);
}

void FunctionOfThisProgram() {}

TEST_F(ModuleTest, LoadsAndFindsEntriesOfItsOwn) {
  const HMODULE module = LoadLibraryW(PlatformPath(kLibrary).c_str());
  ASSERT_NE(module, nullptr) << GetLastError();
  const FARPROC entry = GetProcAddress(module, "PlatformTestAnswer");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry(), 49);
  EXPECT_EQ(ToUtf8(FileNameOf(module)), ToUtf8(PlatformPath(kLibrary)));

  FARPROC none = entry;
  EXPECT_EQ(LastErrorOf([&] { none = GetProcAddress(module, "NoSuchEntry"); }), DWORD{ERROR_PROC_NOT_FOUND});
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(LastErrorOf([&] { none = GetProcAddress(module, "PlatformTestDependency"); }),
            DWORD{ERROR_PROC_NOT_FOUND})
      << "an entry of a library that the module needs";
  EXPECT_TRUE(FreeLibrary(module));
}

TEST_F(ModuleTest, FailedLoadsSayWhy) {
  EXPECT_EQ(CodeOfLoad(folder_ / "none.dll"), DWORD{ERROR_MOD_NOT_FOUND}) << "missing file";
  EXPECT_EQ(CodeOfLoad(folder_ / "none" / "none.dll"), DWORD{ERROR_MOD_NOT_FOUND}) << "missing folder";
  EXPECT_EQ(CodeOfLoad(WriteFileIn("text.dll", "no library")), DWORD{ERROR_BAD_EXE_FORMAT}) << "text";
  EXPECT_EQ(CodeOfLoad(WriteFileIn("empty.dll", "")), DWORD{ERROR_BAD_EXE_FORMAT}) << "empty file";
  EXPECT_EQ(CodeOfLoad(CopyOfLibrary("head.dll", 48)), DWORD{ERROR_BAD_EXE_FORMAT}) << "part of a header";
  EXPECT_EQ(CodeOfLoad(CopyOfLibrary("half.dll", fs::file_size(kLibrary) / 8)), DWORD{ERROR_BAD_EXE_FORMAT})
      << "cut library";
  EXPECT_EQ(CodeOfLoad(PLATFORM_TEST_ORPHAN), DWORD{ERROR_MOD_NOT_FOUND})
      << "without the library that it needs";
}

TEST_F(ModuleTest, NullModules) {
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(FreeLibrary(nullptr)); }), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetProcAddress(nullptr, "Entry"), nullptr); }),
            DWORD{ERROR_PROC_NOT_FOUND});
}

TEST_F(ModuleTest, NameThatDoesNotFitIsCutAndTerminated) {
  const WString name = FileNameOf(nullptr);
  ASSERT_GT(name.size(), 8u);
  WCHAR buffer[1024];

  for (const size_t capacity : {name.size(), size_t{4}, size_t{1}}) {
    std::fill(std::begin(buffer), std::end(buffer), W('#'));
    DWORD result = 0;
    EXPECT_EQ(
        LastErrorOf([&] { result = GetModuleFileNameW(nullptr, buffer, static_cast<DWORD>(capacity)); }),
        DWORD{ERROR_INSUFFICIENT_BUFFER})
        << capacity;
    EXPECT_EQ(result, capacity);
    EXPECT_EQ(buffer[capacity], W('#'));
    if (IsWine()) {
      // Wine fills the whole buffer and does not terminate it. When it does, this goes.
      EXPECT_EQ(ToUtf8({buffer, capacity}), ToUtf8(name.substr(0, capacity)));
      continue;
    }
    EXPECT_EQ(ToUtf8(buffer), ToUtf8(name.substr(0, capacity - 1)));
  }
  EXPECT_EQ(GetModuleFileNameW(nullptr, buffer, static_cast<DWORD>(name.size() + 1)), name.size());
  EXPECT_EQ(ToUtf8(buffer), ToUtf8(name));
}

TEST_F(ModuleTest, NullModuleIsTheExecutable) {
  const std::string name = ToUtf8(FileNameOf(nullptr));
  EXPECT_EQ(name.substr(1, 2), ":\\");
  EXPECT_NE(name.find("\\platform_tests"), std::string::npos) << name;
}

TEST_F(ModuleTest, HandleFromAddress) {
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  HMODULE module = nullptr;
  ASSERT_TRUE(GetModuleHandleExW(kFlags, reinterpret_cast<const WCHAR*>(&FunctionOfThisProgram), &module));
  EXPECT_EQ(ToUtf8(FileNameOf(module)), ToUtf8(FileNameOf(nullptr)));

  const HMODULE library = LoadLibraryW(PlatformPath(kLibrary).c_str());
  ASSERT_NE(library, nullptr);
  const FARPROC entry = GetProcAddress(library, "PlatformTestAnswer");
  ASSERT_TRUE(GetModuleHandleExW(kFlags, reinterpret_cast<const WCHAR*>(entry), &module));
  EXPECT_EQ(module, library);
  EXPECT_TRUE(FreeLibrary(library));

  const int local = 0;
  EXPECT_EQ(LastErrorOf([&] {
              EXPECT_FALSE(GetModuleHandleExW(kFlags, reinterpret_cast<const WCHAR*>(&local), &module));
            }),
            DWORD{ERROR_MOD_NOT_FOUND});
  EXPECT_EQ(module, nullptr);
}

}  // namespace
}  // namespace custom_bidi
