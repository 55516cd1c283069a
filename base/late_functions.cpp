#include "base/late_functions.h"

#include <dlfcn.h>

namespace base {

bool BindFunctions(const char* file, std::span<const char* const> names, std::span<void*> places) {
  void* const library = dlopen(file, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    return false;
  }
  std::ranges::transform(names, places.begin(), [library](const char* name) { return dlsym(library, name); });
  dlclose(library);
  return std::ranges::find(places, nullptr) == places.end();
}

}  // namespace base
