#pragma once

#include <new>

#include "src/unique.h"

namespace custom_bidi {

template <class Interface>
struct ComTraits {
  using Value = Interface*;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { value->Release(); }
};

/// Owns one reference.
template <class Interface>
using ComPtr = Unique<ComTraits<Interface>>;

struct BstrTraits {
  using Value = BSTR;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { SysFreeString(value); }
};

using Bstr = Unique<BstrTraits>;

/// Copies `text` (not null) into a BSTR; throws std::bad_alloc when memory is short.
inline Bstr MakeBstr(const WCHAR* text) {
  Bstr copy(SysAllocString(text));
  if (!copy)
    throw std::bad_alloc();
  return copy;
}

}  // namespace custom_bidi
