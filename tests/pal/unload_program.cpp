// A host that has none of what the layer is built on: when the last module that has it goes, so would
// libxml2, with the means to free what it keeps for this second thread. The leak checker is the judge.

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <thread>

int main(int, char** arguments) {
  void* module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  void* entry = module ? dlsym(module, "UseTheLayer") : nullptr;
  if (!entry) {
    std::puts(dlerror());
    return 1;
  }
  const auto use = reinterpret_cast<intptr_t (*)()>(entry);
  if (use() != 0) {
    std::puts("something is left behind");
    return 1;
  }
  std::thread([&] {
    use();
    dlclose(module);
  }).join();
  return 0;
}
