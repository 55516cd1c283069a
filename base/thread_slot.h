#pragma once

#include <pthread.h>

#include <cstdint>

namespace base {

/// A number of each thread's own, 0 at first. In place of a thread-local: the block of those of a library
/// that is loaded at run time is allocated when a thread first touches one, and the loader ends the process
/// when there is no memory for it. To be a global that is made first and goes last:
/// [[gnu::init_priority(101)]].
class ThreadSlot {
 public:
  ThreadSlot() { is_there_ = pthread_key_create(&key_, nullptr) == 0; }
  ~ThreadSlot() {
    if (is_there_) {
      pthread_key_delete(key_);
    }
    is_there_ = false;
  }
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;

  uintptr_t Get() const { return is_there_ ? reinterpret_cast<uintptr_t>(pthread_getspecific(key_)) : 0; }
  void Set(uintptr_t number) const {
    if (is_there_) {
      pthread_setspecific(key_, reinterpret_cast<const void*>(number));
    }
  }

 private:
  pthread_key_t key_ = 0;
  bool is_there_ = false;
};

}  // namespace base
