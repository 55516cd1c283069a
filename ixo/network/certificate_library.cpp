// The certificate library: the credential vault, and the certificates of devices on a network.

#include <type_traits>

#include "ixo/network/network_certificate_provider.h"
#include "ixo/network/network_vault_store_provider.h"
#include "ixo/network/settings.h"
#include "ixo/support/objects.h"

namespace custom_bidi::network {
namespace {

constexpr DWORD kForDevice = 0;
constexpr DWORD kWithoutDevice = 1;

device::Lent<NetworkVaultStoreProvider> vault_providers;
device::Lent<NetworkCertificateProvider> certificate_providers;

/// Null for another family's address, and when nothing is known of how to reach a device.
ixo::CertificateProvider* MakeFor(ixo::PrinterAddress* address) {
  DeviceAddress* const device_address = AsDeviceAddress(address);
  const Settings* const settings = device_address ? TheSettings() : nullptr;
  return settings ? certificate_providers.Make(*device_address, *settings) : nullptr;
}

}  // namespace

extern "C" {

ixo::VaultStoreProvider* CreateVaultStoreProvider() {
  return vault_providers.Make();
}

void DisposeVaultStoreProvider(ixo::VaultStoreProvider* provider) {
  vault_providers.TakeBack(provider);
}

/// Without an address both modes make a provider for no device, which is how dates are checked.
ixo::CertificateProvider* CreateCertificateProvider(ixo::PrinterAddress* address, DWORD mode) {
  if (address) {
    return mode == kForDevice ? MakeFor(address) : nullptr;
  }
  return mode == kForDevice || mode == kWithoutDevice ? certificate_providers.Make() : nullptr;
}

void DisposeCertificateProviderPtr(ixo::CertificateProvider* provider) {
  certificate_providers.TakeBack(provider);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateVaultStoreProvider), ixo::CreateVaultStoreProviderFunction>);
static_assert(std::is_same_v<decltype(DisposeVaultStoreProvider), ixo::DisposeVaultStoreProviderFunction>);
static_assert(std::is_same_v<decltype(CreateCertificateProvider), ixo::CreateCertificateProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeCertificateProviderPtr), ixo::DisposeCertificateProviderFunction>);

}  // namespace custom_bidi::network
