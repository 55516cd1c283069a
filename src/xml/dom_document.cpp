#include "src/xml/dom_document.h"

#include "src/trace/trace_log.h"

namespace custom_bidi {
namespace {

// msxml6.h and msxml2.h; not every SDK has all of them.
constexpr GUID kIidDomDocument3 = {0x2933BF96,
                                   0x7B36,
                                   0x11D2,
                                   {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kDomDocument60 = {0x88D96A05,
                                 0xF192,
                                 0x11D4,
                                 {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr GUID kDomDocument30 = {0xF5078F32,
                                 0xC551,
                                 0x11D3,
                                 {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr GUID kDomDocument = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};

struct DomClass {
  const GUID& id;
  const WCHAR* failure;
};

constexpr DomClass kDomClasses[] = {
    {kDomDocument60, W("Failed to CoCreateInstance DOMDocument60")},
    {kDomDocument30, W("Failed to CoCreateInstance DOMDocument30")},
    {kDomDocument, W("Failed to CoCreateInstance DOMDocument")},
};

}  // namespace

ComPtr<IXMLDOMDocument3> CreateDomDocument() {
  ComPtr<IXMLDOMDocument3> document;
  for (const DomClass& dom_class : kDomClasses) {
    void* created = nullptr;
    const HRESULT result =
        CoCreateInstance(dom_class.id, nullptr, CLSCTX_INPROC_SERVER, kIidDomDocument3, &created);
    document.Reset(static_cast<IXMLDOMDocument3*>(created));
    if (SUCCEEDED(result) && document)
      return document;
    document.Reset();
    TraceLog(dom_class.failure);
  }
  return document;
}

}  // namespace custom_bidi
