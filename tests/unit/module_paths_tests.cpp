#include <gtest/gtest.h>

#include "src/context/library_paths.h"

namespace custom_bidi {
namespace {

TEST(ModulePaths, NameTheExecutableAndAreCutToTheCapacity) {
  const WString folder = HostFolder().data();
  for (const auto function : {GetModuleFolder, GetModuleFullPath}) {
    WCHAR whole[1024] = {};
    EXPECT_EQ(function(nullptr, 1024, false), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(function(whole, 0, false), DWORD{ERROR_PATH_NOT_FOUND});
    // This program holds the library's code, so its "own module" is the executable, too.
    for (const bool own_module : {false, true}) {
      ASSERT_EQ(function(whole, 1024, own_module), DWORD{ERROR_SUCCESS});
      const WString path = whole;
      EXPECT_EQ(path.find(function == GetModuleFolder ? folder : folder + W("\\unit_tests")), 0u);
      EXPECT_EQ(path.find(W('\\'), folder.size() + 1), WString::npos);
      for (const size_t capacity : {size_t{1}, size_t{4}, path.size(), path.size() + 1}) {
        WString buffer(1024, '#');
        ASSERT_EQ(function(buffer.data(), capacity, own_module), DWORD{ERROR_SUCCESS});
        EXPECT_EQ(buffer, path.substr(0, capacity - 1) + WString(1, 0) + WString(1024 - capacity, '#'));
      }
    }
  }
}

}  // namespace
}  // namespace custom_bidi
