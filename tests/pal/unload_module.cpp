// A module with a copy of the layer of its own, which uses the parts of it that a thread or the process
// remembers.

#include "pal/pal.h"
#include "pal/test_hooks.h"

namespace {

SRWLOCK g_lock = SRWLOCK_INIT;

void LoadDocument(BSTR path) {
  constexpr CLSID kClass = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
  constexpr IID kInterface = {0x2933BF96, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
  void* object = nullptr;
  if (CoCreateInstance(kClass, nullptr, CLSCTX_INPROC_SERVER, kInterface, &object) != S_OK) {
    return;
  }
  auto* document = static_cast<IXMLDOMDocument3*>(object);
  VARIANT source{};
  source.vt = VT_BSTR;
  source.bstrVal = path;
  VARIANT_BOOL is_loaded = VARIANT_FALSE;
  document->load(source, &is_loaded);
  document->Release();
}

}  // namespace

// Gives the number of objects left, which is 0.
extern "C" __attribute__((visibility("default"))) intptr_t UseTheLayer() {
  AcquireSRWLockExclusive(&g_lock);
  SetLastError(5);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  // Any file will do: it must be there for the parser to begin.
  BSTR path = SysAllocString(u"Z:\\proc\\self\\status");
  LoadDocument(path);
  SysFreeString(path);
  CoUninitialize();
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key) == ERROR_SUCCESS) {
    RegCloseKey(key);
  }
  ReleaseSRWLockExclusive(&g_lock);
  return pal::LiveObjects();
}
