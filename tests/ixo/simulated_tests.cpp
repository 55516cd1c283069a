// The simulated device libraries and their printer's file, as far as whole calls do not show them: what no caller
// reads as it is, what is told of a file that is no good, and what becomes of bytes that were handed out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ranges>
#include <regex>
#include <tuple>

#include "ixo/simulated/printer_reader.h"
#include "ixo/support/results.h"
#include "ixo/vault/vault.h"
#include "src/deviceio/device_objects.h"
#include "tests/support/machine.h"

namespace custom_bidi::simulated {
namespace {

using custom_bidi_test::HostFolder;
using custom_bidi_test::ReadBytes;
using custom_bidi_test::ToWide;

/// The variant that the item "It" leaves of one that a careless caller passes.
VARIANT Filled(const Printer& printer) {
  VARIANT variant;
  std::memset(&variant, 0xCC, sizeof(variant));
  printer.FindItem(W("It"))->CopyTo(&variant);
  return variant;
}

TEST(PrinterFile, ValuesFillTheWholePayload) {
  const std::tuple<std::string, VARTYPE, ULONGLONG> kCases[] = {
      {R"({"type": "VT_I1", "value": -128})", VT_I1, 0x80},
      {R"({"type": "VT_BOOL", "value": true})", VT_BOOL, 0xFFFF},
      {R"({"type": "VT_BOOL", "value": false})", VT_BOOL, 0},
      {R"({"type": "VT_R8", "value": -0.5})", VT_R8, 0xBFE0000000000000},
      {R"({"type": "VT_R8", "value": -1})", VT_R8, 0xBFF0000000000000},
      {R"({"type": 16387, "value": -2})", 0x4003, 0xFFFFFFFFFFFFFFFE},
  };
  for (const auto& [json, type, payload] : kCases) {
    const VARIANT value = Filled(ReadPrinter(R"({"items": {"It": )" + json + "}}"));
    EXPECT_EQ(value.vt, type) << json;
    EXPECT_EQ(static_cast<ULONGLONG>(value.llVal), payload) << json;
  }
}

TEST(PrinterFile, TextsAreUtf16) {
  const Printer printer = ReadPrinter(
      "\xEF\xBB\xBF"
      R"({"items": {"It": "a\u0000\ud83d\ude00"}, "locale": {"de": ["w\u00fc", "x"]}})");
  const BSTR text = Filled(printer).bstrVal;
  EXPECT_EQ(WString(text, SysStringLen(text)), WString(W("a\0\U0001F600"), 4));
  EXPECT_EQ(*printer.FindLocale(W("de")), W("w\u00fc\r\nx\r\n"));
}

TEST(PrinterFile, CertificateIsTextOrAFileOfEitherForm) {
  const std::string begin = "-----BEGIN CERTIFICATE-----";
  const std::string end = "-----END CERTIFICATE-----\r\n";
  const std::vector<BYTE> bytes = {1, 2, 3, 0xFF, 0xEF};
  const std::string file = R"({"certificate": {"file": "device.pem"}})";
  EXPECT_EQ(ReadPrinter(R"({"certificate": {"der": ["AQ ID", "/+8="]}})").certificate->der, bytes);
  HostFolder host;
  for (const std::string& content : {std::string(bytes.begin(), bytes.end()),
                                     "Words.\r\n" + begin + "AQ ID\n/+8=\r\n" + end + begin + "AA==" + end}) {
    host.Write("device.pem", content);
    EXPECT_EQ(ReadPrinter(file).certificate->der, bytes) << content;
  }
  host.Write("device.pem", begin + "AQID\r\n");
  EXPECT_THROW(ReadPrinter(file), support::DescriptionError);
}

TEST(PrinterFile, FirstFaultThatAppliesCounts) {
  const Printer printer = ReadPrinter(R"({"items": {"It": {"fault": {"raise": 4}}},
    "faults": {"DataCollection.GetValue": [{"raise": 1, "only": "Other", "call": 2}, {"hresult": 2, "call": 2},
                                           {"raise": 3, "only": "It", "call": 3}]}})");
  const std::tuple<const WCHAR*, uint64_t, DWORD> kCases[] = {
      {W("Other"), 1, 0}, {W("Other"), 2, 1}, {W("It"), 2, 2}, {W("It"), 3, 3}, {W("It"), 1, 4}};
  for (const auto& [item, call, code] : kCases) {
    const Fault* const fault = printer.FindFault(Operation::kDataCollectionGetValue, item, call);
    EXPECT_EQ(fault != nullptr ? fault->code : 0, code) << call;
  }
}

TEST(PrinterFile, IsRefusedWithThePlaceOfWhatIsWrong) {
  const std::string kFault = "faults.DataCollection.GetValue";
  const auto fault = [](const char* json) {
    return R"({"faults": {"DataCollection.GetValue": )" + std::string(json) + "}}";
  };
  const auto item = [](const char* json) { return R"({"items": {"A": )" + std::string(json) + "}}"; };
  const auto der = [](const char* json) { return R"({"certificate": {"der": )" + std::string(json) + "}}"; };
  const std::string parse_error = "[json.exception.parse_error.101] parse error at line ";
  const std::pair<std::string, std::string> kCases[] = {
      {"", parse_error + "1, column 1: "},
      {"{\n  \"items\": {\n    \"A\": \"x\",\n  }\n}", parse_error + "4, column 3: "},
      {"{} {}", parse_error + "1, column 4: "},
      {item("\"\xE9\""), parse_error + "1, column 19: "},
      {item(R"("\ud800")"), parse_error + "1, column 24: "},
      {item("1e999"), "[json.exception.out_of_range.406] number overflow parsing '1e999'"},
      {"[]", "printer: an object is expected, not array"},
      {R"({"z": 1, "item": {}})", R"(printer: unknown member "item")"},
      {R"({"\u00e9\n": 1})", "printer: unknown member \"\xC3\xA9\\n\""},
      {item(R"({"type": "VT_I5", "value": 1})"), R"(items.A.type: unknown type "VT_I5")"},
      {item(R"({"type": {"b": [1, null], "a": 1}})"), R"(items.A.type: unknown type {"a":1,"b":[1,null]})"},
      {item(R"({"type": "VT_I1", "value": 128})"), "items.A.value: an integer from -128 to 127 is "},
      {item(R"({"type": "VT_UI4", "value": -1})"), "items.A.value: an integer from 0 to 4294967295 "},
      {item("2147483648"), "items.A: an integer from -2147483648 to 2147483647 "},
      {item("18446744073709551615"), "items.A: an integer from -2147483648 to 2147483647 "},
      {item("1.0"), "items.A: an integer from -2147483648 to 2147483647 is expected, not 1.0"},
      {item(R"({"type": "VT_I4"})"), R"(items.A: "value" is missing)"},
      {item(R"({"value": 1})"), R"(items.A: "type" is missing)"},
      {item(R"({"type": "VT_BOOL", "value": 1})"), "items.A.value: true or false is expected, not 1"},
      {item(R"({"type": "VT_R8", "value": "1"})"), R"(items.A.value: a number is expected, not "1")"},
      {item(R"({"type": "VT_EMPTY", "value": 1})"), "items.A.value: the type has no value"},
      {item(R"({"type": "VT_BSTR", "value": 1})"), "items.A.value: a text is expected, not number"},
      {item(R"({"typ": "VT_I4"})"), R"(items.A: unknown member "typ")"},
      {item(R"({"fault": {"raise": 5, "only": "A"}})"), R"(items.A.fault: "only" has no place)"},
      {R"({"addresses": {"queue": {}}})", R"(addresses: unknown member "queue")"},
      {R"({"addresses": {"ports": {"p": {"activ": true}}}})", R"(addresses.ports.p: unknown member "activ")"},
      {R"({"addresses": {"ports": {"p": {"active": 1}}}})", "addresses.ports.p.active: true or false is "},
      {R"({"certificate": {"pem": "x"}})", R"(certificate: unknown member "pem")"},
      {R"({"certificate": {"der": "AQI=", "file": "a"}})", R"(certificate: only one of "file" and "der")"},
      {der(R"("AQI")"), "certificate.der: this is not base64"},
      {der(R"("A=ID")"), "certificate.der: this is not base64"},
      {der(R"("A===")"), "certificate.der: this is not base64"},
      {der(R"("AQ-D")"), "certificate.der: this is not base64"},
      {der(R"(["AQID", 1])"), R"(certificate.der: a text or an array of texts is expected, not ["AQID",1])"},
      {R"({"certificate": {"file": "no such.der"}})", "certificate.file: the plain name of a file "},
      {R"({"certificate": {"file": "../device.der"}})", "certificate.file: the plain name of a file "},
      {R"({"certificate": {"file": "nosuch.der"}})", "certificate.file: there is no file "},
      {R"({"certificate": {"warnings": 5}})", "certificate.warnings: an array of codes is expected, not 5"},
      {R"({"certificate": {"warnings": [1, "two"]}})", "certificate.warnings[1]: a 32-bit code such as "},
      {R"({"log": "a/b"})", "log: the plain name of a file "},
      {R"({"faults": {"GetValue": "null"}})", R"(faults: unknown operation "GetValue")"},
      {R"({"faults": {"CreateOIDProvider": {"null": true, "only": "A"}}})", "faults.CreateOIDProvider: "},
      {R"({"faults": {"CreateOIDProvider": {"hresult": 1}}})", "faults.CreateOIDProvider: "},
      {R"({"faults": {"DisposeStringBuffer": "null"}})", "faults.DisposeStringBuffer: "},
      {fault(R"({"raise": 5, "deliver": true})"), kFault + ".deliver: true is expected"},
      {fault(R"("raise")"), kFault + R"(: unknown fault "raise")"},
      {fault(R"({"only": "A"})"), kFault + R"(: one of "null", "hresult", "raise" and "throw")"},
      {fault(R"({"raise": 1, "null": true})"), kFault + ": one of "},
      {fault(R"({"null": false})"), kFault + ".null: true is expected, not false"},
      {fault(R"([{"raise": 5}, {"raise": "5"}])"), kFault + "[1].raise: a 32-bit code such as "},
      {fault(R"({"raise": "0x5g"})"), kFault + ".raise: a 32-bit code such as "},
      {fault(R"({"hresult": "0x1FFFFFFFF"})"), kFault + ".hresult: a 32-bit code such as "},
      {fault(R"({"length": 5})"), kFault + R"(: the operation tells no "length")"},
      {fault(R"({"null": true, "delay": 60001})"), kFault + ".delay: an integer from 1 to 60000 "},
      {fault(R"({"raise": 5, "call": 0})"), kFault + ".call: an integer from 1 to 4294967295 "},
  };
  for (const auto& [json, told] : kCases) {
    try {
      ReadPrinter(json);
      ADD_FAILURE() << "taken: " << json;
    } catch (const support::DescriptionError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, told.size()), told) << json;
    }
  }
}

TEST(PrinterFile, MayBeAsDeepAsItIsLong) {
  const std::string open(300'000, '[');
  const std::string close(open.size(), ']');
  EXPECT_THROW(ReadPrinter(open + close), support::DescriptionError);
  EXPECT_THROW(ReadPrinter(R"({"a": )" + open + close + R"(, "a": 1})"), support::DescriptionError);
}

TEST(DefaultPrinter, HasTheItemsOfItsDataMap) {
  const std::string map = ReadBytes(SIMULATED_DATA_MAP);
  const std::regex kItem("<DataItem Name=\"([^\"]*)\"/>");
  std::set<WString> names = {W("DeviceID")};  // read by its name, never listed
  for (std::sregex_iterator at(map.begin(), map.end(), kItem); at != std::sregex_iterator(); ++at) {
    EXPECT_TRUE(names.insert(ToWide((*at)[1].str())).second) << (*at)[1] << " twice";
  }
  EXPECT_TRUE(std::ranges::equal(names, ReadPrinter(kDefaultPrinter).items | std::views::keys));
}

/// A library, for one load.
struct Library {
  explicit Library(const char* file) : module(LoadLibraryW(ToWide(HostFolder::Text("//") + file).c_str())) {}

  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module.Get(), name)));
  }

  Module module;
};

struct SecurityLibrary : Library {
  SecurityLibrary() : Library("vexmobixocert.dll") {}

  deviceio::VaultStoreProvider* Vault() const {
    deviceio::VaultStoreProvider* const vault = make_vault();
    EXPECT_EQ(vault->SetTargetName(W("simulated_tests.target")), S_OK);
    EXPECT_EQ(vault->SetUserName(W("user")), S_OK);
    return vault;
  }

  deviceio::CreateVaultStoreProviderFunction* const make_vault =
      Find<deviceio::CreateVaultStoreProviderFunction>(deviceio::kCreateVaultStoreProvider);
  deviceio::CreateCertificateProviderFunction* const make_certificate =
      Find<deviceio::CreateCertificateProviderFunction>(deviceio::kCreateCertificateProvider);
};

class SimulatedLibraries : public testing::Test {
 protected:
  SimulatedLibraries() { host_.Remove("printer.json"); }  // of a run that crashed

  HostFolder host_;
};

// The data-map library is never asked without an address.
TEST_F(SimulatedLibraries, FailWhenTheirFileIsNoGoodAndSayWhy) {
  for (const std::string why :
       {"[json.exception.parse_error.101] parse error at line 1", "the file cannot"}) {
    host_.Write("printer.json", "{");
    if (why == "the file cannot") {
      host_.Remove("printer.json");
      std::filesystem::create_directory(HostFolder::Path() / "printer.json");
    }
    testing::internal::CaptureStderr();
    const Library io("vexmoixo.dll");
    for (const char* name : {deviceio::kCreateAddressFromQueueName, deviceio::kCreateAddressFromPortName,
                             deviceio::kCreateAddressFromIpAddress, deviceio::kCreateAddressFromHostName}) {
      EXPECT_EQ(io.Find<deviceio::CreateAddressFunction>(name)(W("x")), nullptr);
    }
    const SecurityLibrary security;
    EXPECT_EQ(security.make_certificate(nullptr, 1), nullptr);
    EXPECT_EQ(security.make_vault(), nullptr);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("printer.json: " + why), std::string::npos) << told;
    EXPECT_EQ(std::ranges::count(told, '\n'), 2) << "once for each library: " << told;
  }
}

TEST_F(SimulatedLibraries, HaveACertificateOnlyWhereThereIsAWayToTheDevice) {
  const SecurityLibrary security;
  for (const auto& [mode, result] : {std::pair{DWORD{0}, support::kElementNotFound}, {DWORD{1}, S_OK}}) {
    DWORD codes[10];
    DWORD count = 99;
    deviceio::CertificateProvider* const provider = security.make_certificate(nullptr, mode);
    EXPECT_EQ(provider->GetCertificateAllSecurityWarnings(codes, 10, &count), result);
  }
}

TEST_F(SimulatedLibraries, KeepWhatTheyHandedOutOfTheVault) {
  const SecurityLibrary security;
  deviceio::VaultStoreProvider* const vault = security.Vault();
  const std::vector<BYTE> password = {'p', 0, 'w', 0, 0xFF};
  BYTE* bytes = nullptr;
  DWORD length = 0;
  EXPECT_EQ(vault->SaveTarget(password.data(), 5), 0u);
  ASSERT_EQ(vault->GetCertFromVault(&bytes, &length), S_OK);
  EXPECT_EQ(security.Vault()->SaveTarget(password.data(), 1), 0u);
  EXPECT_EQ(vault->DeleteTarget(), 0u);
  EXPECT_EQ(std::vector<BYTE>(bytes, bytes + length), password);
}

TEST_F(SimulatedLibraries, ActOnNothingUntilBothNamesAreTaken) {
  const SecurityLibrary security;
  const BYTE byte = 'x';
  EXPECT_EQ(security.Vault()->SaveTarget(&byte, 1), 0u);
  const WString too_long(vault::kMaxTargetChars + 1, W('t'));
  for (const WCHAR* const name : {static_cast<const WCHAR*>(nullptr), W(""), too_long.c_str()}) {
    for (const bool is_user : {false, true}) {
      deviceio::VaultStoreProvider* const vault = security.Vault();
      BYTE* bytes = nullptr;
      DWORD length = 99;
      EXPECT_EQ(is_user ? vault->SetUserName(name) : vault->SetTargetName(name), E_INVALIDARG);
      EXPECT_EQ(vault->IsTargetPresent(), 0);
      EXPECT_EQ(vault->GetCertFromVault(&bytes, &length), E_INVALIDARG);
      EXPECT_EQ(length, 0u);
      EXPECT_EQ(vault->SaveTarget(&byte, 1), DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_EQ(vault->DeleteTarget(), DWORD{ERROR_INVALID_PARAMETER});
    }
  }
  EXPECT_EQ(security.Vault()->DeleteTarget(), 0u) << "the entry is still there";
}

}  // namespace
}  // namespace custom_bidi::simulated
