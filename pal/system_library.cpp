#include "pal/system_library.h"

#include <dlfcn.h>

namespace pal {

SystemLibrary::SystemLibrary(const char* file)
    : handle_(dlopen(file, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)) {}

SystemLibrary::~SystemLibrary() {
  if (handle_)
    dlclose(handle_);
}

void* SystemLibrary::Find(const char* name) const {
  return handle_ ? dlsym(handle_, name) : nullptr;
}

}  // namespace pal
