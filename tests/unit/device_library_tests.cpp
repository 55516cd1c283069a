// Device libraries as no real ones can be made: the linker puts this program's loads and questions for entry
// points through the functions below.

#include <gtest/gtest.h>

#include "src/deviceio/ixo_wrapper.h"

namespace {

struct Loader {
  int fails_at = 0;
  DWORD code = 0;
  int loads = 0;
  std::string freed;  // the numbers of the loads
  std::string asked;  // the entry point
};

Loader g_loader;
char g_modules[4];

}  // namespace

HMODULE OurLoadLibrary(const WCHAR* path) asm("__wrap__Z12LoadLibraryWPKDs");
BOOL OurFreeLibrary(HMODULE module) asm("__wrap__Z11FreeLibraryP11HINSTANCE__");
FARPROC OurGetProcAddress(HMODULE module, const char* name) asm("__wrap__Z14GetProcAddressP11HINSTANCE__PKc");

HMODULE OurLoadLibrary(const WCHAR*) {
  SetLastError(g_loader.code);
  const bool fails = ++g_loader.loads == g_loader.fails_at;
  return fails ? nullptr : reinterpret_cast<HMODULE>(&g_modules[g_loader.loads]);
}

BOOL OurFreeLibrary(HMODULE module) {
  g_loader.freed += std::to_string(reinterpret_cast<char*>(module) - g_modules);
  return TRUE;
}

FARPROC OurGetProcAddress(HMODULE, const char* name) {
  g_loader.asked = name;
  return nullptr;
}

namespace custom_bidi {
namespace {

TEST(DeviceLibrary, LoadsFailAsAWholeUnlessTheSystemGivesNoReason) {
  const struct {
    int fails_at;
    DWORD code;
    int loads;
    const char *freed_at_once, *freed;
  } cases[] = {
      {0, 0, 3, "", "123"}, {1, 126, 1, "", ""}, {2, 126, 2, "1", "1"}, {3, 126, 3, "12", "12"},
      {1, 0, 1, "", ""},    {2, 0, 2, "", "1"},  {3, 0, 3, "", "12"},
  };
  for (const auto& c : cases) {
    g_loader = Loader{c.fails_at, c.code, 0, {}, {}};
    {
      IxoWrapper wrapper;
      EXPECT_EQ(wrapper.LoadIxoLibraries(W("i"), W("x"), W("c")), c.code);
      EXPECT_EQ(g_loader.loads, c.loads);
      EXPECT_EQ(g_loader.freed, c.freed_at_once);
    }
    EXPECT_EQ(g_loader.freed, c.freed) << c.fails_at << ' ' << c.code;
  }
}

// What no export comes to.
TEST(DeviceLibrary, AnswersWithoutAnEntryPoint) {
  g_loader = Loader();
  IxoWrapper ixo;
  DWORD connected = 7;
  EXPECT_EQ(ixo.IsPortConnected(W("at"), connected), DWORD{ERROR_INVALID_DATA});  // not loaded
  EXPECT_EQ(connected, 0u);
  ASSERT_EQ(ixo.LoadIxoLibrary(W("i")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(ixo.IsPortConnected(W(""), connected), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(ixo.IsPortConnected(W("at"), connected), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(g_loader.asked, "CreateAddressFromPortName");
  for (const AddressKind kind : {AddressKind::kHostName, AddressKind{4}}) {
    EXPECT_FALSE(ixo.KeepAddress(W("at"), kind) || ixo.KeepAddress(nullptr, kind));
    EXPECT_EQ(g_loader.asked, "CreateAddressFromHostName");
  }
}

}  // namespace
}  // namespace custom_bidi
