#include <cstdint>

extern "C" intptr_t PlatformTestDependency() {
  return 42;
}
