#pragma once

#include <utility>

#include "src/deviceio/ixo_contract.h"
#include "src/deviceio/module.h"
#include "src/trace/guard.h"

namespace custom_bidi {

/// Sole owner of a provider of the certificate library: it goes back through the library's own entry point,
/// exactly once. A library without that entry point keeps it; nothing that the library raises there gets out.
template <class Object, const char* kDisposeEntry>
class Provider {
 public:
  Provider() = default;
  /// `object` may be null; `library` is borrowed and outlives this.
  Provider(HMODULE library, Object* object) : library_(library), object_(object) {}
  Provider(Provider&& other) noexcept
      : library_(other.library_), object_(std::exchange(other.object_, nullptr)) {}
  Provider& operator=(Provider&& other) noexcept {
    Reset();
    library_ = other.library_;
    object_ = std::exchange(other.object_, nullptr);
    return *this;
  }
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;
  ~Provider() { Reset(); }

  Object* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  void Reset() noexcept {
    Object* const object = std::exchange(object_, nullptr);
    auto* const dispose = object != nullptr ? FindEntry<void(Object*)>(library_, kDisposeEntry) : nullptr;
    if (dispose == nullptr)
      return;
    const auto ignored = [](auto...) { return false; };
    Guarded(
        [&] {
          dispose(object);
          return true;
        },
        ignored, ignored);
  }

 private:
  HMODULE library_ = nullptr;
  Object* object_ = nullptr;
};

using VaultProvider = Provider<ixo::VaultStoreProvider, ixo::kDisposeVaultStoreProvider>;
using DeviceCertificateProvider = Provider<ixo::CertificateProvider, ixo::kDisposeCertificateProvider>;

}  // namespace custom_bidi
