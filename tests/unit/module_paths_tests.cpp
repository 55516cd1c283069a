#include "src/exports/module_paths.h"

#include <gtest/gtest.h>

namespace custom_bidi {
namespace {

constexpr size_t kRoomChars = 1024;

/// The two functions' common shape.
using PathFunction = DWORD (*)(WCHAR*, size_t, bool) noexcept;
constexpr PathFunction kBoth[] = {GetModuleFolder, GetModuleFullPath};

TEST(ModulePaths, NameTheExecutable) {
  // This program holds the library's code, so its "own module" is the executable, too.
  for (const bool own_module : {false, true}) {
    WCHAR folder[kRoomChars] = {};
    WCHAR path[kRoomChars] = {};
    ASSERT_EQ(GetModuleFolder(folder, kRoomChars, own_module), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(GetModuleFullPath(path, kRoomChars, own_module), DWORD{ERROR_SUCCESS});
    const WString whole = path;
    EXPECT_EQ(whole.find(WString(folder) + W("\\unit_tests")), 0u);
    EXPECT_EQ(whole.find(W('\\'), WString(folder).size() + 1), WString::npos);
    EXPECT_EQ(whole[1], W(':'));
  }
}

TEST(ModulePaths, NeedABuffer) {
  for (const PathFunction function : kBoth) {
    WCHAR unit = '#';
    EXPECT_EQ(function(nullptr, kRoomChars, false), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(function(&unit, 0, false), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(unit, WCHAR{'#'});
  }
}

TEST(ModulePaths, AreCutToTheCapacity) {
  for (const PathFunction function : kBoth) {
    WCHAR whole[kRoomChars] = {};
    ASSERT_EQ(function(whole, kRoomChars, false), DWORD{ERROR_SUCCESS});
    const WString path = whole;
    for (const size_t capacity : {size_t{1}, size_t{4}, path.size(), path.size() + 1}) {
      WString buffer(kRoomChars, '#');
      ASSERT_EQ(function(buffer.data(), capacity, false), DWORD{ERROR_SUCCESS});
      EXPECT_EQ(buffer, path.substr(0, capacity - 1) + WString(1, 0) + WString(kRoomChars - capacity, '#'));
    }
  }
}

}  // namespace
}  // namespace custom_bidi
