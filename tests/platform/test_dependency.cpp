#include <cstdint>

#ifdef _WIN32
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

EXPORTED intptr_t PlatformTestDependency() {
  return 42;
}
