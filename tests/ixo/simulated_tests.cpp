// The simulated device libraries, as far as whole calls do not show them: which calls fail, what is told of a
// file that is no good, and what becomes of objects and bytes that were handed out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "ixo/vault/vault.h"
#include "src/deviceio/ixo_contract.h"
#include "tests/ixo/simulated_fixture.h"

namespace custom_bidi::simulated {
namespace {

constexpr WCHAR kTarget[] = W("simulated_tests.target");
constexpr WCHAR kUser[] = W("user");

/// As callers write it, with the name behind it: `folder//name`.
WString TestPath(std::string_view name) {
  const WString path = ExecutablePath();
  return path.substr(0, path.find_last_of(W('\\'))) + W("//") + Wide(name);
}

/// A device library of the test's folder, loaded for as long as this lives.
class DeviceLibrary {
 public:
  struct EntryPoint {
    template <class Function>
    operator Function*() const {  // NOLINT(google-explicit-constructor): the type is where it is put
      return reinterpret_cast<Function*>(address);
    }
    void* address;
  };

  explicit DeviceLibrary(std::string_view file) : module_(LoadLibraryW(TestPath(file).c_str())) {
    EXPECT_NE(module_, nullptr) << file;
  }
  ~DeviceLibrary() { EXPECT_TRUE(FreeLibrary(module_)); }
  DeviceLibrary(const DeviceLibrary&) = delete;
  DeviceLibrary& operator=(const DeviceLibrary&) = delete;

  EntryPoint operator[](const char* name) const {
    return {reinterpret_cast<void*>(GetProcAddress(module_, name))};
  }

 private:
  HMODULE module_;
};

/// What a call answers, or "raised N", or "threw".
std::string InWords(const std::function<std::string()>& call) {
  try {
    return call();
  } catch (DWORD code) {
    return "raised " + std::to_string(code);
  } catch (const std::runtime_error&) {
    return "threw";
  }
}

/// What a call gave, behind its result in hexadecimal unless that is S_OK.
std::string InWords(HRESULT result, const std::string& given) {
  char code[16] = "";
  if (result != S_OK) {
    std::snprintf(code, sizeof(code), "%x", static_cast<unsigned>(result));
  }
  return code + std::string(result == S_OK || given.empty() ? "" : " + ") + given;
}

std::string Shown(const VARIANT& value) {
  return value.vt == VT_BSTR ? Narrow(value.bstrVal) : value.vt == VT_EMPTY ? "" : std::to_string(value.lVal);
}

DWORD Save(deviceio::VaultStoreProvider* vault, std::string_view bytes) {
  return vault->SaveTarget(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
}

std::string Load(deviceio::VaultStoreProvider* vault) {
  BYTE stale = 0;
  BYTE* bytes = &stale;
  DWORD length = 99;
  const HRESULT result = vault->GetCertFromVault(&bytes, &length);
  if (bytes == nullptr) {
    EXPECT_EQ(length, 0u);
    return InWords(result, FAILED(result) ? "" : "null");
  }
  return InWords(result, std::string(reinterpret_cast<const char*>(bytes), length));
}

/// The three libraries, for one load.
struct Device {
  DeviceLibrary io{"vexmoixo.dll"};
  DeviceLibrary data_map{"vexmoixodm.dll"};
  DeviceLibrary security{"vexmobixocert.dll"};
  deviceio::CreateAddressFunction* from_queue = io[deviceio::kCreateAddressFromQueueName];
  deviceio::CreateAddressFunction* from_port = io[deviceio::kCreateAddressFromPortName];
  deviceio::CreateAddressFunction* from_ip = io[deviceio::kCreateAddressFromIpAddress];
  deviceio::CreateAddressFunction* from_host = io[deviceio::kCreateAddressFromHostName];
  deviceio::CreateDataCollectionFromFileFunction* create_collection =
      data_map[deviceio::kCreateDataCollectionFromFile];
  deviceio::CreateOidProviderFunction* create_oids = data_map[deviceio::kCreateOidProvider];
  deviceio::GetDeviceLocaleStringsFunction* get_strings = data_map[deviceio::kGetDeviceLocaleStrings];
  deviceio::DisposeStringBufferFunction* dispose_strings = data_map[deviceio::kDisposeStringBuffer];
  deviceio::CreateVaultStoreProviderFunction* create_vault = security[deviceio::kCreateVaultStoreProvider];
  deviceio::DisposeVaultStoreProviderFunction* dispose_vault = security[deviceio::kDisposeVaultStoreProvider];
  deviceio::CreateCertificateProviderFunction* create_certificate =
      security[deviceio::kCreateCertificateProvider];
  deviceio::DisposeCertificateProviderFunction* dispose_certificate =
      security[deviceio::kDisposeCertificateProvider];

  deviceio::PrinterAddress* Address() const { return from_ip(W("192.0.2.10")); }
  deviceio::CertificateProvider* Certificate() const { return create_certificate(Address(), 0); }
  deviceio::VaultStoreProvider* Vault() const {
    deviceio::VaultStoreProvider* const vault = create_vault();
    EXPECT_EQ(vault->SetTargetName(kTarget), S_OK);
    EXPECT_EQ(vault->SetUserName(kUser), S_OK);
    return vault;
  }
  std::string Item(const WCHAR* name) const {
    deviceio::DataCollection* collection = nullptr;
    create_collection(Address(), TestPath("vexmoixodatamap.xml").c_str(), &collection, 0);
    VARIANT value{};
    const HRESULT result = collection->GetValue(name, &value, 1);
    return InWords(result, Shown(value));
  }
  std::string Strings(deviceio::PrinterAddress* address, const WCHAR* language) const {
    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    const LONG result = get_strings(address, language, &buffer, &length);
    const std::string text = buffer != nullptr ? Narrow({buffer, length}) : "";
    dispose_strings(buffer, length);
    return InWords(result, text);
  }
};

/// Starts and ends without a printer.json, so with the default printer, and without an entry in the vault.
class SimulatedPrinter : public testing::Test {
 protected:
  SimulatedPrinter() { Clean(); }
  ~SimulatedPrinter() override { Clean(); }

  static void WritePrinter(std::string_view json) { WriteTestFile("printer.json", json); }

 private:
  static void Clean() {
    std::filesystem::remove_all(TestFolder() / "printer.json");
    vault::Delete(kTarget, kUser);
  }
};

TEST_F(SimulatedPrinter, FailsForTheNamesAndCallsItIsFor) {
  WritePrinter(R"({"addresses": {"queues": {"*": {}}, "ports": {"*": {}}, "ip": {"*": {}}},
    "items": {"It": "text", "Other": 7}, "locale": {"en": "e", "de": "d"},
    "faults": {
    "DataCollection.GetValue": [{"raise": 5, "only": "It"}, {"hresult": 7, "call": 3}, {"null": true, "call": 3}],
    "GetDeviceLocaleStrings": {"throw": true, "only": "de"},
    "PrinterAddress.IsActive": {"null": true, "only": "q"},
    "VaultStoreProvider.SetUserName": {"raise": 6, "only": "nobody"},
    "VaultStoreProvider.SaveTarget": [{"hresult": 5, "call": 1}, {"hresult": 5, "deliver": true}],
    "VaultStoreProvider.GetCertFromVault": [{"hresult": -2147467259, "deliver": true, "call": 1}, {"hresult": 1}],
    "VaultStoreProvider.IsTargetPresent": {"hresult": 9, "only": "elsewhere"}}})");
  const Device device;
  deviceio::VaultStoreProvider* const vault = device.Vault();
  const auto present = [&] { return std::to_string(vault->IsTargetPresent()); };
  const auto save = [&] { return std::to_string(Save(vault, "new")); };
  const std::pair<std::function<std::string()>, std::string> kCalls[] = {
      {[&] { return device.Item(W("Other")); }, "7"},
      {[&] { return device.Item(W("It")); }, "raised 5"},
      {[&] { return device.Item(W("Other")); }, "7 + 7"},
      {[&] { return device.Item(W("Other")); }, "7"},
      {[&] { return device.Strings(device.Address(), W("en")); }, "e"},
      {[&] { return device.Strings(device.Address(), W("de")); }, "threw"},
      {[&] { return std::to_string(device.from_port(W("p"))->IsActive()); }, "1"},
      {[&] { return std::to_string(device.from_queue(W("q"))->IsActive()); }, "0"},
      {save, "5"},
      {present, "0"},
      {save, "5"},
      {present, "1"},
      {[&] { return Load(vault); }, "80004005 + new"},
      {[&] { return Load(vault); }, "1 + new"},
      {[&] { return InWords(vault->SetTargetName(W("elsewhere")), "set"); }, "set"},
      {present, "9"},
      {[&] { return InWords(vault->SetUserName(W("nobody")), "set"); }, "raised 6"},
      {[&] { return Load(vault); }, "80070057"},
  };
  for (size_t i = 0; const auto& [call, outcome] : kCalls) {
    EXPECT_EQ(InWords(call), outcome) << "call " << i++;
  }
  EXPECT_EQ(Device().Item(W("Other")), "7") << "each load counts from one";
}

TEST_F(SimulatedPrinter, FailsEverywhereWhenItsFileIsNoGood) {
  deviceio::PrinterAddress* const address = Device().Address();
  WritePrinter("{");
  for (const std::string words :
       {"[json.exception.parse_error.101] parse error at line 1", "the file cannot"}) {
    testing::internal::CaptureStderr();
    {
      const Device device;
      for (const auto& make : {device.from_queue, device.from_port, device.from_ip, device.from_host}) {
        EXPECT_EQ(make(W("x")), nullptr);
      }
      deviceio::DataCollection* collection = nullptr;
      EXPECT_EQ(device.create_collection(address, W("x"), &collection, 0), E_FAIL);
      EXPECT_EQ(device.create_oids(address), nullptr);
      EXPECT_EQ(device.Strings(address, W("en")), "80004005");
      EXPECT_EQ(device.create_certificate(nullptr, 1), nullptr);
      EXPECT_EQ(device.create_vault(), nullptr);
      device.dispose_certificate(nullptr);
      device.dispose_vault(nullptr);
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("printer.json: " + words), std::string::npos) << told;
    EXPECT_EQ(std::ranges::count(told, '\n'), 3) << "once for each library: " << told;
    std::filesystem::remove(TestFolder() / "printer.json");
    std::filesystem::create_directory(TestFolder() / "printer.json");
  }
}

TEST_F(SimulatedPrinter, RemembersItsLastFailure) {
  const Device device;
  WCHAR uuid[37];
  DWORD length = 99;
  deviceio::CertificateProvider* const provider = device.create_certificate(nullptr, 0);
  EXPECT_EQ(provider->GetLastErrorCode(), 0u);
  EXPECT_EQ(provider->GetDeviceUUID(uuid, 37, &length), static_cast<HRESULT>(0x80070490));
  EXPECT_EQ(provider->GetLastErrorCode(), 1168u);
  EXPECT_EQ(device.Certificate()->GetDeviceUUID(uuid, 36, &length), static_cast<HRESULT>(0x8007007A));
  EXPECT_EQ(device.Certificate()->GetDeviceUUID(uuid, 37, &length), S_OK);
  EXPECT_EQ(std::to_string(length) + Narrow(uuid), "366f0d6a52-7c1e-4b1a-9a64-02005e10000a");
  const BYTE broken[] = {0x30};
  LONG valid = 99;
  EXPECT_LT(provider->CheckCertificateDate(broken, 1, &valid), 0);
  EXPECT_EQ(valid, 0);
  EXPECT_GE(provider->GetLastErrorCode(), 0x80000000) << "the result itself, which holds no code";
}

TEST_F(SimulatedPrinter, KeepsWhatItHandedOutOfTheVault) {
  const std::string password("p\0w\0\xFF", 5);
  EXPECT_EQ(Save(Device().Vault(), password), 0u);
  const Device device;
  deviceio::VaultStoreProvider* const vault = device.Vault();
  BYTE* bytes = nullptr;
  DWORD length = 0;
  ASSERT_EQ(vault->GetCertFromVault(&bytes, &length), S_OK);
  EXPECT_EQ(Save(vault, ""), 0u);
  EXPECT_EQ(Load(device.Vault()), "null") << "an entry, and nothing in it";
  EXPECT_EQ(vault->DeleteTarget(), 0u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), length), password);
  EXPECT_EQ(Load(vault), "80070490");
  EXPECT_EQ(vault->DeleteTarget(), DWORD{ERROR_NOT_FOUND});
  EXPECT_EQ(Save(vault, std::string(vault::kMaxEntryBytes + 1, 'x')), vault::kTooLarge);
}

TEST_F(SimulatedPrinter, ActsOnNothingUntilBothNamesAreTaken) {
  const Device device;
  EXPECT_EQ(Save(device.Vault(), "safe"), 0u);
  const WString too_long(vault::kMaxTargetChars + 1, W('t'));
  for (const WCHAR* const name : {static_cast<const WCHAR*>(nullptr), W(""), too_long.c_str()}) {
    for (const bool is_user : {false, true}) {
      deviceio::VaultStoreProvider* const vault = device.Vault();
      EXPECT_EQ(is_user ? vault->SetUserName(name) : vault->SetTargetName(name), E_INVALIDARG);
      EXPECT_EQ(vault->IsTargetPresent(), 0);
      EXPECT_EQ(Load(vault), "80070057");
      EXPECT_EQ(Save(vault, "new"), DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_EQ(vault->DeleteTarget(), DWORD{ERROR_INVALID_PARAMETER});
    }
  }
  EXPECT_EQ(Load(device.Vault()), "safe");
}

// Whoever counts on it that every object comes back reads it here.
TEST_F(SimulatedPrinter, NotesEveryCallOfItsCertificateLibrary) {
  WritePrinter(R"({"log": "calls.log", "faults": {
    "CreateVaultStoreProvider": {"raise": 14, "call": 2},
    "CreateCertificateProvider": {"null": true, "call": 2},
    "DisposeVaultStoreProvider": {"throw": true, "call": 1}}})");
  WriteTestFile("calls.log", "before\n");
  {
    const Device device;
    deviceio::VaultStoreProvider* const vault = device.create_vault();
    vault->SetUserName(kUser);
    EXPECT_THROW(device.create_vault(), DWORD);
    deviceio::CertificateProvider* const certificate = device.create_certificate(nullptr, 1);
    EXPECT_EQ(device.create_certificate(nullptr, 1), nullptr);
    certificate->GetLastErrorCode();
    device.dispose_certificate(certificate);
    device.dispose_certificate(certificate);
    EXPECT_THROW(device.dispose_vault(vault), std::runtime_error);
    device.dispose_vault(nullptr);
    device.dispose_vault(vault);
  }
  Device().create_vault();  // Goes with the library.
  EXPECT_EQ(ReadTestFile("calls.log"),
            "before\nload\nCreateVaultStoreProvider vault-1\nVaultStoreProvider.SetUserName vault-1\n"
            "CreateVaultStoreProvider none\nCreateCertificateProvider certificate-1\n"
            "CreateCertificateProvider none\nCertificateProvider.GetLastErrorCode certificate-1\n"
            "DisposeCertificateProviderPtr certificate-1\nDisposeCertificateProviderPtr unknown\n"
            "DisposeVaultStoreProvider vault-1\nDisposeVaultStoreProvider none\n"
            "DisposeVaultStoreProvider vault-1\nload\nCreateVaultStoreProvider vault-1\n");
  std::filesystem::remove(TestFolder() / "calls.log");
}

}  // namespace
}  // namespace custom_bidi::simulated
