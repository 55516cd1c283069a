// The certificate library: the credential vault, and the simulated printer's certificate.

#include <atomic>
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

/// Objects that are out, under names of their own in the log.
template <class Object>
class Named {
 public:
  /// Their names begin with `kind`.
  explicit Named(const char* kind) : kind_(kind) {}

  template <class... Arguments>
  Object* Make(Arguments&&... arguments) {
    return lent_.Make(kind_ + ("-" + std::to_string(++made_)), std::forward<Arguments>(arguments)...);
  }

  /// The name of whatever a caller gives back.
  std::string NameOf(const void* object) {
    if (!object) {
      return kNone;
    }
    const Object* const lent = lent_.Find(object);
    return lent ? lent->Name() : "unknown";
  }

  void TakeBack(const void* object) { lent_.TakeBack(object); }

 private:
  const char* const kind_;
  std::atomic<size_t> made_ = 0;
  device::Lent<Object> lent_;
};

Named<SimulatedVaultStoreProvider> vault_providers("vault");
Named<SimulatedCertificateProvider> certificate_providers("certificate");

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
void Dispose(Operation operation, Named<Object>& lent, const void* object) {
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
