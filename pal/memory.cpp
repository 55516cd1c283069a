#include "pal/memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "pal/internal.h"

namespace {

void* FreeBlock(void* block) {
  if (block != nullptr) {
    std::free(block);
    pal::CountDown(pal::Kind::kBlock);
  }
  return nullptr;
}

// A block is a header of 8 bytes, whose last 4 are the length in bytes, then the text and a NUL.
constexpr size_t kHeaderBytes = 8;
constexpr UINT kMaxBytes = std::numeric_limits<INT>::max() - 16;

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

void* pal::AllocateBlock(size_t size_bytes) {
  void* block = std::calloc(std::max<size_t>(size_bytes, 1), 1);
  if (block != nullptr) {
    CountUp(Kind::kBlock);
  }
  return block;
}

HGLOBAL GlobalAlloc(UINT flags, size_t size_bytes) {
  if (pal::MustFail("GlobalAlloc")) {
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, HGLOBAL{});
  }
  if (flags != GPTR) {
    return pal::FailWith(ERROR_INVALID_PARAMETER, HGLOBAL{});
  }
  void* block = pal::AllocateBlock(size_bytes);
  return block != nullptr ? block : pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, HGLOBAL{});
}

HGLOBAL GlobalFree(HGLOBAL block) {
  return FreeBlock(block);
}

HLOCAL LocalFree(HLOCAL block) {
  return FreeBlock(block);
}

void* CoTaskMemAlloc(size_t size_bytes) {
  if (pal::MustFail("CoTaskMemAlloc")) {
    return nullptr;
  }
  void* block = std::malloc(std::max<size_t>(size_bytes, 1));
  if (block != nullptr) {
    pal::CountUp(pal::Kind::kBlock);
  }
  return block;
}

void CoTaskMemFree(void* block) {
  FreeBlock(block);
}

BSTR pal::AllocateBstr(const OLECHAR* text, size_t length_chars) {
  if (length_chars > kMaxBytes / sizeof(OLECHAR)) {
    return nullptr;
  }
  const auto length_bytes = static_cast<UINT>(length_chars * sizeof(OLECHAR));
  auto* block = static_cast<char*>(std::calloc(kHeaderBytes + length_bytes + sizeof(OLECHAR), 1));
  if (block == nullptr) {
    return nullptr;
  }
  char* const content = block + kHeaderBytes;
  std::memcpy(content - sizeof(length_bytes), &length_bytes, sizeof(length_bytes));
  if (text != nullptr) {
    std::memcpy(content, text, length_bytes);
  }
  CountUp(Kind::kBstr);
  return reinterpret_cast<BSTR>(content);
}

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr || pal::MustFail("SysAllocString")) {
    return nullptr;
  }
  return pal::AllocateBstr(text, std::char_traits<OLECHAR>::length(text));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length_chars) {
  if (pal::MustFail("SysAllocStringLen")) {
    return nullptr;
  }
  return pal::AllocateBstr(text, length_chars);
}

UINT SysStringLen(BSTR text) {
  UINT length_bytes = 0;
  if (text != nullptr) {
    std::memcpy(&length_bytes, reinterpret_cast<const char*>(text) - sizeof(length_bytes),
                sizeof(length_bytes));
  }
  return length_bytes / UINT{sizeof(OLECHAR)};
}

void SysFreeString(BSTR text) {
  if (text == nullptr) {
    return;
  }
  std::free(reinterpret_cast<char*>(text) - kHeaderBytes);
  pal::CountDown(pal::Kind::kBstr);
}

void VariantInit(VARIANT* variant) {
  variant->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANT* variant) {
  if (variant == nullptr) {
    return E_INVALIDARG;
  }
  if (variant->vt == VT_BSTR) {
    SysFreeString(variant->bstrVal);
  } else if (!IsScalar(variant->vt)) {
    return DISP_E_BADVARTYPE;
  }
  variant->vt = VT_EMPTY;
  return S_OK;
}
