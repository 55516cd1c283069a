#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "base/utf.h"
#include "tools/bidictl/text/bidictl_text.h"
#include "tools/bidictl/text/shown_certificate.h"

namespace custom_bidi_tools {

namespace {

std::string NameText(const X509_NAME* name) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), &BIO_free);
  constexpr unsigned long kForm =
      (XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB & ~XN_FLAG_SEP_MASK) | XN_FLAG_SEP_CPLUS_SPC;
  if (!memory || X509_NAME_print_ex(memory.get(), name, 0, kForm) < 0) {
    return "";
  }
  char* text = nullptr;
  const long length = BIO_get_mem_data(memory.get(), &text);
  return length > 0 ? std::string(text, static_cast<size_t>(length)) : "";
}

std::string TimeText(const ASN1_TIME* time) {
  tm parts{};
  std::array<char, 32> text{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) {
    return "";
  }
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string Thumbprint(std::span<const uint8_t> der, const EVP_MD* method) {
  std::array<uint8_t, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  if (EVP_Digest(der.data(), der.size(), digest.data(), &length, method, nullptr) != 1) {
    return "";
  }
  return ColonHex({digest.data(), length});
}

}  // namespace

std::string ToUtf8(WideStringView text) {
  return base::ToUtf8(text);
}

std::optional<WideString> ToWide(std::string_view text) {
  WideString wide = base::ToUtf16(text);
  // What is not well-formed was replaced on the way.
  return base::ToUtf8(wide) == text ? std::optional(std::move(wide)) : std::nullopt;
}

std::optional<CertificateText> ReadCertificate(std::span<const uint8_t> der) {
  const unsigned char* next = der.data();
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(
      der.empty() ? nullptr : d2i_X509(nullptr, &next, static_cast<long>(der.size())), &X509_free);
  ERR_clear_error();
  if (!certificate) {
    return std::nullopt;
  }
  return CertificateText{.subject = NameText(X509_get_subject_name(certificate.get())),
                         .issuer = NameText(X509_get_issuer_name(certificate.get())),
                         .valid_from = TimeText(X509_get0_notBefore(certificate.get())),
                         .valid_until = TimeText(X509_get0_notAfter(certificate.get())),
                         .sha1 = Thumbprint(der, EVP_sha1()),
                         .sha256 = Thumbprint(der, EVP_sha256())};
}

void FreeTaskMemory(void* block) {
  // What stands in for the COM task allocator is the C library's.
  std::free(block);
}

}  // namespace custom_bidi_tools
