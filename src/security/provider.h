#pragma once

#include <utility>

#include "src/deviceio/device_objects.h"
#include "src/trace/guard.h"

namespace custom_bidi {

/// Sole owner of a provider of the certificate library: it goes back through the library's own entry point,
/// exactly once. A library without that entry point keeps it; nothing that the library raises there gets out.
template <class Object, class Interface, const char* kDisposeEntry>
class Provider {
 public:
  Provider() = default;
  /// `object` may be null; `library` is borrowed and outlives this.
  Provider(HMODULE library, Interface* object) : library_(library), object_(object) {}
  Provider(Provider&& other) noexcept
      : library_(other.library_), object_(std::exchange(other.object_, Object())) {}
  Provider& operator=(Provider&& other) noexcept {
    Reset();
    library_ = other.library_;
    object_ = std::exchange(other.object_, Object());
    return *this;
  }
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;
  ~Provider() { Reset(); }

  const Object* operator->() const { return &object_; }
  explicit operator bool() const { return static_cast<bool>(object_); }

  void Reset() noexcept {
    const Object object = std::exchange(object_, Object());
    if (!object) {
      return;
    }
    const auto dispose = FindEntry<void(Interface*)>(library_, kDisposeEntry);
    if (!dispose) {
      return;
    }
    const auto ignored = [](auto...) { return false; };
    Guarded(
        [&] {
          dispose(object.Get());
          return true;
        },
        ignored, ignored);
  }

 private:
  HMODULE library_ = nullptr;
  Object object_;
};

using VaultProvider =
    Provider<VaultStoreProvider, deviceio::VaultStoreProvider, deviceio::kDisposeVaultStoreProvider>;
using DeviceCertificateProvider =
    Provider<CertificateProvider, deviceio::CertificateProvider, deviceio::kDisposeCertificateProvider>;

}  // namespace custom_bidi
