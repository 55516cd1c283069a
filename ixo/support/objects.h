#pragma once

/// How a device library keeps the objects that it hands out.

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <utility>

#include "src/platform.h"

namespace custom_bidi::support {

/// Holds a lock for the length of a block. A plain lock of the system: it leaves nothing behind in the
/// process when the library is unloaded.
class Locked {
 public:
  explicit Locked(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  ~Locked() { ReleaseSRWLockExclusive(&lock_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  SRWLOCK& lock_;
};

/// Owns the objects that a library hands out, which nobody gives back, until it is unloaded.
template <class Object>
class Keep {
 public:
  template <class... Arguments>
  Object* Make(Arguments&&... arguments) {
    const Locked locked(lock_);
    return &objects_.emplace_back(std::forward<Arguments>(arguments)...);
  }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  std::list<Object> objects_;
};

/// Objects that are out until their callers give them back, or until the library is unloaded.
template <class Object>
class Lent {
 public:
  template <class... Arguments>
  Object* Make(Arguments&&... arguments) {
    const Locked locked(lock_);
    return &objects_.emplace_back(std::forward<Arguments>(arguments)...);
  }

  /// Null for whatever is not out. A caller gives back the address of the object's only base, which is its
  /// own.
  const Object* Find(const void* address) {
    const Locked locked(lock_);
    const auto found = Locate(address);
    return found == objects_.end() ? nullptr : &*found;
  }

  /// Anything that is not out is ignored.
  void TakeBack(const void* address) {
    const Locked locked(lock_);
    if (const auto found = Locate(address); found != objects_.end()) {
      objects_.erase(found);
    }
  }

 private:
  auto Locate(const void* address) {
    return std::ranges::find_if(objects_, [address](const Object& lent) { return &lent == address; });
  }

  SRWLOCK lock_ = SRWLOCK_INIT;
  std::list<Object> objects_;
};

/// The string buffers that are out. Each is exactly as long as its text, so that a reader who goes too far is
/// seen.
class StringBuffers {
 public:
  WCHAR* Make(const WString& text) {
    auto buffer = std::make_unique<WCHAR[]>(text.size() + 1);
    std::ranges::copy(text, buffer.get());
    const Locked locked(lock_);
    WCHAR* const handed_out = buffer.get();
    buffers_.emplace(handed_out, std::move(buffer));
    return handed_out;
  }

  void Dispose(WCHAR* buffer) {
    const Locked locked(lock_);
    buffers_.erase(buffer);
  }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  std::map<const WCHAR*, std::unique_ptr<WCHAR[]>> buffers_;
};

}  // namespace custom_bidi::support
