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

TEST_F(ModuleTest, LoadsAndFindsEntriesOfItsOwn) {
  const HMODULE module = LoadLibraryW(PlatformPath(kLibrary).c_str());
  ASSERT_NE(module, nullptr) << GetLastError();
  const FARPROC entry = GetProcAddress(module, "PlatformTestAnswer");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry(), 49);
  WCHAR name[1024];
  EXPECT_EQ(WString(name, GetModuleFileNameW(module, name, 1024)), PlatformPath(kLibrary));

  FARPROC none = entry;
  EXPECT_EQ(LastErrorOf([&] { none = GetProcAddress(module, "NoSuchEntry"); }), DWORD{ERROR_PROC_NOT_FOUND});
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(LastErrorOf([&] { none = GetProcAddress(module, "PlatformTestDependency"); }),
            DWORD{ERROR_PROC_NOT_FOUND})
      << "an entry of a library that the module needs";
  EXPECT_EQ(LastErrorOf([&] { none = GetProcAddress(nullptr, "Entry"); }), DWORD{ERROR_PROC_NOT_FOUND});
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(FreeLibrary(nullptr)); }), DWORD{ERROR_INVALID_HANDLE});
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

TEST_F(ModuleTest, NamesAreReadLeniently) {
  fs::copy_file(PLATFORM_TEST_DEPENDENCY, folder_ / "Vexmo.dll");
  fs::copy_file(PLATFORM_TEST_DEPENDENCY, folder_ / "plain");
  const std::pair<const WCHAR*, bool> cases[] = {
      {W("Vexmo.dll"), true}, {W("vexmo.DLL"), true},  {W("VEXMO"), true},
      {W("vexmo  "), true},   {W("vexmo.dll "), true}, {W("plain."), true},
      {W("PLAIN. "), true},   {W("plain"), false},     {W("vexmo."), false}};
  for (const auto& [name, is_found] : cases) {
    HMODULE module = nullptr;
    const WString path = PlatformPath(folder_) + W("\\") + name;
    const DWORD code = LastErrorOf([&] { module = LoadLibraryW(path.c_str()); });
    EXPECT_EQ(module != nullptr, is_found) << ToUtf8(name);
    EXPECT_TRUE(module != nullptr ? FreeLibrary(module) : code == ERROR_MOD_NOT_FOUND) << ToUtf8(name);
  }
}

TEST_F(ModuleTest, HandleFromAddress) {
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  HMODULE module = nullptr;
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
