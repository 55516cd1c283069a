// How printer.json is read: what it says, and what is said of one that says nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <ranges>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

#include "ixo/simulated/printer_reader.h"
#include "ixo/support/provider_answers.h"
#include "tests/ixo/simulated_fixture.h"

namespace custom_bidi::simulated {
namespace {

/// The variant that a value leaves of one that a careless caller passes.
VARIANT Filled(const support::Value* value) {
  VARIANT variant;
  std::memset(&variant, 0xCC, sizeof(variant));
  value->CopyTo(&variant);
  return variant;
}

TEST(PrinterFile, DescribesAddresses) {
  const Printer printer = ReadPrinter(R"({"addresses": {
    "queues": {"Office": {"text": "192.0.2.10:9100", "active": true}, "B\u00fcro": {"text": "b"}},
    "ports": {"IP_192.0.2.10": {"text": "one", "active": false}, "LPT1:": null, "*": {"text": "any"}},
    "ip": {"192.0.2.10": {}}, "hosts": {"printer.example": {"text": "host"}}}})");
  const auto found = [&](AddressKind kind, const WCHAR* name) -> std::string {
    const Address* const address = printer.FindAddress(kind, name);
    return address == nullptr
               ? "none"
               : Narrow(address->text.value_or(W("itself"))) + (address->active ? "" : ", off");
  };
  EXPECT_EQ(found(AddressKind::kQueue, W("Office")), "192.0.2.10:9100");
  EXPECT_EQ(found(AddressKind::kQueue, W("office")), "none");
  EXPECT_EQ(found(AddressKind::kQueue, W("B\u00fcro")), "b");
  EXPECT_EQ(found(AddressKind::kPort, W("IP_192.0.2.10")), "one, off");
  EXPECT_EQ(found(AddressKind::kPort, W("LPT1:")), "none");
  EXPECT_EQ(found(AddressKind::kPort, W("192.0.2.99")), "any");
  EXPECT_EQ(found(AddressKind::kIp, W("192.0.2.10")), "itself");
  EXPECT_EQ(found(AddressKind::kIp, W("Office")), "none");
  EXPECT_EQ(found(AddressKind::kHost, W("printer.example")), "host");
}

TEST(PrinterFile, DescribesEachTypeOfValue) {
  const std::tuple<std::string, VARTYPE, ULONGLONG> kCases[] = {
      // the last are all 64 bits of the value
      {R"({"type": "VT_NULL", "value": null})", VT_NULL, 0},
      {R"({"type": "VT_I1", "value": -128})", VT_I1, 0x80},
      {R"({"type": "VT_I4", "value": -2147483648})", VT_I4, 0x80000000},
      {R"({"type": "VT_UI4", "value": 4294967295})", VT_UI4, 0xFFFFFFFF},
      {R"(-7)", VT_I4, 0xFFFFFFF9},
      {R"({"type": "VT_BOOL", "value": true})", VT_BOOL, 0xFFFF},
      {R"({"type": "VT_BOOL", "value": false})", VT_BOOL, 0},
      {R"({"type": "VT_R8", "value": -0.5})", VT_R8, 0xBFE0000000000000},
      {R"({"type": "VT_R8", "value": -1})", VT_R8, 0xBFF0000000000000},
      {R"({"type": "VT_BSTR", "value": null})", VT_BSTR, 0},
  };
  for (const auto& [json, type, payload] : kCases) {
    const Printer printer =
        ReadPrinter(R"({"items": {"It": )" + json + R"(}, "oids": {"1.3": )" + json + "}}");
    for (const VARIANT& value : {Filled(printer.FindItem(W("It"))), Filled(printer.FindOid(W("1.3")))}) {
      EXPECT_EQ(value.vt, type) << json;
      EXPECT_EQ(static_cast<ULONGLONG>(value.llVal), payload) << json;
    }
    EXPECT_EQ(printer.FindItem(W("it")), nullptr);
    EXPECT_EQ(printer.FindOid(W("1.3.6")), nullptr);
  }
}

TEST(PrinterFile, DescribesTextsAsUtf16) {
  const std::pair<std::string, WString> kCases[] = {
      {R"("a,b")", W("a,b")},
      {R"({"type": "VT_BSTR", "value": "\u00e9 \u20ac \ud83d\ude00"})", W("\u00e9 \u20ac \U0001F600")},
      {"\"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80\"", W("\u00e9 \u20ac \U0001F600")},
      {R"("a\u0000b")", WString(W("a\0b"), 3)},
      {R"("")", W("")},
  };
  for (const auto& [json, text] : kCases) {
    const Printer printer = ReadPrinter("\xEF\xBB\xBF{\"items\": {\"It\": " + json + "}}");
    const VARIANT value = Filled(printer.FindItem(W("It")));
    ASSERT_EQ(value.vt, VT_BSTR) << json;
    EXPECT_EQ(WString(value.bstrVal, SysStringLen(value.bstrVal)), text) << json;
  }
  const Printer printer =
      ReadPrinter(R"({"locale": {"en": "\"k\" = \"v\";\n", "de": ["w\u00fc;", "x"], "fr": [], "*": "any"}})");
  EXPECT_EQ(*printer.FindLocale(W("en")), W("\"k\" = \"v\";\n"));
  EXPECT_EQ(*printer.FindLocale(W("de")), W("w\u00fc;\r\nx\r\n"));
  EXPECT_EQ(*printer.FindLocale(W("fr")), W(""));
  EXPECT_EQ(*printer.FindLocale(W("EN")), W("any"));
}

TEST(PrinterFile, HasItsCertificateInEitherForm) {
  const auto bytes = *ReadPrinter(kDefaultPrinter).certificate->der;
  const std::string der(bytes.begin(), bytes.end());
  const std::string json(kDefaultPrinter);
  const size_t begin = json.find('[', json.find("\"der\"")) + 1;
  const std::string lines =
      std::regex_replace(json.substr(begin, json.find(']', begin) - begin), std::regex("[\", ]"), "");
  const std::string pem = "-----BEGIN CERTIFICATE-----" + lines + "-----END CERTIFICATE-----\r\n";
  const std::tuple<const char*, std::string, std::string> kCases[] = {
      {"device.der", der, der},
      {"device.pem", "Words.\r\n" + pem + pem, der},
      {"cut.pem", pem.substr(0, pem.rfind("-----END")), "refused"},
  };
  for (const auto& [name, content, expected] : kCases) {
    WriteTestFile(name, content);
    std::string read = "refused";
    try {
      const Printer printer = ReadPrinter(R"({"certificate": {"file": ")" + std::string(name) + "\"}}");
      read.assign(printer.certificate->der->begin(), printer.certificate->der->end());
    } catch (const support::DescriptionError&) {
    }
    EXPECT_EQ(read, expected) << name;
    std::filesystem::remove(TestFolder() / name);
  }
  EXPECT_EQ(ReadPrinter(R"({"certificate": {"der": "AQ ID\n/+8="}})").certificate->der,
            (std::vector<BYTE>{1, 2, 3, 0xFF, 0xEF}));
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
      {R"({"certificate": {"uuid_length": -1}})", "certificate.uuid_length: an integer from 0 "},
      {R"({"certificate": {"warnings": 5}})", "certificate.warnings: an array of codes is expected, not 5"},
      {R"({"certificate": {"warnings": [1, "two"]}})", "certificate.warnings[1]: a 32-bit code such as "},
      {R"({"log": "a/b"})", "log: the plain name of a file "},
      {R"({"faults": {"GetValue": "null"}})", R"(faults: unknown operation "GetValue")"},
      {R"({"faults": {"CreateOIDProvider": {"null": true, "only": "A"}}})", "faults.CreateOIDProvider: "},
      {fault(R"({"raise": 5, "deliver": true})"), kFault + ".deliver: true is expected"},
      {fault(R"("raise")"), kFault + R"(: unknown fault "raise")"},
      {fault(R"({"only": "A"})"), kFault + R"(: one of "null", "hresult", "raise" and "throw")"},
      {fault(R"({"raise": 1, "null": true})"), kFault + ": one of "},
      {fault(R"({"null": false})"), kFault + ".null: true is expected, not false"},
      {fault(R"([{"raise": 5}, {"raise": "5"}])"), kFault + "[1].raise: a 32-bit code such as "},
      {fault(R"({"raise": "0x5g"})"), kFault + ".raise: a 32-bit code such as "},
      {fault(R"({"hresult": "0x1FFFFFFFF"})"), kFault + ".hresult: a 32-bit code such as "},
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

TEST(PrinterFile, RefusesAFaultThatCouldHaveNoEffect) {
  const std::string creations = "Dispose CreateOIDProvider CreateVaultStore CreateCertificateProvider ";
  // The beginnings of the names of those that refuse it.
  const std::pair<std::string, std::string> kCases[] = {
      {R"({"null": true})", "Dispose VaultStoreProvider.Set"},
      {R"({"hresult": 1})", creations + "CreateAddress PrinterAddress.GetAddressString"},
      {R"({"raise": 5, "only": "A"})", creations + "CertificateProvider."},
  };
  for (const auto& [fault, expected] : kCases) {
    std::istringstream words(expected);
    const std::vector<std::string> beginnings(std::istream_iterator<std::string>(words), {});
    for (const OperationTraits& operation : kOperations) {
      const std::string name(operation.name);
      bool is_taken = true;
      try {
        ReadPrinter(R"({"faults": {")" + name + "\": " + fault + "}}");
      } catch (const support::DescriptionError&) {
        is_taken = false;
      }
      EXPECT_EQ(is_taken,
                std::ranges::none_of(beginnings, [&](auto& part) { return name.starts_with(part); }))
          << name << fault;
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
  const std::string map = ReadTestFile("vexmoixodatamap.xml");
  const std::regex kItem("<DataItem Name=\"([^\"]*)\"/>");
  std::set<WString> names = {W("DeviceID")};  // read by its name, never listed
  for (std::sregex_iterator at(map.begin(), map.end(), kItem); at != std::sregex_iterator(); ++at) {
    EXPECT_TRUE(names.insert(Wide((*at)[1].str())).second) << (*at)[1] << " twice";
  }
  EXPECT_GE(names.size(), 46u);
  const Printer printer = ReadPrinter(kDefaultPrinter);
  EXPECT_TRUE(std::ranges::equal(names, printer.items | std::views::keys));
}

TEST(DefaultPrinter, IsWhole) {
  const Printer printer = ReadPrinter(kDefaultPrinter);
  const std::string id = ";" + Narrow(Filled(printer.FindItem(W("DeviceID"))).bstrVal);
  for (const char* key : {";MFG:", ";MDL:", ";CMD:", ";CLS:", ";DES:", ";SN:", ";CID:"}) {
    EXPECT_NE(id.find(key), std::string::npos) << key;
  }
  for (const char* port : {"LPT1:", "COM1:", "FILE:", "USB001", "nul:"}) {
    EXPECT_EQ(printer.FindAddress(AddressKind::kPort, Wide(port)), nullptr) << port;
  }
  bool valid = false;
  EXPECT_EQ(support::CheckDates(*printer.certificate->der, valid), S_OK);
  EXPECT_TRUE(valid);
}

}  // namespace
}  // namespace custom_bidi::simulated
