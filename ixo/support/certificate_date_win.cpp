#include "ixo/support/provider_answers.h"

#include <memory>

namespace custom_bidi::support {
namespace {

struct FreeContext {
  void operator()(const CERT_CONTEXT* context) const { CertFreeCertificateContext(context); }
};

}  // namespace

HRESULT CheckDates(std::span<const BYTE> der, bool& valid) {
  const std::unique_ptr<const CERT_CONTEXT, FreeContext> context(
      CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
  if (!context) {
    const HRESULT result = HRESULT_FROM_WIN32(GetLastError());
    return FAILED(result) ? result : E_FAIL;
  }
  valid = CertVerifyTimeValidity(nullptr, context->pCertInfo) == 0;
  return S_OK;
}

}  // namespace custom_bidi::support
