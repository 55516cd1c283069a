// Judging a certificate: its warnings, the vault's copy, its dates.

#include <new>

#include "src/security/certificate_wrapper.h"
#include "src/security/thumbprint.h"

namespace custom_bidi {

HRESULT CertificateHandlingWrapper::ValidateCertificate() {
  if (mode_ != kFullCheck && mode_ != kWithoutAddress)
    return E_FAIL;
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

  if (!IsInVault())
    TraceLog(W("[CertificateHandlingWrapper]:No certificate present is vault"));
  else if (FAILED(CompareWithVault()))
    return E_FAIL;
  return mode_ == kFullCheck ? CheckDates() : S_OK;
}

bool CertificateHandlingWrapper::IsInVault() const {
  if (!vault_store_ || !vault_store_->provider())
    return false;
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
    last_error_ = GetLastError();
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
  if (!provider_ || FAILED(provider_->CheckCertificateDate(certificate_.data(),
                                                           static_cast<DWORD>(certificate_.size()), &valid)))
    return E_FAIL;
  if (valid != 0) {
    TraceLog(W("[CertificateHandlingWrapper]:Certificate is valid"));
    return S_OK;
  }
  constexpr DWORD kDateInvalid = 12037;  // ERROR_INTERNET_SEC_CERT_DATE_INVALID, wininet.h
  if (!warnings_.Holds(kDateInvalid))
    warnings_.Append(kDateInvalid);
  TraceLog(W("[CertificateHandlingWrapper]:Certificate Date is Invalid"));
  return S_OK;
}

}  // namespace custom_bidi
