// The certificate library: the credential vault, and the certificates of devices on a network.

#include <type_traits>

#include "ixo/network/certificate/network_certificate_provider.h"
#include "ixo/network/keyring/network_vault.h"
#include "ixo/network/settings.h"
#include "ixo/support/objects.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

constexpr DWORD kForDevice = 0;
constexpr DWORD kWithoutDevice = 1;

support::Lent<NetworkVaultStoreProvider> g_vault_providers;
support::Lent<NetworkCertificateProvider> g_certificate_providers;

/// Null for another family's address, and when nothing is known of how to reach a device.
deviceio::CertificateProvider* MakeFor(deviceio::PrinterAddress* address) {
  DeviceAddress* const device_address = AsDeviceAddress(address);
  const Settings* const settings = device_address != nullptr ? TheSettings() : nullptr;
  return settings != nullptr ? g_certificate_providers.Make(*device_address, *settings) : nullptr;
}

}  // namespace

extern "C" {

deviceio::VaultStoreProvider* CreateVaultStoreProvider() {
  return support::RaisingNoMemory([] { return g_vault_providers.Make(); });
}

void DisposeVaultStoreProvider(deviceio::VaultStoreProvider* provider) {
  g_vault_providers.TakeBack(provider);
}

/// Without an address both modes make a provider for no device, which is how dates are checked.
deviceio::CertificateProvider* CreateCertificateProvider(deviceio::PrinterAddress* address, DWORD mode) {
  return support::RaisingNoMemory([=]() -> deviceio::CertificateProvider* {
    if (address != nullptr) {
      return mode == kForDevice ? MakeFor(address) : nullptr;
    }
    return mode == kForDevice || mode == kWithoutDevice ? g_certificate_providers.Make() : nullptr;
  });
}

void DisposeCertificateProviderPtr(deviceio::CertificateProvider* provider) {
  g_certificate_providers.TakeBack(provider);
}

}  // extern "C"

static_assert(std::is_same_v<decltype(CreateVaultStoreProvider), deviceio::CreateVaultStoreProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeVaultStoreProvider), deviceio::DisposeVaultStoreProviderFunction>);
static_assert(
    std::is_same_v<decltype(CreateCertificateProvider), deviceio::CreateCertificateProviderFunction>);
static_assert(
    std::is_same_v<decltype(DisposeCertificateProviderPtr), deviceio::DisposeCertificateProviderFunction>);

}  // namespace custom_bidi::network
