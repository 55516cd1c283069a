#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>

#include "tools/bidictl/certificate_text.h"
#include "tools/bidictl/certificate_warnings.h"
#include "tools/bidictl/secret.h"

namespace custom_bidi_tools {
namespace {

using Codes = std::vector<uint32_t>;
using Bytes = std::vector<uint8_t>;

Bytes Certificate(const std::string& name) {
  std::ifstream file(CERTIFICATE_FOLDER "/" + name + ".der", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(CertificateWarnings, Names) {
  const std::pair<uint32_t, const char*> cases[] = {
      {1169, "ERROR_NO_MATCH"},  // and not the bits of that number
      {12037, "ERROR_INTERNET_SEC_CERT_DATE_INVALID"},
      {12038, "ERROR_INTERNET_SEC_CERT_CN_INVALID"},
      {12045, "ERROR_INTERNET_INVALID_CA"},
      {0x1, "CERT_TRUST_IS_NOT_TIME_VALID"},
      {0x20, "CERT_TRUST_IS_UNTRUSTED_ROOT"},
      {0x04000000, "CERT_TRUST_IS_EXPLICIT_DISTRUST"},
      {0x5, "CERT_TRUST_IS_NOT_TIME_VALID | CERT_TRUST_IS_REVOKED"},
      {0x00100020, "CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_HAS_WEAK_SIGNATURE"},
      {0, "without a name"},
      {12100, "without a name"},
      {0x80000001, "without a name"},
      {0x80070005, "without a name"},
  };
  for (const auto& [code, name] : cases)
    EXPECT_EQ(WarningName(code), name) << code;
}

TEST(CertificateWarnings, NonNegotiableByEquality) {
  for (const uint32_t code : {0x1u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x00100000u, 0x04000000u})
    EXPECT_TRUE(IsNonNegotiable(code)) << code;
  for (const uint32_t code : {0u, 2u, 5u, 0x80u, 0x04000001u, 1169u, 12037u})
    EXPECT_FALSE(IsNonNegotiable(code)) << code;
}

TEST(CertificateWarnings, Verdicts) {
  const struct {
    Codes before;
    Codes after;
    bool is_kept;
    Verdict verdict;
  } cases[] = {
      {{}, {}, true, Verdict::kMatches},
      {{2, 12038}, {}, true, Verdict::kMatches},
      {{12037}, {}, true, Verdict::kMatches},
      {{1169}, {}, true, Verdict::kMatches},
      {{2}, {2}, false, Verdict::kNotKept},
      {{}, {12037}, true, Verdict::kDatesInvalid},
      {{2}, {2, 12037}, false, Verdict::kDatesInvalid},
      {{2}, {2, 1169}, true, Verdict::kDiffers},
      {{2}, {2, 1169, 12037}, true, Verdict::kDiffers},
      {{1169}, {1169, 1169}, true, Verdict::kDiffers},
      {{1169}, {1169}, false, Verdict::kNotKept},  // the device's own
      {{32}, {32}, true, Verdict::kNonNegotiable},
      {{5}, {5}, false, Verdict::kNotKept},
      {{2, 1, 1169}, {2, 1, 1169}, false, Verdict::kNonNegotiable},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(JudgeCheck(row.before, row.after, row.is_kept), row.verdict)
        << testing::PrintToString(row.before) << " " << testing::PrintToString(row.after);
  }
}

TEST(CertificateWarnings, TargetOfTheVaultsCopy) {
  EXPECT_EQ(CertificateTarget("jdoe", "0123-ABCD"), "Vexmo.VIB.NQDRV4.jdoe.0123-ABCD");
  EXPECT_EQ(CertificateTarget("j.doe", "u"), "Vexmo.VIB.NQDRV4.j.doe.u");
}

// The same texts from OpenSSL and from CryptoAPI.
TEST(CertificateText, OfACertificate) {
  const auto text = ReadCertificate(Certificate("chained"));
  ASSERT_TRUE(text);
  EXPECT_EQ(text->subject, "CN=vexmo-printer, O=Vexmo, C=XX");
  EXPECT_EQ(text->issuer, "CN=vexmo-root, O=Vexmo, C=XX");
  EXPECT_EQ(text->valid_from, "2020-01-01 00:00:00");
  EXPECT_EQ(text->valid_until, "2099-12-31 23:59:59");
  EXPECT_EQ(text->sha1.size(), 59U);
  EXPECT_EQ(text->sha256.size(), 95U);
  EXPECT_NE(ReadCertificate(Certificate("device"))->sha256, text->sha256);
  for (const Bytes& bytes : {Bytes(), Bytes{'x'}, Bytes(1000, 0x30)})
    EXPECT_FALSE(ReadCertificate(bytes)) << bytes.size();
}

TEST(CertificateText, Thumbprint) {
  std::ifstream file(CERTIFICATE_FOLDER "/device.sha1");
  std::string expected;
  file >> expected;
  std::string found;
  const auto text = ReadCertificate(Certificate("device"));
  ASSERT_TRUE(text);
  for (const char character : text->sha1) {
    if (character != ':')
      found += static_cast<char>(std::tolower(character));
  }
  EXPECT_EQ(found, expected);
}

TEST(CertificateText, Pem) {
  const auto body = [](const Bytes& bytes) {
    std::string pem = PemOf(bytes);
    const std::string begin = "-----BEGIN CERTIFICATE-----\n";
    const std::string end = "-----END CERTIFICATE-----\n";
    EXPECT_TRUE(pem.starts_with(begin) && pem.ends_with(end)) << pem;
    return pem.substr(begin.size(), pem.size() - begin.size() - end.size());
  };
  EXPECT_EQ(body({}), "");
  EXPECT_EQ(body({'f'}), "Zg==\n");
  EXPECT_EQ(body({'f', 'o'}), "Zm8=\n");
  EXPECT_EQ(body({'f', 'o', 'o'}), "Zm9v\n");
  EXPECT_EQ(body({0xFB, 0xFF, 0xFE}), "+//+\n");
  EXPECT_EQ(body(Bytes(48, 0)), std::string(64, 'A') + "\n");
  EXPECT_EQ(body(Bytes(49, 0)), std::string(64, 'A') + "\nAA==\n");
}

TEST(Secret, LineEnd) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},         {"\n", ""},     {"\r\n", ""},   {"a\n", "a"}, {"a\r\n", "a"},
      {"a\n\n", "a\n"}, {"a\r", "a\r"}, {"a \n", "a "}, {"\r", "\r"},
  };
  for (const auto& [input, expected] : cases) {
    Secret secret;
    std::ranges::copy(input, secret.room().begin());
    secret.Grow(input.size());
    secret.DropLineEnd();
    EXPECT_EQ(std::string(secret.bytes().begin(), secret.bytes().end()), expected);
  }
}

TEST(Secret, RoomForTheLongestAndItsLineEnd) {
  Secret secret;
  EXPECT_EQ(secret.room().size(), Secret::kMaxBytes + 2);
  secret.Grow(secret.room().size());
  EXPECT_TRUE(secret.room().empty());
  const Secret moved = std::move(secret);
  EXPECT_EQ(moved.bytes().size(), Secret::kMaxBytes + 2);
}

TEST(Secret, Wiping) {
  Bytes bytes(100, 0xA5);
  Wipe(bytes.data() + 1, 98);
  Bytes expected(100, 0);
  expected.front() = expected.back() = 0xA5;
  EXPECT_EQ(bytes, expected);
}

}  // namespace
}  // namespace custom_bidi_tools
