// Device libraries as no real ones can be made: the linker puts this program's loads and questions for entry
// points through the functions below.

#include <stdexcept>

#include "pal/test_hooks.h"
#include "src/deviceio/ixo_wrapper.h"
#include "tests/unit/trace_file.h"

namespace {

using custom_bidi::WStringView;
using custom_bidi::deviceio::PrinterAddress;

struct Loader {
  int fails_at = 0;
  DWORD code = 0;
  int loads = 0;
  std::string freed;  // the numbers of the loads
};

Loader g_loader;
char g_modules[4];

/// Says which entry point made it.
struct FakeAddress final : PrinterAddress {
  LONG IsActive() override { return -2; }  // not 0, and that is all that counts
  const WCHAR* GetAddressString() override {
    return maker != nullptr ? maker : throw std::runtime_error("no text");
  }
  const WCHAR* maker = nullptr;
};

template <char kind>
PrinterAddress* MakeAddress(const WCHAR* name) {
  static constexpr WCHAR kMaker[] = {kind, 0};
  static FakeAddress address;
  if (WStringView(name) == W("code")) {
    throw DWORD{ERROR_ACCESS_DENIED};
  }
  address.maker = WStringView(name) == W("mute") ? nullptr : kMaker;
  return WStringView(name) == W("none") ? nullptr : &address;
}

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

FARPROC OurGetProcAddress(HMODULE module, const char* name) {
  using Maker = PrinterAddress*(const WCHAR*);
  const std::pair<std::string_view, Maker*> entries[] = {{"CreateAddressFromQueueName", MakeAddress<'q'>},
                                                         {"CreateAddressFromPortName", MakeAddress<'p'>},
                                                         {"CreateAddressFromIPAddress", MakeAddress<'i'>},
                                                         {"CreateAddressFromHostName", MakeAddress<'h'>}};
  for (const auto& [entry, maker] : entries) {
    if (module != nullptr && name == entry) {
      return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(maker));
    }
  }
  return nullptr;
}

namespace custom_bidi {
namespace {

class DeviceLibrary : public test::TraceFileTest {
 protected:
  DeviceLibrary() { g_loader = Loader(); }

  IxoWrapper ixo_;
};

TEST_F(DeviceLibrary, LoadsFailAsAWholeUnlessTheSystemGivesNoReason) {
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
    g_loader = Loader{c.fails_at, c.code, 0, {}};
    {
      IxoWrapper wrapper;
      EXPECT_EQ(wrapper.LoadIxoLibraries(W("i"), W("x"), W("c")), c.code);
      EXPECT_EQ(g_loader.loads, c.loads);
      EXPECT_EQ(g_loader.freed, c.freed_at_once);
    }
    EXPECT_EQ(g_loader.freed, c.freed) << c.fails_at << ' ' << c.code;
  }
}

TEST_F(DeviceLibrary, MakesAddressesAsTheTraceSays) {
  constexpr AddressKind kNone{4};
  const WString made = W("Get the printer address from the name [at] success ==> ");
  const struct {
    const WCHAR* name;
    AddressKind kind;
    bool is_made;
    WString message;
  } cases[] = {
      {W("at"), AddressKind::kQueueName, true, made + W("[q]")},
      {W("at"), AddressKind::kPortName, true, made + W("[p]")},
      {W("at"), AddressKind::kIpAddress, true, made + W("[i]")},
      {W("at"), AddressKind::kHostName, true, made + W("[h]")},
      {W("none"), AddressKind::kHostName, false, W("Get the printer address from the name [none] failed!!")},
      {W("mute"), AddressKind::kHostName, true, W("Error in IxoWrapper::GetAddress!!")},
      {W("at"), kNone, false, W("[Getting exported function point failed (CreateAddressFunctionFromxxxx)]")},
      // A raised code is not worth a line, nor is a missing name.
      {W("code"), AddressKind::kHostName, false, W("")},
      {W(""), AddressKind::kHostName, false, W("")},
      {nullptr, kNone, false, W("")},
  };
  ASSERT_EQ(ixo_.LoadIxoLibrary(W("i")), DWORD{ERROR_SUCCESS});
  for (const auto& c : cases) {
    const WString trace = TextOf([&] { EXPECT_EQ(ixo_.KeepAddress(c.name, c.kind), c.is_made); });
    EXPECT_EQ(c.message.empty(), trace.empty());
    EXPECT_TRUE(c.message.empty() || trace.find(c.message) == kStampChars);
  }
}

TEST_F(DeviceLibrary, AnswersFromItsPort) {
  DWORD connected = 7;
  EXPECT_EQ(ixo_.IsPortConnected(W("at"), connected), DWORD{ERROR_INVALID_DATA});  // not loaded
  EXPECT_EQ(connected, 0u);
  ASSERT_EQ(ixo_.LoadIxoLibrary(W("i")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(ixo_.IsPortConnected(W("at"), connected), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(connected, 1u);
  EXPECT_EQ(ixo_.IsPortConnected(W("none"), connected), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(connected, 0u);
  EXPECT_EQ(ixo_.IsPortConnected(W(""), connected), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(ixo_.IsPortConnected(W("code"), connected), DWORD{ERROR_GEN_FAILURE});
}

TEST_F(DeviceLibrary, IsNotTracedWhenTheFilesEndIsNotFound) {
  EXPECT_EQ(TextOf([] {
              pal::FailNthCallOf("SetFilePointer", 1);
              WriteTraceLine(W("lost"));
              EXPECT_TRUE(pal::FaultFired());
              pal::ClearFaults();
            }),
            W(""));
}

}  // namespace
}  // namespace custom_bidi
