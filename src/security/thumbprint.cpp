#include "src/security/thumbprint.h"

#include <algorithm>
#include <vector>

#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

/// A step that failed, with the text that the trace gets for it. The texts end in line feeds of their own.
struct Failure {
  WString message;
};

/// Runs `body` and traces what made it fail.
template <class Body>
HRESULT TracingFailure(Body&& body) noexcept {
  const auto unexpected = [](auto...) -> HRESULT { return E_FAIL; };
  return Guarded(
      [&]() -> HRESULT {
        try {
          body();
          return S_OK;
        } catch (const Failure& failure) {
          TraceLog(W("Exception occured - %s\n"), failure.message);
          return E_FAIL;
        }
      },
      unexpected, unexpected);
}

CertificateContext MakeContext(std::span<const BYTE> certificate) {
  CertificateContext context(CertCreateCertificateContext(
      X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, certificate.data(), static_cast<DWORD>(certificate.size())));
  if (!context) {
    TraceLog(W("Failed to create certificate context using crypto CertCreateCertificateContext API : %d"),
             GetLastError());
    throw Failure{};
  }
  return context;
}

std::vector<BYTE> ThumbprintOf(std::span<const BYTE> certificate) {
  const CertificateContext context = MakeContext(certificate);
  const auto fail = [] { throw Failure{W("Failed to generate certificate thumbprint information\n")}; };
  DWORD size_bytes = 0;
  if (FAILED(GetThumbprint(context.Get(), nullptr, &size_bytes)) && size_bytes == 0)
    fail();
  std::vector<BYTE> thumbprint(size_bytes);
  if (FAILED(GetThumbprint(context.Get(), thumbprint.data(), &size_bytes)))
    fail();
  // A reading that fails can still tell the size. What it left unwritten must never count as a match.
  if (std::ranges::all_of(thumbprint, [](BYTE byte) { return byte == 0; }))
    fail();
  return thumbprint;
}

}  // namespace

HRESULT GetThumbprint(PCCERT_CONTEXT context, BYTE* buffer, DWORD* size_bytes) noexcept {
  return TracingFailure([&] {
    if (context == nullptr || size_bytes == nullptr)
      throw Failure{W("Invalid arguments\n")};
    DWORD size = *size_bytes;
    if (!CertGetCertificateContextProperty(context, CERT_SHA1_HASH_PROP_ID, buffer, &size) && size == 0) {
      const DWORD code = GetLastError();
      TraceLog(W("[CertificateHandlingWrapper]:CertGetCertificateContextProperty failed with Errorcode - %d"),
               code);
      WCHAR message[80];
      FormatText(message, W("CertGetCertificateContextProperty failed : %u"), code);
      throw Failure{message};
    }
    *size_bytes = size;
  });
}

HRESULT VerifyCertBlobMatching(std::span<const BYTE> vault_certificate,
                               std::span<const BYTE> device_certificate,
                               DWORD* match) noexcept {
  return TracingFailure([&] {
    if (vault_certificate.data() == nullptr || match == nullptr)
      throw Failure{W("Invalid arguments\n")};
    TraceLog(W("Vault Certificate lenght = %d\n"), vault_certificate.size());
    const std::vector<BYTE> vault_thumbprint = ThumbprintOf(vault_certificate);
    if (device_certificate.empty())
      throw Failure{W("Invalid Device Certificate\n")};
    // The vault's length once more, on purpose.
    TraceLog(W("Vault Certificate lenght = %d\n"), vault_certificate.size());
    const std::vector<BYTE> device_thumbprint = ThumbprintOf(device_certificate);

    *match = vault_thumbprint == device_thumbprint ? 1 : 0;
    TraceLog(*match != 0 ? W("Vault Certificate and device certificate thumbprint are matching")
                         : W("Device certificate is changed"));
  });
}

}  // namespace custom_bidi
