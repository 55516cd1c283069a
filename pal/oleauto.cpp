#include "pal/oleauto.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "pal/accounting.h"
#include "pal/allocation.h"

namespace {

// A block is a header of 8 bytes, whose last 4 are the length, then the text and a NUL. A text of an odd
// length has a byte of padding before the NUL.
constexpr size_t kHeaderBytes = 8;
constexpr UINT kMaxBytes = std::numeric_limits<INT>::max() - 16;

BSTR Allocate(const void* content, UINT length_bytes) {
  const size_t padded_bytes = (size_t{length_bytes} + 1) & ~size_t{1};
  auto* block = static_cast<char*>(std::calloc(kHeaderBytes + padded_bytes + sizeof(OLECHAR), 1));
  if (!block)
    return nullptr;
  char* text = block + kHeaderBytes;
  std::memcpy(text - sizeof(length_bytes), &length_bytes, sizeof(length_bytes));
  if (content)
    std::memcpy(text, content, length_bytes);
  pal::CountUp(pal::Kind::kBstr);
  return reinterpret_cast<BSTR>(text);
}

BSTR AllocateChars(const OLECHAR* text, size_t length_chars) {
  if (length_chars > kMaxBytes / sizeof(OLECHAR))
    return nullptr;
  return Allocate(text, static_cast<UINT>(length_chars * sizeof(OLECHAR)));
}

bool IsScalar(VARTYPE type) {
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_R4:
    case VT_R8:
    case VT_DATE:
    case VT_ERROR:
    case VT_BOOL:
    case VT_I1:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
      return true;
    default:
      return false;
  }
}

}  // namespace

BSTR pal::AllocateBstr(std::u16string_view text) {
  return AllocateChars(text.data(), text.size());
}

BSTR SysAllocString(const OLECHAR* text) {
  if (!text || pal::MustFail("SysAllocString"))
    return nullptr;
  return AllocateChars(text, std::char_traits<OLECHAR>::length(text));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length_chars) {
  if (pal::MustFail("SysAllocStringLen"))
    return nullptr;
  return AllocateChars(text, length_chars);
}

BSTR SysAllocStringByteLen(const CHAR* bytes, UINT length_bytes) {
  if (length_bytes > kMaxBytes || pal::MustFail("SysAllocStringByteLen"))
    return nullptr;
  return Allocate(bytes, length_bytes);
}

UINT SysStringByteLen(BSTR text) {
  UINT length_bytes = 0;
  if (text)
    std::memcpy(&length_bytes, reinterpret_cast<const char*>(text) - sizeof(length_bytes),
                sizeof(length_bytes));
  return length_bytes;
}

UINT SysStringLen(BSTR text) {
  return SysStringByteLen(text) / UINT{sizeof(OLECHAR)};
}

void SysFreeString(BSTR text) {
  if (!text)
    return;
  std::free(reinterpret_cast<char*>(text) - kHeaderBytes);
  pal::CountDown(pal::Kind::kBstr);
}

void VariantInit(VARIANT* variant) {
  variant->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANT* variant) {
  if (!variant)
    return E_INVALIDARG;
  if (variant->vt == VT_BSTR)
    SysFreeString(variant->bstrVal);
  else if (!IsScalar(variant->vt))
    return DISP_E_BADVARTYPE;
  variant->vt = VT_EMPTY;
  return S_OK;
}
