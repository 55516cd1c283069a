#include <cstdint>

#ifdef _WIN32
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

extern "C" intptr_t PlatformTestDependency();

EXPORTED intptr_t PlatformTestAnswer() {
  return 7 + PlatformTestDependency();
}
