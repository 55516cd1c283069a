#include <algorithm>
#include <fstream>
#include <iterator>
#include <vector>

#include "src/unique.h"
#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

using Bytes = std::vector<BYTE>;
constexpr DWORD kSha1Bytes = 20;

struct ContextTraits {
  using Value = PCCERT_CONTEXT;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { EXPECT_TRUE(CertFreeCertificateContext(value)); }
};
using Context = Unique<ContextTraits>;

Bytes ContentOf(const std::string& name) {
  std::ifstream file(CERTIFICATE_FOLDER "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Context Create(const Bytes& bytes) {
  constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
  return Context(CertCreateCertificateContext(kEncoding, bytes.data(), static_cast<DWORD>(bytes.size())));
}

BOOL ReadThumbprint(const Context& context, BYTE* data, DWORD* size) {
  return CertGetCertificateContextProperty(context.Get(), CERT_SHA1_HASH_PROP_ID, data, size);
}

/// Empty when the bytes are no certificate.
Bytes Thumbprint(const Bytes& bytes) {
  const Context context = Create(bytes);
  Bytes thumbprint(64);
  DWORD size = context ? 64 : 0;
  EXPECT_TRUE(!context || ReadThumbprint(context, thumbprint.data(), &size));
  thumbprint.resize(size);
  return thumbprint;
}

struct CertificateContext : PlatformTest {
  const Bytes device_ = ContentOf("device.der");
};

TEST_F(CertificateContext, ThumbprintAndItsSize) {
  const Context context = Create(device_);
  for (const DWORD capacity : {DWORD{0}, kSha1Bytes - 1, kSha1Bytes, DWORD{64}}) {
    const bool fits = capacity >= kSha1Bytes;
    Bytes data(64, 0xA5);
    DWORD size = capacity;
    EXPECT_TRUE(ReadThumbprint(context, nullptr, &size));
    EXPECT_EQ(size, kSha1Bytes);
    size = capacity;
    EXPECT_EQ(
        LastErrorOf([&] { EXPECT_EQ(ReadThumbprint(context, data.data(), &size), fits ? TRUE : FALSE); }),
        fits ? kPoison : DWORD{ERROR_MORE_DATA});
    EXPECT_EQ(size, kSha1Bytes) << "what is needed";
    EXPECT_EQ(std::count(data.begin(), data.end(), 0xA5) == 64, !fits);
    EXPECT_EQ(Bytes(data.begin() + kSha1Bytes, data.end()), Bytes(64 - kSha1Bytes, 0xA5));
  }
  constexpr DWORD kFriendlyName = 11;  // which this certificate does not have
  DWORD size = 0;
  EXPECT_EQ(LastErrorOf([&] {
              EXPECT_FALSE(CertGetCertificateContextProperty(context.Get(), kFriendlyName, nullptr, &size));
            }),
            static_cast<DWORD>(CRYPT_E_NOT_FOUND));
}

TEST_F(CertificateContext, ThumbprintIsTheSha1OfTheEncodedCertificate) {
  // SHA-1 of the file, written beside it by the host's openssl.
  const Bytes sha1 = ContentOf("device.sha1");
  const Bytes thumbprint = Thumbprint(device_);
  ASSERT_EQ(thumbprint.size(), kSha1Bytes);
  for (size_t i = 0; i < kSha1Bytes; ++i) {
    EXPECT_EQ(std::stoi(std::string(&sha1[2 * i], &sha1[2 * i + 2]), nullptr, 16), thumbprint[i]) << i;
  }
  Bytes changed = device_;
  changed[changed.size() - 5] ^= 1;  // the signature, which is not checked
  Bytes longer = device_;
  longer.push_back(0);  // seen under Wine; what Windows makes of more bytes is not known here
  for (const Bytes& other : {ContentOf("renewed.der"), changed, longer}) {
    EXPECT_NE(Thumbprint(other), thumbprint);
    EXPECT_EQ(Thumbprint(other).size(), kSha1Bytes);
  }
}

TEST_F(CertificateContext, BlockThatIsNoCertificateIsRefused) {
  const auto code_of = [](const Bytes& bytes) {
    return LastErrorOf([&] { EXPECT_FALSE(Create(bytes)) << bytes.size(); });
  };
  constexpr DWORD kAsn1 = 0x80093100;  // facility and first code of CRYPT_E_ASN1_…
  for (size_t length = 0; length < device_.size(); ++length) {
    EXPECT_EQ(code_of(Bytes(device_.begin(), device_.begin() + static_cast<long>(length))) & 0xFFFFFF00,
              kAsn1);
  }
  EXPECT_EQ(code_of({0x30, 0}) & 0xFFFFFF00, kAsn1) << "empty sequence";
  EXPECT_EQ(code_of(Bytes(65536, 0x30)) & 0xFFFFFF00, kAsn1) << "sequences in sequences";
  EXPECT_EQ(code_of({'n', 'o', ' ', 'c', 'e', 'r', 't'}), static_cast<DWORD>(CRYPT_E_ASN1_BADTAG));
  EXPECT_EQ(code_of(Bytes(65536, 0)), static_cast<DWORD>(CRYPT_E_ASN1_BADTAG)) << "zeroes";
}

}  // namespace
}  // namespace custom_bidi
