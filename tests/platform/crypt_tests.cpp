#include <fstream>
#include <iterator>
#include <vector>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

using Bytes = std::vector<BYTE>;
constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
constexpr DWORD kSha1Bytes = 20;

class CryptTest : public PlatformTest {
 protected:
  static Bytes Certificate(const std::string& name) {
    std::ifstream file(CERTIFICATE_FOLDER "/" + name + ".der", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static PCCERT_CONTEXT Create(const Bytes& bytes, DWORD encoding = kEncoding) {
    return CertCreateCertificateContext(encoding, bytes.data(), static_cast<DWORD>(bytes.size()));
  }
  /// Empty when the bytes are no certificate.
  static Bytes Thumbprint(const Bytes& bytes) {
    const PCCERT_CONTEXT context = Create(bytes);
    if (context == nullptr)
      return {};
    Bytes thumbprint(64);
    DWORD size = 64;
    EXPECT_TRUE(CertGetCertificateContextProperty(context, CERT_SHA1_HASH_PROP_ID, thumbprint.data(), &size));
    thumbprint.resize(size);
    CertFreeCertificateContext(context);
    return thumbprint;
  }
};

TEST_F(CryptTest, ContextHoldsACopyOfTheCertificate) {
  for (const char* name : {"device", "rsa4096", "expired", "not_yet_valid", "root", "chained"}) {
    SCOPED_TRACE(name);
    Bytes bytes = Certificate(name);
    ASSERT_GT(bytes.size(), 500u);
    const Bytes original = bytes;
    const PCCERT_CONTEXT context = Create(bytes);
    ASSERT_NE(context, nullptr);
    bytes.assign(bytes.size(), 0);
    EXPECT_EQ(context->dwCertEncodingType, kEncoding);
    EXPECT_EQ(Bytes(context->pbCertEncoded, context->pbCertEncoded + context->cbCertEncoded), original);
    EXPECT_TRUE(CertFreeCertificateContext(context));
  }
  EXPECT_TRUE(CertFreeCertificateContext(nullptr));
}

TEST_F(CryptTest, EncodingMustBeX509) {
  const Bytes bytes = Certificate("device");
  for (const DWORD encoding : {DWORD{0}, DWORD{2}, DWORD{PKCS_7_ASN_ENCODING}}) {
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(Create(bytes, encoding), nullptr); }),
              static_cast<DWORD>(E_INVALIDARG))
        << encoding;
  }
  const PCCERT_CONTEXT context = Create(bytes, X509_ASN_ENCODING);
  EXPECT_NE(context, nullptr);
  CertFreeCertificateContext(context);
}

TEST_F(CryptTest, ThumbprintAndItsSize) {
  const Bytes bytes = Certificate("device");
  const PCCERT_CONTEXT context = Create(bytes);
  ASSERT_NE(context, nullptr);
  const auto read = [context](BYTE* data, DWORD* size) {
    return CertGetCertificateContextProperty(context, CERT_SHA1_HASH_PROP_ID, data, size);
  };
  for (DWORD size : {0u, 5u, 64u}) {
    EXPECT_TRUE(read(nullptr, &size));
    EXPECT_EQ(size, kSha1Bytes);
  }
  for (const DWORD capacity : {DWORD{0}, kSha1Bytes - 1}) {
    Bytes data(64, 0xA5);
    DWORD size = capacity;
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(read(data.data(), &size)); }), DWORD{ERROR_MORE_DATA});
    EXPECT_EQ(size, kSha1Bytes) << "what is needed";
    EXPECT_EQ(data, Bytes(64, 0xA5));
  }
  for (const DWORD capacity : {kSha1Bytes, DWORD{64}}) {
    Bytes data(64, 0xA5);
    DWORD size = capacity;
    EXPECT_TRUE(read(data.data(), &size));
    EXPECT_EQ(size, kSha1Bytes);
    EXPECT_EQ(Bytes(data.begin() + kSha1Bytes, data.end()), Bytes(64 - kSha1Bytes, 0xA5));
  }
  DWORD size = 64;
  Bytes data(64);
  constexpr DWORD kFriendlyName = 11;  // which this certificate does not have
  EXPECT_EQ(LastErrorOf([&] {
              EXPECT_FALSE(CertGetCertificateContextProperty(context, kFriendlyName, data.data(), &size));
            }),
            static_cast<DWORD>(CRYPT_E_NOT_FOUND));
  CertFreeCertificateContext(context);
}

TEST_F(CryptTest, ThumbprintIsTheSha1OfTheEncodedCertificate) {
  // SHA-1 of the file, written beside it by the host's openssl.
  for (const char* name : {"device", "rsa4096"}) {
    std::ifstream file(std::string(CERTIFICATE_FOLDER "/") + name + ".sha1");
    std::string expected;
    file >> expected;
    std::string found;
    for (const BYTE byte : Thumbprint(Certificate(name))) {
      constexpr char kDigits[] = "0123456789abcdef";
      found += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    EXPECT_EQ(found, expected) << name;
    EXPECT_EQ(found.size(), 2 * kSha1Bytes);
  }
  EXPECT_NE(Thumbprint(Certificate("device")), Thumbprint(Certificate("renewed")));
}

TEST_F(CryptTest, SignatureIsNotChecked) {
  Bytes bytes = Certificate("device");
  bytes[bytes.size() - 5] ^= 1;
  const Bytes thumbprint = Thumbprint(bytes);
  EXPECT_EQ(thumbprint.size(), kSha1Bytes);
  EXPECT_NE(thumbprint, Thumbprint(Certificate("device")));
}

// Seen under Wine; what Windows makes of the bytes behind the certificate is not known here.
TEST_F(CryptTest, BytesBehindTheCertificateCount) {
  Bytes bytes = Certificate("device");
  bytes.push_back(0);
  EXPECT_EQ(Thumbprint(bytes).size(), kSha1Bytes);
  EXPECT_NE(Thumbprint(bytes), Thumbprint(Certificate("device")));
}

TEST_F(CryptTest, BlockThatIsNoCertificateIsRefused) {
  const Bytes whole = Certificate("device");
  const auto expect_refused = [](const Bytes& bytes, const char* what) {
    const DWORD code = LastErrorOf([&] { EXPECT_EQ(Create(bytes), nullptr) << what; });
    constexpr DWORD kAsn1 = 0x80093100;  // facility and first code of CRYPT_E_ASN1_…
    EXPECT_EQ(code & 0xFFFFFF00, kAsn1) << what;
    return code;
  };
  for (size_t length = 0; length < whole.size(); ++length)
    expect_refused(Bytes(whole.begin(), whole.begin() + static_cast<long>(length)), "cut short");
  expect_refused({0x30, 0}, "empty sequence");
  expect_refused(Bytes(65536, 0x30), "sequences in sequences");
  constexpr auto kBadTag = static_cast<DWORD>(CRYPT_E_ASN1_BADTAG);
  EXPECT_EQ(expect_refused({'n', 'o', ' ', 'c', 'e', 'r', 't'}, "text"), kBadTag);
  EXPECT_EQ(expect_refused(Bytes(65536, 'x'), "garbage"), kBadTag);
  EXPECT_EQ(expect_refused(Bytes(65536, 0), "zeroes"), kBadTag);
}

}  // namespace
}  // namespace custom_bidi
