#include <cstdint>

extern "C" intptr_t PlatformTestDependency();

extern "C" intptr_t PlatformTestAnswer() {
  return 7 + PlatformTestDependency();
}
