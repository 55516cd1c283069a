#include "tests/ixo/certificate_fixture.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "ixo/vault/vault.h"
#include "tests/ixo/vault_home.h"

namespace custom_bidi::simulated {

ixo::VaultStoreProvider* CertificateDevice::Vault() const {
  ixo::VaultStoreProvider* const vault = create_vault();
  EXPECT_NE(vault, nullptr);
  EXPECT_EQ(vault->SetTargetName(kTarget), S_OK);
  EXPECT_EQ(vault->SetUserName(kUser), S_OK);
  return vault;
}

CertificateTest::CertificateTest() : home_(vault::UseOwnHome()) {
  Clean();
}

CertificateTest::~CertificateTest() {
  Clean();
  for (const std::string& name : files_) {
    std::filesystem::remove(TestFolder() / name);
  }
}

void CertificateTest::Clean() const {
  if (home_.empty()) {
    vault::Delete(kTarget, kUser);
  } else {
    std::filesystem::remove_all(home_);
  }
}

void CertificateTest::WriteFile(const std::string& name, std::string_view content) {
  files_.push_back(name);
  std::ofstream file(TestFolder() / name, std::ios::binary);
  file << content;
  ASSERT_TRUE(file.flush());
}

std::string CertificateTest::ReadFile(const std::string& name) {
  std::ifstream file(TestFolder() / name, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

void CertificateTest::WritePrinterWith(const std::string& members) {
  WritePrinter(R"({"addresses": {"ip": {"*": {}}})" + (members.empty() ? "" : ", " + members) + "}");
}

std::string Hex(uint32_t number) {
  std::ostringstream text;
  text << std::hex << number;
  return text.str();
}

std::string InWords(const std::function<std::string()>& call) {
  try {
    return call();
  } catch (DWORD code) {
    return "raised " + std::to_string(code);
  } catch (const std::runtime_error&) {
    return "threw";
  }
}

}  // namespace custom_bidi::simulated
