#include <openssl/err.h>

#include <fstream>
#include <iterator>

#include "tests/pal/pal_fixture.h"

namespace {

using CryptTest = PalTest;

std::vector<BYTE> Certificate() {
  std::ifstream file(CERTIFICATE_FOLDER "/device.der", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

PCCERT_CONTEXT Create(const std::vector<BYTE>& bytes) {
  return CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(), static_cast<DWORD>(bytes.size()));
}

TEST_F(CryptTest, ContextsAreCounted) {
  const PCCERT_CONTEXT context = Create(Certificate());
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->pCertInfo, nullptr);
  EXPECT_EQ(context->hCertStore, nullptr);
  EXPECT_EQ(pal::CountLiveObjects().certificates, 1);
  EXPECT_EQ(pal::DescribeLiveObjects(), "1 certificates");
  CertFreeCertificateContext(context);
  EXPECT_EQ(Create({'x'}), nullptr);
  EXPECT_EQ(pal::LiveObjects(), 0);
}

TEST_F(CryptTest, MissingArguments) {
  EXPECT_EQ(CertCreateCertificateContext(X509_ASN_ENCODING, nullptr, 5), nullptr);
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), CRYPT_E_ASN1_EOD);
  DWORD size = 0;
  EXPECT_FALSE(CertGetCertificateContextProperty(nullptr, CERT_SHA1_HASH_PROP_ID, nullptr, &size));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), E_INVALIDARG);
  const PCCERT_CONTEXT context = Create(Certificate());
  EXPECT_FALSE(CertGetCertificateContextProperty(context, CERT_SHA1_HASH_PROP_ID, nullptr, nullptr));
  EXPECT_EQ(static_cast<HRESULT>(GetLastError()), E_INVALIDARG);
  CertFreeCertificateContext(context);
}

TEST_F(CryptTest, ErrorQueueOfTheProgramStaysAsItWas) {
  ERR_clear_error();
  EXPECT_EQ(Create({0x30, 5, 1}), nullptr);
  EXPECT_EQ(ERR_peek_error(), 0u);
  ERR_raise(ERR_LIB_USER, 7);
  EXPECT_EQ(Create({0x30, 0}), nullptr);
  EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 7);
  ERR_get_error();
  EXPECT_EQ(ERR_get_error(), 0u);
}

TEST_F(CryptTest, CodesOfABlockThatIsNoCertificate) {
  const std::vector<BYTE> whole = Certificate();
  const std::pair<std::vector<BYTE>, HRESULT> cases[] = {
      {{}, CRYPT_E_ASN1_EOD},
      {{0x30}, CRYPT_E_ASN1_EOD},
      {{whole.begin(), whole.end() - 1}, CRYPT_E_ASN1_EOD},
      {{0x30, 0}, CRYPT_E_ASN1_CORRUPT},
      {{0x31, 0}, CRYPT_E_ASN1_BADTAG},
      {{'-', '-', '-', '-', '-', 'B', 'E', 'G', 'I', 'N'}, CRYPT_E_ASN1_BADTAG},
  };
  for (const auto& [bytes, code] : cases) {
    EXPECT_EQ(Create(bytes), nullptr);
    EXPECT_EQ(static_cast<HRESULT>(GetLastError()), code) << bytes.size();
  }
}

}  // namespace
