// The certificate library: the credential vault, and the simulated printer's certificate.

#include <atomic>
#include <string>
#include <type_traits>
#include <utility>

#include "ixo/simulated/certificate_provider.h"
#include "ixo/simulated/noted_calls.h"
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
    if (object == nullptr) {
      return kNone;
    }
    const Object* const lent = lent_.Find(object);
    return lent != nullptr ? lent->Name() : "unknown";
  }

  void TakeBack(const void* object) { lent_.TakeBack(object); }

 private:
  const char* const kind_;
  std::atomic<size_t> made_ = 0;
  support::Lent<Object> lent_;
};

Named<SimulatedVaultStoreProvider> g_vault_providers("vault");
Named<SimulatedCertificateProvider> g_certificate_providers("certificate");

const Printer* ThePrinter() {
  return support::RaisingNoMemory([] { return CertificateLibrary().ThePrinter(); });
}

/// Makes an object, unless the printer's file says otherwise, and notes which.
template <class Make>
auto Create(Operation operation, Make&& make) -> decltype(make()) {
  return support::RaisingNoMemory([&]() -> decltype(make()) {
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
  });
}

template <class Object>
void Dispose(Operation operation, Named<Object>& lent, const void* object) {
  support::RaisingNoMemory([&] {
    if (CertificateLibrary().ThePrinter() != nullptr) {
      EnterNoted(operation, lent.NameOf(object));
    }
    lent.TakeBack(object);
  });
}

/// Null when the provider is to say that there is none: the printer has none, or there is no way to it.
const Certificate* CertificateOf(const Printer& printer,
                                 const deviceio::PrinterAddress* address,
                                 DWORD mode) {
  const bool can_ask = mode == kWithoutDevice || address != nullptr;
  return can_ask && printer.certificate ? &*printer.certificate : nullptr;
}

}  // namespace

extern "C" {

deviceio::VaultStoreProvider* CreateVaultStoreProvider() {
  if (ThePrinter() == nullptr) {
    return nullptr;
  }
  return Create(Operation::kCreateVaultStoreProvider, [] { return g_vault_providers.Make(); });
}

void DisposeVaultStoreProvider(deviceio::VaultStoreProvider* provider) {
  Dispose(Operation::kDisposeVaultStoreProvider, g_vault_providers, provider);
}

deviceio::CertificateProvider* CreateCertificateProvider(deviceio::PrinterAddress* address, DWORD mode) {
  const Printer* const printer = ThePrinter();
  const bool meaningful = mode == kForDevice || (mode == kWithoutDevice && address == nullptr);
  if (printer == nullptr || !meaningful) {
    return nullptr;
  }
  return Create(Operation::kCreateCertificateProvider,
                [=] { return g_certificate_providers.Make(CertificateOf(*printer, address, mode)); });
}

void DisposeCertificateProviderPtr(deviceio::CertificateProvider* provider) {
  Dispose(Operation::kDisposeCertificateProvider, g_certificate_providers, provider);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateVaultStoreProvider), deviceio::CreateVaultStoreProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeVaultStoreProvider), deviceio::DisposeVaultStoreProviderFunction>);
static_assert(
    std::is_same_v<decltype(CreateCertificateProvider), deviceio::CreateCertificateProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeCertificateProviderPtr), deviceio::DisposeCertificateProviderFunction>);

}  // namespace custom_bidi::simulated
