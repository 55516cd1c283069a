// Judging a certificate: its warnings, the vault's copy, its dates.

#include <algorithm>
#include <new>

#include "src/security/certificate_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

struct CertificateContextTraits {
  using Value = PCCERT_CONTEXT;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { CertFreeCertificateContext(value); }
};

using CertificateContext = Unique<CertificateContextTraits>;

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

/// Reads the SHA-1 thumbprint of a certificate into `buffer`; with a null buffer only its size. `size_bytes`
/// is the buffer's capacity and receives the thumbprint's size. E_FAIL, traced, when it cannot be had.
HRESULT GetThumbprint(PCCERT_CONTEXT context, BYTE* buffer, DWORD* size_bytes) noexcept {
  return TracingFailure([&] {
    if (context == nullptr || size_bytes == nullptr) {
      throw Failure{W("Invalid arguments\n")};
    }
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
  if (FAILED(GetThumbprint(context.Get(), nullptr, &size_bytes)) && size_bytes == 0) {
    fail();
  }
  std::vector<BYTE> thumbprint(size_bytes);
  if (FAILED(GetThumbprint(context.Get(), thumbprint.data(), &size_bytes))) {
    fail();
  }
  // A reading that fails can still tell the size. What it left unwritten must never count as a match.
  if (std::ranges::all_of(thumbprint, [](BYTE byte) { return byte == 0; })) {
    fail();
  }
  return thumbprint;
}

/// Compares the thumbprints of two DER-encoded certificates: `match` receives 1 when they are equal, else 0.
/// E_FAIL, traced, with `match` untouched, when one of them is missing or is not a certificate.
HRESULT VerifyCertBlobMatching(std::span<const BYTE> vault_certificate,
                               std::span<const BYTE> device_certificate,
                               DWORD* match) noexcept {
  return TracingFailure([&] {
    if (vault_certificate.data() == nullptr || match == nullptr ||
        !IsCertificateLength(vault_certificate.size())) {
      throw Failure{W("Invalid arguments\n")};
    }
    TraceLog(W("Vault Certificate lenght = %d\n"), vault_certificate.size());
    const std::vector<BYTE> vault_thumbprint = ThumbprintOf(vault_certificate);
    if (device_certificate.empty()) {
      throw Failure{W("Invalid Device Certificate\n")};
    }
    // The vault's length once more, on purpose.
    TraceLog(W("Vault Certificate lenght = %d\n"), vault_certificate.size());
    const std::vector<BYTE> device_thumbprint = ThumbprintOf(device_certificate);

    *match = vault_thumbprint == device_thumbprint ? 1 : 0;
    TraceLog(*match != 0 ? W("Vault Certificate and device certificate thumbprint are matching")
                         : W("Device certificate is changed"));
  });
}

}  // namespace

HRESULT CertificateHandlingWrapper::ValidateCertificate() {
  if (mode_ != kFullCheck && mode_ != kWithoutAddress) {
    return E_FAIL;
  }
  if (mode_ == kFullCheck && !device_uuid_.empty() && !user_.empty()) {
    vault_store_.reset(new (std::nothrow) CertStoreVault(library_, device_uuid_, user_, driver_));
    if (!vault_store_) {
      TraceLog(W("[CertificateHandlingWrapper]:CertificateStore vault not created"));
      return E_FAIL;
    }
  }
  if (HasNonNegotiableError(warnings_.codes())) {
    TraceLog(W("[CertificateHandlingWrapper]:Non negotiable error present"));
    return S_OK;
  }
  if (certificate_.empty()) {
    TraceLog(W("[CertificateHandlingWrapper]:No certificate retreived from device"));
    return S_OK;
  }
  TraceLog(W("[CertificateHandlingWrapper]:No Non Negotiable Error Present"));

  if (!IsInVault()) {
    TraceLog(W("[CertificateHandlingWrapper]:No certificate present is vault"));
  } else if (FAILED(CompareWithVault())) {
    return E_FAIL;
  }
  return mode_ == kFullCheck ? CheckDates() : S_OK;
}

bool CertificateHandlingWrapper::IsInVault() const {
  if (!vault_store_ || !vault_store_->provider()) {
    return false;
  }
  const bool present = vault_store_->provider()->IsTargetPresent() != 0;
  TraceLog(present ? W("[IxoWrapper]:Target present") : W("[IxoWrapper]:Target NOT present"));
  return present;
}

HRESULT CertificateHandlingWrapper::CompareWithVault() {
  BYTE* bytes = nullptr;  // the provider's
  DWORD length_bytes = 0;
  if (SUCCEEDED(vault_store_->provider()->GetCertFromVault(&bytes, &length_bytes))) {
    TraceLog(W("[IxoWrapper]:GetCertFromVault returned success"));
  } else {
    TraceLog(W("[IxoWrapper]:GetCertFromVault returned failure"));
    if (bytes == nullptr && length_bytes == 0) {
      TraceLog(W("[CertificateHandlingWrapper]:GetCertificateFromVault Failed"));
      return E_FAIL;
    }
  }

  DWORD match = 0;
  if (FAILED(VerifyCertBlobMatching({bytes, length_bytes}, certificate_, &match))) {
    TraceLog(W("[CertificateHandlingWrapper]:VerifyCertBlobMatching API Failed"));
    TraceLog(W("[CertificateHandlingWrapper]:Certificate Match operation failed"));
    return E_FAIL;
  }
  TraceLog(W("[CertificateHandlingWrapper]:VerifyCertBlobMatching API Succeded"));
  if (match != 0) {
    TraceLog(W("[CertificateHandlingWrapper]:Certificate matched with Vault"));
    warnings_.Clear();
  } else {
    warnings_.Append(ERROR_NO_MATCH);
  }
  return S_OK;
}

HRESULT CertificateHandlingWrapper::CheckDates() {
  LONG valid = 0;
  if (!provider_ || FAILED(provider_->CheckCertificateDate(
                        certificate_.data(), static_cast<DWORD>(certificate_.size()), &valid))) {
    return E_FAIL;
  }
  if (valid != 0) {
    TraceLog(W("[CertificateHandlingWrapper]:Certificate is valid"));
    return S_OK;
  }
  constexpr DWORD kDateInvalid = 12037;  // ERROR_INTERNET_SEC_CERT_DATE_INVALID, wininet.h
  if (!warnings_.Holds(kDateInvalid)) {
    warnings_.Append(kDateInvalid);
  }
  TraceLog(W("[CertificateHandlingWrapper]:Certificate Date is Invalid"));
  return S_OK;
}

}  // namespace custom_bidi
