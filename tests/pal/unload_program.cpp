// A host that has none of what the library is built on, and loads it twice, each time for a thread of its own.
// The library must go: a thread-local with a destructor, or a symbol that the loader takes for unique, would
// keep it. And what it loaded must stay: libxml2 has the means to free what it keeps for the thread. The leak
// checker is a judge, too.

#include <dlfcn.h>

#include <cstdio>
#include <thread>

#include "include/custom_bidi.h"

namespace {

/// What is wrong; null when all is well.
const char* UseAndUnload(const char* path) {
  void* const module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  void* const entry = module != nullptr ? dlsym(module, "GetBidiResponse") : nullptr;
  if (entry == nullptr) {
    return dlerror();
  }
  CustomBidiChar response[1024];
  reinterpret_cast<decltype(&GetBidiResponse)>(entry)(response, u"none", nullptr, nullptr, 0);
  dlclose(module);
  return dlopen(path, RTLD_LAZY | RTLD_NOLOAD) == nullptr ? nullptr : "the library is still there";
}

}  // namespace

int main(int, char** arguments) {
  const char* error = nullptr;
  for (int round = 0; round < 2 && error == nullptr; ++round) {
    std::thread([&] { error = UseAndUnload(arguments[1]); }).join();
  }
  std::puts(error != nullptr ? error : "");
  return error != nullptr ? 1 : 0;
}
