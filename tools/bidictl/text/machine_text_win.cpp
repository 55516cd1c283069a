#include <windows.h>

#include <objbase.h>
#include <wincrypt.h>

#include <array>
#include <cstdio>
#include <memory>
#include <vector>

#include "tools/bidictl/text/bidictl_text.h"
#include "tools/bidictl/text/shown_certificate.h"

namespace custom_bidi_tools {

namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

std::string NameText(CERT_NAME_BLOB& name) {
  constexpr DWORD kForm = CERT_X500_NAME_STR | CERT_NAME_STR_REVERSE_FLAG;
  const DWORD capacity = CertNameToStrW(kEncoding, &name, kForm, nullptr, 0);
  std::vector<wchar_t> text(capacity + 1);
  CertNameToStrW(kEncoding, &name, kForm, text.data(), capacity);
  return ToUtf8(text.data());
}

std::string TimeText(const FILETIME& time) {
  SYSTEMTIME parts{};
  if (!FileTimeToSystemTime(&time, &parts)) {
    return "";
  }
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%04u-%02u-%02u %02u:%02u:%02u", unsigned{parts.wYear},
                unsigned{parts.wMonth}, unsigned{parts.wDay}, unsigned{parts.wHour}, unsigned{parts.wMinute},
                unsigned{parts.wSecond});
  return text.data();
}

/// The provider whose algorithms there are more of than SHA-1.
class HashProvider {
 public:
  HashProvider() {
    CryptAcquireContextW(&provider_, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT | CRYPT_SILENT);
  }
  ~HashProvider() {
    if (provider_ != 0) {
      CryptReleaseContext(provider_, 0);
    }
  }
  HashProvider(const HashProvider&) = delete;
  HashProvider& operator=(const HashProvider&) = delete;

  std::string Thumbprint(std::span<const uint8_t> der, ALG_ID method) const {
    std::array<uint8_t, 64> digest{};
    auto length = static_cast<DWORD>(digest.size());
    if (!CryptHashCertificate(provider_, method, 0, der.data(), static_cast<DWORD>(der.size()), digest.data(),
                              &length)) {
      return "";
    }
    return ColonHex({digest.data(), length});
  }

 private:
  HCRYPTPROV provider_ = 0;
};

}  // namespace

std::string ToUtf8(WideStringView text) {
  const auto length = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

std::optional<WideString> ToWide(std::string_view text) {
  constexpr DWORD kStrictly = MB_ERR_INVALID_CHARS;
  const auto length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(CP_UTF8, kStrictly, text.data(), length, nullptr, 0);
  if (size == 0 && length != 0) {
    return std::nullopt;
  }
  WideString wide(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, kStrictly, text.data(), length, wide.data(), size);
  return wide;
}

std::optional<CertificateText> ReadCertificate(std::span<const uint8_t> der) {
  const std::unique_ptr<const CERT_CONTEXT, decltype(&CertFreeCertificateContext)> context(
      CertCreateCertificateContext(kEncoding, der.data(), static_cast<DWORD>(der.size())),
      &CertFreeCertificateContext);
  if (!context) {
    return std::nullopt;
  }
  CERT_INFO& info = *context->pCertInfo;
  const HashProvider hashes;
  return CertificateText{.subject = NameText(info.Subject),
                         .issuer = NameText(info.Issuer),
                         .valid_from = TimeText(info.NotBefore),
                         .valid_until = TimeText(info.NotAfter),
                         .sha1 = hashes.Thumbprint(der, CALG_SHA1),
                         .sha256 = hashes.Thumbprint(der, CALG_SHA_256)};
}

void FreeTaskMemory(void* block) {
  CoTaskMemFree(block);
}

}  // namespace custom_bidi_tools
