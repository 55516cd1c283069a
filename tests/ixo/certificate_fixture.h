#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "tests/ixo/simulated_fixture.h"

namespace custom_bidi::simulated {

/// The certificate library with every entry point bound, for one load, and an address to ask about.
struct CertificateDevice {
  DeviceLibrary io{"vexmobixo64.dll"};
  DeviceLibrary library{"vexmobixocert.dll"};
  ixo::CreateVaultStoreProviderFunction* create_vault =
      library.Find<ixo::CreateVaultStoreProviderFunction>(ixo::kCreateVaultStoreProvider);
  ixo::DisposeVaultStoreProviderFunction* dispose_vault =
      library.Find<ixo::DisposeVaultStoreProviderFunction>(ixo::kDisposeVaultStoreProvider);
  ixo::CreateCertificateProviderFunction* create_certificate =
      library.Find<ixo::CreateCertificateProviderFunction>(ixo::kCreateCertificateProvider);
  ixo::DisposeCertificateProviderFunction* dispose_certificate =
      library.Find<ixo::DisposeCertificateProviderFunction>(ixo::kDisposeCertificateProvider);

  ixo::PrinterAddress* Address() const {
    return io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromIpAddress)(W("192.0.2.10"));
  }
  /// A vault store provider with the test's target and user.
  ixo::VaultStoreProvider* Vault() const;
  /// A certificate provider for the address.
  ixo::CertificateProvider* Certificate() const { return create_certificate(Address(), 0); }
};

inline constexpr WCHAR kTarget[] = W("simulated_tests.target");
inline constexpr WCHAR kUser[] = W("user");

/// The tests' target has no entry when a test begins, nor when it has ended.
class CertificateTest : public SimulatedPrinter {
 protected:
  CertificateTest();
  ~CertificateTest() override;

  /// A file of the test's folder that is gone when the test ends.
  void WriteFile(const std::string& name, std::string_view content);
  static std::string ReadFile(const std::string& name);

  /// A printer with one address and the given members besides.
  static void WritePrinterWith(const std::string& members);

  /// Where the vault is, if it is in a home of the test's own.
  const std::filesystem::path& Home() const { return home_; }

 private:
  void Clean() const;

  const std::filesystem::path home_;
  std::vector<std::string> files_;
};

/// An integer in hexadecimal.
std::string Hex(uint32_t number);

/// What a call answers, or "raised N", or "threw".
std::string InWords(const std::function<std::string()>& call);

}  // namespace custom_bidi::simulated
