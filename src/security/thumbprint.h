#pragma once

#include <span>

#include "src/platform.h"
#include "src/unique.h"

namespace custom_bidi {

struct CertificateContextTraits {
  using Value = PCCERT_CONTEXT;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { CertFreeCertificateContext(value); }
};

using CertificateContext = Unique<CertificateContextTraits>;

/// Reads the SHA-1 thumbprint of a certificate into `buffer`; with a null buffer only its size. `size_bytes`
/// is the buffer's capacity and receives the thumbprint's size. E_FAIL, traced, when it cannot be had.
HRESULT GetThumbprint(PCCERT_CONTEXT context, BYTE* buffer, DWORD* size_bytes) noexcept;

/// Compares the thumbprints of two DER-encoded certificates: `match` receives 1 when they are equal, else 0.
/// E_FAIL, traced, with `match` untouched, when one of them is missing or is not a certificate.
HRESULT VerifyCertBlobMatching(std::span<const BYTE> vault_certificate,
                               std::span<const BYTE> device_certificate,
                               DWORD* match) noexcept;

}  // namespace custom_bidi
