// The vault store provider of the simulated certificate library.

#include <gtest/gtest.h>

#include <fstream>

#include "ixo/vault/vault.h"
#include "tests/ixo/certificate_fixture.h"

namespace custom_bidi::simulated {
namespace {

using VaultProvider = CertificateTest;

DWORD Save(ixo::VaultStoreProvider* vault, std::string_view bytes) {
  return vault->SaveTarget(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
}

/// The entry's bytes, or the result in hexadecimal when nothing came with it; "null" for null bytes.
std::string Load(ixo::VaultStoreProvider* vault) {
  BYTE stale = 0;
  BYTE* bytes = &stale;
  DWORD length = 99;
  const HRESULT result = vault->GetCertFromVault(&bytes, &length);
  if (!bytes) {
    EXPECT_EQ(length, 0u);
    return FAILED(result) ? Hex(static_cast<uint32_t>(result)) : "null";
  }
  const std::string text(reinterpret_cast<const char*>(bytes), length);
  return result == S_OK ? text : Hex(static_cast<uint32_t>(result)) + " + " + text;
}

TEST_F(VaultProvider, HasItsOperationsAtTheirPositions) {
  const CertificateDevice device;
  void* const vault = device.create_vault();
  BYTE password[] = {'p', 'w'};
  BYTE* bytes = nullptr;
  DWORD length = 0;
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*>(vault, 10, kTarget)), S_OK);
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*>(vault, 11, kUser)), S_OK);
  EXPECT_EQ(CallPosition<LONG>(vault, 9), 0);
  EXPECT_EQ((CallPosition<DWORD, const BYTE*, DWORD>(vault, 6, password, 2)), 0u);
  EXPECT_NE(CallPosition<LONG>(vault, 9), 0);
  EXPECT_EQ((CallPosition<HRESULT, BYTE**, DWORD*>(vault, 7, &bytes, &length)), S_OK);
  ASSERT_EQ(length, 2u);
  EXPECT_EQ(bytes[0], 'p');
  EXPECT_EQ(CallPosition<DWORD>(vault, 8), 0u);
  EXPECT_EQ(CallPosition<LONG>(vault, 9), 0);
}

TEST_F(VaultProvider, KeepsAnEntryFromOneLoadToTheNext) {
  const std::string password("p\0w\0\xFF", 5);
  {
    const CertificateDevice device;
    EXPECT_EQ(Save(device.Vault(), password), 0u);
  }
  const CertificateDevice device;
  EXPECT_NE(device.Vault()->IsTargetPresent(), 0);
  EXPECT_EQ(Load(device.Vault()), password);
  ixo::VaultStoreProvider* const other = device.Vault();
  EXPECT_EQ(other->SetUserName(W("other")), S_OK);
  EXPECT_EQ(other->IsTargetPresent(), 0);
  EXPECT_EQ(device.Vault()->DeleteTarget(), 0u);
}

TEST_F(VaultProvider, KeepsWhatItHandedOutUntilItIsAskedAgain) {
  const CertificateDevice device;
  ixo::VaultStoreProvider* const vault = device.Vault();
  EXPECT_EQ(Save(vault, "first"), 0u);
  BYTE* bytes = nullptr;
  DWORD length = 0;
  ASSERT_EQ(vault->GetCertFromVault(&bytes, &length), S_OK);
  EXPECT_EQ(Save(vault, "second"), 0u);
  EXPECT_EQ(vault->DeleteTarget(), 0u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), length), "first");
}

TEST_F(VaultProvider, AnswersWithTheReason) {
  const CertificateDevice device;
  ixo::VaultStoreProvider* const vault = device.Vault();
  EXPECT_EQ(Load(vault), "80070490");
  EXPECT_EQ(vault->DeleteTarget(), DWORD{ERROR_NOT_FOUND});
  EXPECT_EQ(Save(vault, std::string(vault::kMaxEntryBytes, 'x')), 0u);
  EXPECT_EQ(Save(vault, std::string(vault::kMaxEntryBytes + 1, 'x')), vault::kTooLarge);
  EXPECT_EQ(vault->SaveTarget(nullptr, 1), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(vault->GetCertFromVault(nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(Save(vault, ""), 0u);
  EXPECT_NE(vault->IsTargetPresent(), 0);
  EXPECT_EQ(Load(vault), "null");
}

TEST_F(VaultProvider, ActsOnNothingUntilBothNamesAreTaken) {
  const CertificateDevice device;
  EXPECT_EQ(Save(device.Vault(), "safe"), 0u);
  const WString long_target(vault::kMaxTargetChars + 1, W('t'));
  const WString long_user(vault::kMaxUserChars + 1, W('u'));
  const struct {
    const char* name;
    std::function<HRESULT(ixo::VaultStoreProvider*)> refuse;
  } kCases[] = {
      {"null target", [](auto* vault) { return vault->SetTargetName(nullptr); }},
      {"empty target", [](auto* vault) { return vault->SetTargetName(W("")); }},
      {"long target", [&](auto* vault) { return vault->SetTargetName(long_target.c_str()); }},
      {"null user", [](auto* vault) { return vault->SetUserName(nullptr); }},
      {"empty user", [](auto* vault) { return vault->SetUserName(W("")); }},
      {"long user", [&](auto* vault) { return vault->SetUserName(long_user.c_str()); }},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    ixo::VaultStoreProvider* const vault = device.Vault();
    EXPECT_EQ(test.refuse(vault), E_INVALIDARG);
    EXPECT_EQ(vault->IsTargetPresent(), 0);
    EXPECT_EQ(Load(vault), "80070057");
    EXPECT_EQ(Save(vault, "x"), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(vault->DeleteTarget(), DWORD{ERROR_INVALID_PARAMETER});
  }
  EXPECT_EQ(Load(device.Vault()), "safe");
}

TEST_F(VaultProvider, DoesNotCallAnEntryAbsentThatItCannotRead) {
  if (Home().empty()) {
    GTEST_SKIP() << "the Credential Manager is not to be damaged";
  }
  const CertificateDevice device;
  EXPECT_EQ(Save(device.Vault(), "lost"), 0u);
  std::ofstream(Home() / "vault" / "vault", std::ios::trunc) << "damaged";
  EXPECT_NE(device.Vault()->IsTargetPresent(), 0);
  EXPECT_EQ(Load(device.Vault()), "8007000d");
  EXPECT_EQ(device.Vault()->DeleteTarget(), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(Save(device.Vault(), "new"), DWORD{ERROR_INVALID_DATA});
}

TEST_F(VaultProvider, FailsInEveryWayOnRequest) {
  const struct {
    const char* operation;
    std::function<std::string(ixo::VaultStoreProvider*)> call;
    std::string normally;
    std::string with_null;
    std::string with_result;
  } kCases[] = {
      {"SaveTarget", [](auto* vault) { return Hex(Save(vault, "new")); }, "0", "0", "80070005"},
      {"GetCertFromVault", Load, "kept", "null", "80070005"},
      {"DeleteTarget", [](auto* vault) { return Hex(vault->DeleteTarget()); }, "0", "0", "80070005"},
      {"IsTargetPresent", [](auto* vault) { return Hex(static_cast<uint32_t>(vault->IsTargetPresent())); },
       "1", "0", "80070005"},
      {"SetTargetName", [](auto* vault) { return Hex(static_cast<uint32_t>(vault->SetTargetName(kTarget))); },
       "0", "refused", "80070005"},
      {"SetUserName", [](auto* vault) { return Hex(static_cast<uint32_t>(vault->SetUserName(kUser))); }, "0",
       "refused", "80070005"},
  };
  const auto outcome_of = [](const auto& test) {
    const CertificateDevice device;
    ixo::VaultStoreProvider* const vault = device.create_vault();
    if (!vault) {
      return std::string("refused");
    }
    // A name may be what fails, now or when it is set once more.
    InWords([&] { return Hex(static_cast<uint32_t>(vault->SetTargetName(kTarget))); });
    InWords([&] { return Hex(static_cast<uint32_t>(vault->SetUserName(kUser))); });
    return InWords([&] { return test.call(vault); });
  };
  const auto healthy = [](const std::function<void(ixo::VaultStoreProvider*)>& use) {
    RemovePrinter();
    const CertificateDevice device;
    use(device.Vault());
  };
  for (const auto& test : kCases) {
    const auto expect = [&](const std::string& fault, const std::string& outcome) {
      SCOPED_TRACE(std::string(test.operation) + " " + fault);
      healthy([](auto* vault) { EXPECT_EQ(Save(vault, "kept"), 0u); });
      WritePrinterWith(R"("faults": {"VaultStoreProvider.)" + std::string(test.operation) + "\": " + fault +
                       "}");
      testing::internal::CaptureStderr();
      EXPECT_EQ(outcome_of(test), outcome);
      EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), outcome != "refused");
      if (fault != "[]") {
        healthy([](auto* vault) { EXPECT_EQ(Load(vault), "kept") << "what fails changes nothing"; });
      }
    };
    expect("[]", test.normally);
    expect(R"("null")", test.with_null);
    expect(R"({"hresult": "0x80070005"})", test.with_result);
    expect(R"({"raise": 5})", "raised 5");
    expect(R"({"raise": 0})", "raised 0");
    expect(R"("throw")", "threw");
  }
}

TEST_F(VaultProvider, FailsForTheNamesAndCallsItIsFor) {
  WritePrinterWith(R"("faults": {
    "VaultStoreProvider.SetUserName": {"raise": 5, "only": "nobody"},
    "VaultStoreProvider.IsTargetPresent": [{"hresult": 7, "only": "elsewhere"}, {"hresult": 8, "call": 3}]})");
  const CertificateDevice device;
  ixo::VaultStoreProvider* const vault = device.Vault();
  EXPECT_EQ(InWords([&] { return Hex(static_cast<uint32_t>(vault->SetUserName(W("nobody")))); }), "raised 5");
  EXPECT_EQ(vault->IsTargetPresent(), 0);
  EXPECT_EQ(vault->SetTargetName(W("elsewhere")), S_OK);
  EXPECT_EQ(vault->IsTargetPresent(), 7);
  EXPECT_EQ(vault->SetTargetName(kTarget), S_OK);
  EXPECT_EQ(vault->IsTargetPresent(), 8);
}

TEST_F(VaultProvider, FailsWithACodeAndStillGivesOnRequest) {
  WritePrinterWith(R"("faults": {
    "VaultStoreProvider.SaveTarget": [{"hresult": 5, "call": 1}, {"hresult": 5, "deliver": true}],
    "VaultStoreProvider.GetCertFromVault": [{"hresult": "0x80004005", "deliver": true, "call": 1}, {"hresult": 1}]})");
  const CertificateDevice device;
  ixo::VaultStoreProvider* const vault = device.Vault();
  EXPECT_EQ(Save(vault, "new"), 5u);
  EXPECT_EQ(vault->IsTargetPresent(), 0) << "a Win32 code is a failure although it is positive";
  EXPECT_EQ(Save(vault, "new"), 5u);
  EXPECT_NE(vault->IsTargetPresent(), 0);
  EXPECT_EQ(Load(vault), "80004005 + new");
  EXPECT_EQ(Load(vault), "1 + new");
}

TEST_F(VaultProvider, IsNotMadeOnRequest) {
  const auto create = [](const CertificateDevice& device) {
    return InWords([&] { return std::string(device.create_vault() ? "made" : "null"); });
  };
  WritePrinterWith(R"("faults": {"CreateVaultStoreProvider":
    [{"null": true, "call": 1}, {"raise": 14, "call": 2}, {"throw": true, "call": 3}]})");
  const CertificateDevice device;
  for (const char* outcome : {"null", "raised 14", "threw", "made"}) {
    EXPECT_EQ(create(device), outcome);
  }
}

// Whoever counts on it that every object comes back reads it here.
TEST_F(VaultProvider, IsNotedWithEveryCall) {
  WritePrinterWith(R"("log": "calls.log", "faults": {
    "CreateVaultStoreProvider": {"raise": 14, "call": 3},
    "CreateCertificateProvider": {"null": true, "call": 2},
    "DisposeVaultStoreProvider": {"throw": true, "call": 2}})");
  WriteFile("calls.log", "before\n");
  {
    const CertificateDevice device;
    ixo::VaultStoreProvider* const first = device.Vault();
    ixo::VaultStoreProvider* const second = device.create_vault();
    EXPECT_EQ(Save(first, "pass-word"), 0u);
    EXPECT_EQ(InWords([&] { return std::string(device.create_vault() ? "made" : "null"); }), "raised 14");
    ixo::CertificateProvider* const certificate = device.create_certificate(nullptr, 1);
    EXPECT_EQ(device.create_certificate(nullptr, 1), nullptr);
    certificate->GetLastErrorCode();
    device.dispose_certificate(certificate);
    device.dispose_certificate(certificate);
    device.dispose_vault(first);
    EXPECT_EQ(InWords([&] {
                device.dispose_vault(second);
                return std::string("disposed");
              }),
              "threw");
    device.dispose_vault(nullptr);
    device.dispose_vault(second);
  }
  {
    const CertificateDevice device;
    device.create_vault();  // Goes with the library.
  }
  EXPECT_EQ(ReadFile("calls.log"),
            "before\n"
            "load\n"
            "CreateVaultStoreProvider vault-1\n"
            "VaultStoreProvider.SetTargetName vault-1\n"
            "VaultStoreProvider.SetUserName vault-1\n"
            "CreateVaultStoreProvider vault-2\n"
            "VaultStoreProvider.SaveTarget vault-1\n"
            "CreateVaultStoreProvider none\n"
            "CreateCertificateProvider certificate-1\n"
            "CreateCertificateProvider none\n"
            "CertificateProvider.GetLastErrorCode certificate-1\n"
            "DisposeCertificateProviderPtr certificate-1\n"
            "DisposeCertificateProviderPtr unknown\n"
            "DisposeVaultStoreProvider vault-1\n"
            "DisposeVaultStoreProvider vault-2\n"
            "DisposeVaultStoreProvider none\n"
            "DisposeVaultStoreProvider vault-2\n"
            "load\n"
            "CreateVaultStoreProvider vault-1\n");
}

}  // namespace
}  // namespace custom_bidi::simulated
