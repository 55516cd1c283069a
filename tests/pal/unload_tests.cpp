#include <dlfcn.h>

#include <thread>

#include "pal/path.h"
#include "tests/pal/pal_fixture.h"

namespace {

using UnloadTest = PalTest;

bool IsLoaded(const char* path) {
  void* module = dlopen(path, RTLD_LAZY | RTLD_NOLOAD);
  if (module)
    dlclose(module);
  return module != nullptr;
}

// A thread-local with a destructor, or a symbol that the loader takes for unique, would keep it.
TEST_F(UnloadTest, ModuleGoesWithItsCopyOfTheLayer) {
  for (int round = 0; round < 2; ++round) {
    std::thread([] {
      const HMODULE module = LoadLibraryW(pal::ToWindowsPath(UNLOAD_MODULE).c_str());
      ASSERT_NE(module, nullptr);
      const FARPROC use = GetProcAddress(module, "UseTheLayer");
      ASSERT_NE(use, nullptr);
      EXPECT_EQ(use(), 0);
      SetLastError(7);
      EXPECT_EQ(use(), 0);
      EXPECT_EQ(GetLastError(), 7u) << "each copy has a last error of its own";
      EXPECT_TRUE(FreeLibrary(module));
      EXPECT_FALSE(IsLoaded(UNLOAD_MODULE));
    }).join();
  }
}

}  // namespace
