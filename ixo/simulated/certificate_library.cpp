// The certificate library: the credential vault, and the simulated printer's certificate.

#include <algorithm>
#include <list>
#include <string>
#include <type_traits>
#include <utility>

#include "ixo/simulated/certificate_calls.h"
#include "ixo/simulated/certificate_provider.h"
#include "ixo/simulated/vault_store_provider.h"

namespace custom_bidi::simulated {
namespace {

constexpr DWORD kForDevice = 0;
constexpr DWORD kWithoutDevice = 1;

/// In the log: no object was made or given.
constexpr char kNone[] = "none";

/// Objects that are out until their callers give them back, or until the library is unloaded.
template <class Object>
class Lent {
 public:
  /// Their names in the log begin with `kind`.
  explicit Lent(const char* kind) : kind_(kind) {}

  template <class... Arguments>
  Object* Make(Arguments&&... arguments) {
    const Locked locked(lock_);
    return &objects_.emplace_back(kind_ + ("-" + std::to_string(++made_)),
                                  std::forward<Arguments>(arguments)...);
  }

  /// The name in the log of whatever a caller gives back.
  std::string NameOf(const void* object) {
    if (!object) {
      return kNone;
    }
    const Locked locked(lock_);
    const auto found = Find(object);
    return found == objects_.end() ? "unknown" : found->Name();
  }

  void TakeBack(const void* object) {
    const Locked locked(lock_);
    if (const auto found = Find(object); found != objects_.end()) {
      objects_.erase(found);
    }
  }

 private:
  /// An object has a single base, at its beginning.
  auto Find(const void* object) {
    return std::ranges::find_if(objects_, [object](const Object& lent) { return &lent == object; });
  }

  const char* const kind_;
  SRWLOCK lock_ = SRWLOCK_INIT;
  size_t made_ = 0;
  std::list<Object> objects_;
};

Lent<SimulatedVaultStoreProvider> vault_providers("vault");
Lent<SimulatedCertificateProvider> certificate_providers("certificate");

/// Makes an object, unless the printer's file says otherwise, and notes which.
template <class Make>
auto Create(Operation operation, Make&& make) -> decltype(make()) {
  try {
    if (!CertificateLibrary().Enter(operation, {}).give_null) {
      auto* const made = make();
      NoteCall(operation, made->Name());
      return made;
    }
  } catch (...) {
    NoteCall(operation, kNone);
    throw;
  }
  NoteCall(operation, kNone);
  return nullptr;
}

template <class Object>
void Dispose(Operation operation, Lent<Object>& lent, const void* object) {
  if (CertificateLibrary().ThePrinter()) {
    EnterNoted(operation, lent.NameOf(object));
  }
  lent.TakeBack(object);
}

/// Null when the provider is to say that there is none: the printer has none, or there is no way to it.
const Certificate* CertificateOf(const Printer& printer, const ixo::PrinterAddress* address, DWORD mode) {
  const bool can_ask = mode == kWithoutDevice || address;
  return can_ask && printer.certificate ? &*printer.certificate : nullptr;
}

}  // namespace

extern "C" {

ixo::VaultStoreProvider* CreateVaultStoreProvider() {
  if (!CertificateLibrary().ThePrinter()) {
    return nullptr;
  }
  return Create(Operation::kCreateVaultStoreProvider, [] { return vault_providers.Make(); });
}

void DisposeVaultStoreProvider(ixo::VaultStoreProvider* provider) {
  Dispose(Operation::kDisposeVaultStoreProvider, vault_providers, provider);
}

ixo::CertificateProvider* CreateCertificateProvider(ixo::PrinterAddress* address, DWORD mode) {
  const Printer* const printer = CertificateLibrary().ThePrinter();
  const bool meaningful = mode == kForDevice || (mode == kWithoutDevice && !address);
  if (!printer || !meaningful) {
    return nullptr;
  }
  return Create(Operation::kCreateCertificateProvider,
                [=] { return certificate_providers.Make(CertificateOf(*printer, address, mode)); });
}

void DisposeCertificateProviderPtr(ixo::CertificateProvider* provider) {
  Dispose(Operation::kDisposeCertificateProvider, certificate_providers, provider);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateVaultStoreProvider), ixo::CreateVaultStoreProviderFunction>);
static_assert(std::is_same_v<decltype(DisposeVaultStoreProvider), ixo::DisposeVaultStoreProviderFunction>);
static_assert(std::is_same_v<decltype(CreateCertificateProvider), ixo::CreateCertificateProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeCertificateProviderPtr), ixo::DisposeCertificateProviderFunction>);

}  // namespace custom_bidi::simulated
