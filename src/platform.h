#pragma once

// The one place that knows which platform this is: the real Windows headers, or the stand-in for them.

#include <string>
#include <string_view>

#ifdef _WIN32

#ifndef NOMINMAX
#define NOMINMAX
#endif
// winsock and friends are not needed; the remaining order is the one the headers ask for.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <msxml2.h>
#include <objbase.h>
#include <oleauto.h>
#include <wincrypt.h>
#include <winspool.h>

#define W(text) L##text

#ifdef __MINGW32__
// The interface of MSXML 4 and later, which mingw-w64 does not declare. A COM interface has no destructor to
// speak of.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
struct IXMLDOMDocument3 : public IXMLDOMDocument2 {
  virtual HRESULT STDMETHODCALLTYPE validateNode(IXMLDOMNode* node, IXMLDOMParseError** error) = 0;
  virtual HRESULT STDMETHODCALLTYPE importNode(IXMLDOMNode* node, VARIANT_BOOL deep, IXMLDOMNode** clone) = 0;
};
#pragma GCC diagnostic pop
#endif

#else

#include "pal/pal.h"

#define W(text) u##text

#endif

namespace custom_bidi {

using WString = std::basic_string<WCHAR>;
using WStringView = std::basic_string_view<WCHAR>;

}  // namespace custom_bidi
