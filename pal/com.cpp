#include "pal/com.h"

#include <algorithm>
#include <iterator>

#include "base/thread_slot.h"
#include "pal/dom.h"
#include "pal/internal.h"

namespace {

/// What a thread has initialised: how often, and above those bits by which model.
[[gnu::init_priority(101)]] base::ThreadSlot g_apartment;
constexpr uintptr_t kCountMask = 0xFFFFFF;
constexpr int kModelShift = 24;

constexpr CLSID kDomDocumentClasses[] = {
    // 6.0, 3.0, and the one of no version
    {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}},
    {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}},
    {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}},
};

}  // namespace

HRESULT CoInitializeEx(void* reserved, DWORD flags) {
  if (pal::MustFail("CoInitializeEx")) {
    return E_OUTOFMEMORY;
  }
  if (reserved != nullptr || (flags != COINIT_MULTITHREADED && flags != COINIT_APARTMENTTHREADED)) {
    return E_INVALIDARG;
  }
  const uintptr_t apartment = g_apartment.Get();
  if (apartment != 0 && apartment >> kModelShift != flags) {
    return RPC_E_CHANGED_MODE;
  }
  g_apartment.Set(uintptr_t{flags} << kModelShift | ((apartment & kCountMask) + 1));
  pal::CountUp(pal::Kind::kComInitialisation);
  return apartment == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
  const uintptr_t apartment = g_apartment.Get();
  if (apartment == 0) {
    return;
  }
  g_apartment.Set((apartment & kCountMask) == 1 ? 0 : apartment - 1);
  pal::CountDown(pal::Kind::kComInitialisation);
}

HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
  if (object == nullptr) {
    return E_INVALIDARG;
  }
  *object = nullptr;
  if (pal::MustFail("CoCreateInstance")) {
    return REGDB_E_CLASSNOTREG;
  }
  if (g_apartment.Get() == 0) {
    return CO_E_NOTINITIALIZED;
  }
  if (outer != nullptr) {
    return CLASS_E_NOAGGREGATION;
  }
  if (context != CLSCTX_INPROC_SERVER) {
    return E_INVALIDARG;
  }
  const bool is_dom_document = std::find(std::begin(kDomDocumentClasses), std::end(kDomDocumentClasses),
                                         class_id) != std::end(kDomDocumentClasses);
  if (!is_dom_document || base::TheXmlFunctions() == nullptr) {
    return REGDB_E_CLASSNOTREG;
  }
  return pal::GuardedMethod([&] { return pal::CreateDomDocument(iid, object); });
}
