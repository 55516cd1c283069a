#pragma once

#include "src/unique.h"

namespace custom_bidi {

struct ModuleTraits {
  using Value = HMODULE;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { FreeLibrary(value); }
};

/// A loaded library.
using Module = Unique<ModuleTraits>;

/// The entry point `name` of `module` as a `Function`, or null with the reason as last error. The one place
/// where an entry point gets its type.
template <class Function>
Function* FindEntry(HMODULE module, const char* name) {
  using AnyFunction = void (*)();
  return reinterpret_cast<Function*>(reinterpret_cast<AnyFunction>(GetProcAddress(module, name)));
}

}  // namespace custom_bidi
