#pragma once

#include <atomic>
#include <initializer_list>

#include "pal/accounting.h"
#include "pal/com.h"
#include "pal/dom.h"

namespace pal {

inline constexpr IID kIidUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The IIDs of the DOM's interfaces differ in their first number only.
constexpr IID DomIid(uint32_t first) {
  return {first, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
}
inline constexpr IID kIidNode = DomIid(0x2933BF80);
inline constexpr IID kIidDocument = DomIid(0x2933BF81);
inline constexpr IID kIidNodeList = DomIid(0x2933BF82);
inline constexpr IID kIidNamedNodeMap = DomIid(0x2933BF83);
inline constexpr IID kIidElement = DomIid(0x2933BF86);
inline constexpr IID kIidDocument3 = DomIid(0x2933BF96);
inline constexpr IID kIidParseError = {0x3050F426,
                                       0x98B5,
                                       0x11CF,
                                       {0xBB, 0x82, 0x00, 0xAA, 0x00, 0xBD, 0xCE, 0x0B}};

/// What is common to all objects of the DOM: they are made with no reference, and end with their last one.
template <class Interface>
class DomObject : public Interface {
 public:
  DomObject(const DomObject&) = delete;
  DomObject& operator=(const DomObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final {
    if (!object)
      return E_INVALIDARG;
    *object = nullptr;
    if (iid != kIidUnknown && !Implements(iid))
      return E_NOINTERFACE;
    // Each object has a single table, so all its interfaces are at one address.
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }

  ULONG AddRef() final { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

  ULONG Release() final {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
      delete this;
    return left;
  }

 protected:
  DomObject() { CountUp(Kind::kDomObject); }
  virtual ~DomObject() { CountDown(Kind::kDomObject); }

  virtual bool Implements(REFIID iid) const = 0;

 private:
  std::atomic<ULONG> references_{0};
};

/// Hands out a new object with its first reference.
template <class Object, class Interface>
HRESULT HandOut(Object* object, Interface** out) {
  object->AddRef();
  *out = object;
  return S_OK;
}

}  // namespace pal
