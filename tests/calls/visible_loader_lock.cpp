// The dynamic loader runs constructors and destructors under a lock of its own that a thread sanitizer does
// not see: it takes a library's construction on one thread for a race with its use on another. This lock
// around it is seen. The linker leads the program's calls here (--wrap).

#include <mutex>

namespace {

// As the loader's own: a constructor may load another library.
std::recursive_mutex g_lock;

}  // namespace

extern "C" {

void* __real_dlopen(const char* path, int flags);
int __real_dlclose(void* module);

void* __wrap_dlopen(const char* path, int flags) {
  const std::lock_guard lock(g_lock);
  return __real_dlopen(path, flags);
}

int __wrap_dlclose(void* module) {
  const std::lock_guard lock(g_lock);
  return __real_dlclose(module);
}

}  // extern "C"
