// The certificate provider of the simulated certificate library.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "tests/ixo/certificate_fixture.h"

namespace custom_bidi::simulated {
namespace {

using Certificate = CertificateTest;

constexpr DWORD kUuidChars = 256;

std::string CertificateFile(const std::string& name) {
  std::ifstream file(CERTIFICATE_FOLDER "/" + name + ".der", std::ios::binary);
  std::string der{std::istreambuf_iterator<char>(file), {}};
  EXPECT_FALSE(der.empty()) << name;
  return der;
}

/// As the library is asked, with the one parameter that a test varies.
DWORD Ask(ixo::CertificateProvider* provider, BYTE* bytes, DWORD* length) {
  const WCHAR* const names[2] = {W("RSA"), nullptr};
  const ixo::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  return provider->GetDeviceCertificate(&key_types, bytes, length, &eight, 10, &unread);
}

/// The certificate's bytes, or "code N".
std::string Read(ixo::CertificateProvider* provider) {
  DWORD length = 0;
  DWORD code = Ask(provider, nullptr, &length);
  std::string der(length, '\0');
  if (code == 0) {
    code = Ask(provider, reinterpret_cast<BYTE*>(der.data()), &length);
  }
  return code == 0 ? der.substr(0, length) : "code " + std::to_string(code);
}

/// "length text", or the result in hexadecimal.
std::string Uuid(ixo::CertificateProvider* provider) {
  WCHAR uuid[kUuidChars + 1];
  std::fill(std::begin(uuid), std::end(uuid), W('?'));
  DWORD length = 99;
  const HRESULT result = provider->GetDeviceUUID(uuid, kUuidChars, &length);
  EXPECT_EQ(uuid[kUuidChars], W('?'));
  if (FAILED(result)) {
    return Hex(static_cast<uint32_t>(result));
  }
  const WString text = uuid;
  return std::to_string(length) + " " + std::string(text.begin(), text.end());
}

/// "count: code code...", or the result in hexadecimal.
std::string Warnings(ixo::CertificateProvider* provider) {
  DWORD codes[11];
  std::fill(std::begin(codes), std::end(codes), 77u);
  DWORD count = 99;
  const HRESULT result = provider->GetCertificateAllSecurityWarnings(codes, 10, &count);
  EXPECT_EQ(codes[10], 77u);
  if (FAILED(result)) {
    return Hex(static_cast<uint32_t>(result));
  }
  std::string text = std::to_string(count) + ":";
  for (DWORD i = 0; i < std::min<DWORD>(count, 10); ++i) {
    text += " " + std::to_string(codes[i]);
  }
  return text;
}

/// "yes", "no", or the result in hexadecimal.
std::string IsValid(ixo::CertificateProvider* provider, const std::string& der) {
  LONG valid = 99;
  const HRESULT result = provider->CheckCertificateDate(reinterpret_cast<const BYTE*>(der.data()),
                                                        static_cast<DWORD>(der.size()), &valid);
  if (FAILED(result)) {
    EXPECT_EQ(valid, 0);
    return Hex(static_cast<uint32_t>(result));
  }
  return valid != 0 ? "yes" : "no";
}

TEST_F(Certificate, HasItsOperationsAtTheirPositions) {
  WritePrinterWith(R"("certificate": {"der": "AQID", "uuid": "id", "warnings": [5], "last_error": 7})");
  const CertificateDevice device;
  void* const provider = device.Certificate();
  WCHAR uuid[kUuidChars] = {};
  DWORD number = 0;
  EXPECT_EQ((CallPosition<HRESULT, WCHAR*, DWORD, DWORD*>(provider, 1, uuid, kUuidChars, &number)), S_OK);
  EXPECT_EQ(WString(uuid), W("id"));
  DWORD codes[10] = {};
  EXPECT_EQ((CallPosition<HRESULT, DWORD*, DWORD, DWORD*>(provider, 2, codes, 10, &number)), S_OK);
  EXPECT_EQ(codes[0], 5u);
  const WCHAR* const names[2] = {W("RSA"), nullptr};
  const ixo::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  EXPECT_EQ((CallPosition<DWORD, const ixo::KeyTypeList*, BYTE*, DWORD*, const WORD*, DWORD, DWORD*>(
                provider, 3, &key_types, nullptr, &number, &eight, 10, &unread)),
            0u);
  EXPECT_EQ(number, 3u);
  LONG valid = 1;
  const BYTE garbage = 0;
  EXPECT_LT((CallPosition<HRESULT, const BYTE*, DWORD, LONG*>(provider, 6, &garbage, 1, &valid)), 0);
  EXPECT_EQ(CallPosition<DWORD>(provider, 8), 7u);
}

TEST_F(Certificate, OfTheDefaultPrinterIsWhole) {
  const CertificateDevice device;
  ixo::CertificateProvider* const provider = device.Certificate();
  const std::string der = Read(provider);
  EXPECT_GT(der.size(), 700u);
  EXPECT_NE(der.find("vexmo-c740-2"), std::string::npos);
  EXPECT_EQ(IsValid(provider, der), "yes");
  EXPECT_EQ(Uuid(provider), "36 6f0d6a52-7c1e-4b1a-9a64-02005e10000a");
  EXPECT_EQ(Warnings(provider), "1: 12038");
  EXPECT_EQ(provider->GetLastErrorCode(), 0u);
}

TEST_F(Certificate, ComesFromAFileInEitherForm) {
  const nlohmann::json lines = nlohmann::json::parse(ReadFile("default-printer.json"))["certificate"]["der"];
  std::string pem = "Some words before it.\r\n-----BEGIN CERTIFICATE-----\r\n";
  for (const std::string line : lines) {
    pem += line + "\r\n";
  }
  pem += "-----END CERTIFICATE-----\r\n";
  const CertificateDevice default_device;
  const std::string der = Read(default_device.Certificate());
  WriteFile("device.der", der);
  WriteFile("device.pem", pem + pem);
  const std::string kForms[] = {R"("file": "device.der")", R"("file": "device.pem")",
                                R"("der": )" + lines.dump()};
  for (const std::string& form : kForms) {
    SCOPED_TRACE(form);
    WritePrinterWith("\"certificate\": {" + form + "}");
    const CertificateDevice device;
    EXPECT_EQ(Read(device.Certificate()), der);
  }
}

TEST_F(Certificate, IsReadInTwoSteps) {
  WritePrinterWith(R"("certificate": {"der": "AQIDBA=="})");
  const CertificateDevice device;
  ixo::CertificateProvider* const provider = device.Certificate();
  EXPECT_EQ(Read(provider), "\1\2\3\4");
  BYTE bytes[8];
  std::fill(std::begin(bytes), std::end(bytes), BYTE{9});
  DWORD length = 3;
  EXPECT_EQ(Ask(provider, bytes, &length), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(bytes[0], 9);
  EXPECT_EQ(provider->GetLastErrorCode(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  length = 8;
  EXPECT_EQ(Ask(provider, bytes, &length), 0u);
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(bytes[4], 9);

  const WCHAR* const rsa[2] = {W("RSA"), nullptr};
  const WCHAR* const ecc[2] = {W("ECC"), nullptr};
  const ixo::KeyTypeList good{rsa, 1, 0};
  const ixo::KeyTypeList two{rsa, 2, 0};
  const ixo::KeyTypeList other{ecc, 1, 0};
  const WORD eight = 8;
  const WORD nine = 9;
  DWORD unread = 0;
  const DWORD kBad = ERROR_INVALID_PARAMETER;
  EXPECT_EQ(provider->GetDeviceCertificate(&good, nullptr, &length, &eight, 10, &unread), 0u);
  EXPECT_EQ(provider->GetDeviceCertificate(nullptr, nullptr, &length, &eight, 10, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&two, nullptr, &length, &eight, 10, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&other, nullptr, &length, &eight, 10, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&good, nullptr, nullptr, &eight, 10, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&good, nullptr, &length, &nine, 10, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&good, nullptr, &length, &eight, 8, &unread), kBad);
  EXPECT_EQ(provider->GetDeviceCertificate(&good, nullptr, &length, &eight, 10, nullptr), kBad);
}

TEST_F(Certificate, TellsItsUuidWithALength) {
  const std::string text255(255, 'u');
  const struct {
    std::string members;
    std::string told;
  } kCases[] = {
      {"", "80070490"},
      {R"("uuid": "")", "0 "},
      {R"("uuid": "a/b\\c")", R"(5 a/b\c)"},
      {R"("uuid": ")" + text255 + "\"", "255 " + text255},
      {R"("uuid": "u)" + text255 + "\"", "8007007a"},
      {R"("uuid": "short", "uuid_length": 0)", "0 short"},
      {R"("uuid": "short", "uuid_length": 256)", "256 short"},
      {R"("uuid": "uuuuu)" + text255 + R"(", "uuid_length": 300)", "300 " + text255},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.members);
    WritePrinterWith("\"certificate\": {" + test.members + "}");
    const CertificateDevice device;
    EXPECT_EQ(Uuid(device.Certificate()), test.told);
  }
}

TEST_F(Certificate, TellsItsWarningsWithACount) {
  const struct {
    const char* members;
    const char* told;
  } kCases[] = {
      {"", "0:"},
      {R"("warnings": [])", "0:"},
      {R"("warnings": [32, "0x04000000", 1169])", "3: 32 67108864 1169"},
      {R"("warnings": [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12])", "12: 1 2 3 4 5 6 7 8 9 10"},
      {R"("warnings": [5, 6], "warning_count": 1)", "1: 5"},
      {R"("warnings": [5], "warning_count": 11)", "11: 5 77 77 77 77 77 77 77 77 77"},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.members);
    WritePrinterWith(std::string("\"certificate\": {") + test.members + "}");
    const CertificateDevice device;
    EXPECT_EQ(Warnings(device.Certificate()), test.told);
  }
}

TEST_F(Certificate, HasDatesThatAreCompared) {
  const CertificateDevice device;
  ixo::CertificateProvider* const provider = device.create_certificate(nullptr, 0);
  const std::string valid = CertificateFile("device");
  EXPECT_EQ(IsValid(provider, valid), "yes");
  EXPECT_EQ(IsValid(provider, CertificateFile("rsa4096")), "yes");
  EXPECT_EQ(IsValid(provider, CertificateFile("chained")), "yes");
  EXPECT_EQ(IsValid(provider, CertificateFile("expired")), "no");
  EXPECT_EQ(IsValid(provider, CertificateFile("not_yet_valid")), "no");
  EXPECT_EQ(provider->GetLastErrorCode(), 0u);
  const std::string kBroken[] = {valid.substr(0, valid.size() - 1), std::string(65536, 'x'), "\x30"};
  for (const std::string& broken : kBroken) {
    SCOPED_TRACE(broken.size());
    const std::string result = IsValid(provider, broken);
    EXPECT_EQ(result.substr(0, 1), "8") << result;
    EXPECT_NE(provider->GetLastErrorCode(), 0u);
  }
  LONG flag = 0;
  EXPECT_EQ(provider->CheckCertificateDate(nullptr, 0, &flag), E_INVALIDARG);
}

TEST_F(Certificate, IsToldOnlyToWhomItMayConcern) {
  const CertificateDevice device;
  const auto is_read = [](ixo::CertificateProvider* provider) {
    return Uuid(provider).starts_with("36 ") && Warnings(provider) == "1: 12038" &&
           !Read(provider).starts_with("code");
  };
  EXPECT_TRUE(is_read(device.create_certificate(device.Address(), 0)));
  EXPECT_TRUE(is_read(device.create_certificate(nullptr, 1)));
  EXPECT_EQ(device.create_certificate(device.Address(), 1), nullptr);
  EXPECT_EQ(device.create_certificate(device.Address(), 2), nullptr);
  EXPECT_EQ(device.create_certificate(nullptr, 0xFFFFFFFF), nullptr);

  ixo::CertificateProvider* const unaddressed = device.create_certificate(nullptr, 0);
  EXPECT_EQ(Uuid(unaddressed), "80070490");
  EXPECT_EQ(Warnings(unaddressed), "80070490");
  EXPECT_EQ(Read(unaddressed), "code 1168");
}

TEST_F(Certificate, NeedNotBeThere) {
  WritePrinterWith("");
  const CertificateDevice device;
  EXPECT_EQ(Uuid(device.Certificate()), "80070490");
  EXPECT_EQ(Warnings(device.Certificate()), "80070490");
  EXPECT_EQ(Read(device.Certificate()), "code 1168");
  EXPECT_EQ(IsValid(device.Certificate(), CertificateFile("device")), "yes");
}

TEST_F(Certificate, RemembersItsLastFailure) {
  WritePrinterWith(R"("certificate": {}, "faults": {
    "CertificateProvider.GetCertificateAllSecurityWarnings": {"hresult": "0x80070015"},
    "CertificateProvider.CheckCertificateDate": {"hresult": "0x80004005"}})");
  {
    const CertificateDevice device;
    ixo::CertificateProvider* const provider = device.Certificate();
    EXPECT_EQ(provider->GetLastErrorCode(), 0u);
    Uuid(provider);
    EXPECT_EQ(provider->GetLastErrorCode(), 1168u);
    Warnings(provider);
    EXPECT_EQ(provider->GetLastErrorCode(), 21u);
    IsValid(provider, "x");
    EXPECT_EQ(provider->GetLastErrorCode(), 0x80004005);
  }
  WritePrinterWith(R"("certificate": {"last_error": "0xFFFFFFFF"})");
  const CertificateDevice device;
  EXPECT_EQ(device.Certificate()->GetLastErrorCode(), 0xFFFFFFFF);
}

TEST_F(Certificate, FailsInEveryWayOnRequest) {
  const struct {
    const char* operation;
    std::function<std::string(ixo::CertificateProvider*)> call;
    std::string normally;
    std::string with_null;
    std::string with_result;
  } kCases[] = {
      {"GetDeviceUUID", Uuid, "2 id", "0 ", "80070005"},
      {"GetCertificateAllSecurityWarnings", Warnings, "1: 5", "0:", "80070005"},
      {"GetDeviceCertificate", Read, "\1\2\3", "", "code 2147942405"},
      {"CheckCertificateDate", [](auto* provider) { return IsValid(provider, CertificateFile("device")); },
       "yes", "no", "80070005"},
      {"GetLastErrorCode", [](auto* provider) { return Hex(provider->GetLastErrorCode()); }, "7", "0",
       "80070005"},
  };
  for (const auto& test : kCases) {
    const auto expect = [&](const std::string& fault, const std::string& outcome) {
      SCOPED_TRACE(std::string(test.operation) + " " + fault);
      WritePrinterWith(R"("certificate": {"der": "AQID", "uuid": "id", "warnings": [5], "last_error": 7},
        "faults": {"CertificateProvider.)" +
                       std::string(test.operation) + "\": " + fault + "}");
      const CertificateDevice device;
      EXPECT_EQ(InWords([&] { return test.call(device.Certificate()); }), outcome);
    };
    expect("[]", test.normally);
    expect(R"("null")", test.with_null);
    expect(R"({"hresult": "0x80070005"})", test.with_result);
    expect(R"({"raise": 5})", "raised 5");
    expect(R"("throw")", "threw");
    expect(R"({"raise": 5, "call": 3})", test.normally);
  }
}

TEST_F(Certificate, ComesAndGoesWithFaultsOnRequest) {
  WritePrinterWith(R"("faults": {
    "CreateCertificateProvider": [{"null": true, "call": 1}, {"raise": 14, "call": 2}, {"throw": true, "call": 3}],
    "DisposeCertificateProviderPtr": {"raise": 6}, "DisposeVaultStoreProvider": {"raise": 7}})");
  const CertificateDevice device;
  for (const char* outcome : {"null", "raised 14", "threw", "made"}) {
    EXPECT_EQ(InWords([&] { return std::string(device.create_certificate(nullptr, 0) ? "made" : "null"); }),
              outcome);
  }
  const auto dispose = [&](auto* entry, auto* object) {
    return InWords([&] {
      entry(object);
      return std::string("disposed");
    });
  };
  EXPECT_EQ(dispose(device.dispose_certificate, device.create_certificate(nullptr, 0)), "raised 6");
  EXPECT_EQ(dispose(device.dispose_vault, device.create_vault()), "raised 7");
}

TEST_F(Certificate, IsNotMadeFromAFileThatIsNoGood) {
  WritePrinter("{");
  testing::internal::CaptureStderr();
  {
    const CertificateDevice device;
    EXPECT_EQ(device.create_certificate(nullptr, 1), nullptr);
    EXPECT_EQ(device.create_vault(), nullptr);
    device.dispose_certificate(nullptr);
    device.dispose_vault(nullptr);
  }
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::ranges::count(told, '\n'), 1) << told;
}

}  // namespace
}  // namespace custom_bidi::simulated
