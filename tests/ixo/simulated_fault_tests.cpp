// Printers that fail on purpose, and files that are wrong by mistake.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "src/deviceio/ixo_contract.h"
#include "tests/ixo/simulated_fixture.h"

namespace custom_bidi::simulated {
namespace {

using SimulatedFault = SimulatedPrinter;

constexpr char kHealthy[] =
    R"("addresses": {"queues": {"*": {}}, "ports": {"*": {}}, "ip": {"*": {}}, "hosts": {"*": {}}},
  "items": {"It": "text", "Other": 7}, "oids": {"1.3": 1, "1.4": 2}, "locale": {"en": "e", "de": "d"})";

std::string PrinterWithFaults(const std::string& faults) {
  return std::string("{") + kHealthy + R"(, "faults": )" + faults + "}";
}

std::string Hex(HRESULT result) {
  std::ostringstream text;
  text << std::hex << static_cast<uint32_t>(result);
  return text.str();
}

/// What came of a call, in words: "ok", "null" (no object, or a null text), "raised 5", "threw", a result in
/// hexadecimal, or such a result with
/// "+ value" when a value came with it.
std::string InWords(const std::function<std::string()>& call) {
  try {
    return call();
  } catch (DWORD code) {
    return "raised " + std::to_string(code);
  } catch (const std::runtime_error&) {
    return "threw";
  }
}

std::string InWords(HRESULT result, bool has_value) {
  if (result == S_OK) {
    return has_value ? "ok" : "null";
  }
  return Hex(result) + (has_value ? " + value" : "");
}

std::string InWords(HRESULT result, const VARIANT& value) {
  if (result == S_OK && value.vt == VT_EMPTY) {
    return "nothing";
  }
  return InWords(result, value.vt != VT_EMPTY && (value.vt != VT_BSTR || value.bstrVal));
}

std::string Item(const Device& device, const WCHAR* name) {
  return InWords([&] {
    VARIANT value{};
    const HRESULT result = device.Collection()->GetValue(name, &value, 1);
    return InWords(result, value);
  });
}

std::string Oid(const Device& device, const WCHAR* oid) {
  return InWords([&] {
    VARIANT value{};
    const HRESULT result = device.create_oid_provider(device.Address())->GetValue(oid, &value);
    return InWords(result, value);
  });
}

std::string Strings(const Device& device, const WCHAR* language) {
  return InWords([&] {
    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    const LONG result = device.get_locale_strings(device.Address(), language, &buffer, &length);
    return InWords(result, buffer != nullptr);
  });
}

std::string Made(ixo::CreateAddressFunction* make, const WCHAR* name) {
  return InWords([&] { return std::string(make(name) ? "ok" : "null"); });
}

std::string Collection(const Device& device) {
  return InWords([&] {
    ixo::DataCollection* collection = nullptr;
    const HRESULT result =
        device.create_collection(device.Address(), TestPath("vexmoixodatamap.xml").c_str(), &collection, 0);
    return InWords(result, collection != nullptr);
  });
}

std::string Active(const Device& device) {
  return InWords([&] {
    const LONG active = device.from_port(W("p"))->IsActive();
    return active == 0 ? std::string("null") : active == 1 ? "ok" : Hex(active);
  });
}

TEST_F(SimulatedFault, StrikesEveryOperationInEveryWay) {
  const std::string kRefused = "refused";
  const struct {
    const char* operation;
    std::function<std::string(const Device&)> call;
    std::string with_null;
    std::string with_result;
  } kCases[] = {
      {"CreateAddressFromQueueName", [](const Device& d) { return Made(d.from_queue, W("q")); }, "null",
       kRefused},
      {"CreateAddressFromPortName", [](const Device& d) { return Made(d.from_port, W("p")); }, "null",
       kRefused},
      {"CreateAddressFromIPAddress", [](const Device& d) { return Made(d.from_ip, W("i")); }, "null",
       kRefused},
      {"CreateAddressFromHostName", [](const Device& d) { return Made(d.from_host, W("h")); }, "null",
       kRefused},
      {"PrinterAddress.IsActive", Active, "null", "80004005"},
      {"PrinterAddress.GetAddressString",
       [](const Device& d) {
         return InWords([&] { return std::string(d.Address()->GetAddressString() ? "ok" : "null"); });
       },
       "null", kRefused},
      {"CreateDataCollectionFromFile", Collection, "null", "80004005"},
      {"DataCollection.GetValue", [](const Device& d) { return Item(d, W("It")); }, "null", "80004005"},
      {"CreateOIDProvider",
       [](const Device& d) {
         return InWords([&] { return std::string(d.create_oid_provider(d.Address()) ? "ok" : "null"); });
       },
       "null", kRefused},
      {"OidProvider.GetValue", [](const Device& d) { return Oid(d, W("1.3")); }, "null", "80004005"},
      {"GetDeviceLocaleStrings", [](const Device& d) { return Strings(d, W("en")); }, "null", "80004005"},
      {"DisposeStringBuffer",
       [](const Device& d) {
         return InWords([&] {
           d.dispose_string_buffer(nullptr, 0);
           return std::string("ok");
         });
       },
       kRefused, kRefused},
  };
  for (const auto& test : kCases) {
    const auto expect = [&](const char* fault, const std::string& outcome) {
      SCOPED_TRACE(std::string(test.operation) + " " + fault);
      WritePrinter(PrinterWithFaults(std::string("{\"") + test.operation + "\": " + fault + "}"));
      const Device device;
      if (outcome == kRefused) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(device.Address(), nullptr);
        EXPECT_NE(testing::internal::GetCapturedStderr().find(test.operation), std::string::npos);
      } else {
        EXPECT_EQ(test.call(device), outcome);
      }
    };
    expect("[]", "ok");
    expect(R"("null")", test.with_null);
    expect(R"({"hresult": "0x80004005"})", test.with_result);
    expect(R"({"hresult": -2147467259})", test.with_result);
    expect(R"({"raise": 5})", "raised 5");
    expect(R"({"raise": "0xFFFFFFFF"})", "raised 4294967295");
    expect(R"("throw")", "threw");
    expect(R"({"throw": true, "call": 2})", "ok");
  }
}

TEST_F(SimulatedFault, StrikesOnlyTheNameOrCallItIsFor) {
  WritePrinter(PrinterWithFaults(R"({
    "DataCollection.GetValue": [{"raise": 5, "only": "It"}, {"hresult": "0x80070005", "call": 3}, {"null": true, "call": 3}],
    "OidProvider.GetValue": {"hresult": "0x80070015", "only": "1.4"},
    "GetDeviceLocaleStrings": {"throw": true, "only": "de"},
    "CreateAddressFromPortName": {"null": true, "call": 2},
    "PrinterAddress.IsActive": {"null": true, "only": "q"}})"));
  {
    const Device device;
    EXPECT_EQ(Item(device, W("Other")), "ok");
    EXPECT_EQ(Item(device, W("It")), "raised 5");
    EXPECT_EQ(Item(device, W("Other")), "80070005");
    EXPECT_EQ(Item(device, W("Other")), "ok");
    EXPECT_EQ(Oid(device, W("1.3")), "ok");
    EXPECT_EQ(Oid(device, W("1.4")), "80070015");
    EXPECT_EQ(Strings(device, W("en")), "ok");
    EXPECT_EQ(Strings(device, W("de")), "threw");
    EXPECT_EQ(Active(device), "ok");
    EXPECT_EQ(device.from_queue(W("q"))->IsActive(), 0);
    EXPECT_EQ(Made(device.from_port, W("p")), "null");
    EXPECT_EQ(Made(device.from_port, W("p")), "ok");
  }
  const Device loaded_again;  // counts from one again
  EXPECT_EQ(Made(loaded_again.from_port, W("p")), "ok");
  EXPECT_EQ(Made(loaded_again.from_port, W("p")), "null");
}

TEST_F(SimulatedFault, StandsWithTheItemToo) {
  WritePrinter(R"({"addresses": {"ip": {"*": {}}},
    "items": {"Gone": {"fault": {"hresult": "0x8007001F"}}, "Late": {"type": "VT_I4", "value": 1, "fault": {"raise": 121, "call": 2}},
              "Whole": {"type": "VT_I4", "value": 1}},
    "oids": {"1.3": {"type": "VT_EMPTY", "fault": ["null"]}}})");
  const Device device;
  EXPECT_EQ(Item(device, W("Late")), "ok");
  EXPECT_EQ(Item(device, W("Late")), "raised 121");
  EXPECT_EQ(Item(device, W("Gone")), "8007001f");
  EXPECT_EQ(Item(device, W("Whole")), "ok");
  EXPECT_EQ(Oid(device, W("1.3")), "null");
}

// A result that is no failure, and yet not S_OK, is something a device may well give together with a value.
TEST_F(SimulatedFault, LetsAPositiveResultGoWithTheValue) {
  WritePrinter(PrinterWithFaults(R"({
    "DataCollection.GetValue": {"hresult": 1}, "OidProvider.GetValue": {"hresult": 1},
    "GetDeviceLocaleStrings": {"hresult": 1}, "CreateDataCollectionFromFile": {"hresult": 1, "call": 2}})"));
  const Device device;
  EXPECT_EQ(Item(device, W("It")), "1 + value");
  EXPECT_EQ(Oid(device, W("1.3")), "1 + value");
  EXPECT_EQ(Strings(device, W("en")), "1 + value");
  EXPECT_EQ(Collection(device), "1 + value");
}

TEST_F(SimulatedFault, IsToldWhenTheFileIsNoGood) {
  const struct {
    const char* json;
    const char* told;
  } kCases[] = {
      {"", "parse error at line 1, column 1"},
      {"{\n  \"items\": {\n    \"A\": \"x\",\n  }\n}", "parse error at line 4, column 3"},
      {"{} {}", "parse error"},
      {"{\"items\": {\"A\": \"\xE9\"}}", "parse error"},
      {R"({"items": {"A": "\ud800"}})", "parse error"},
      {"[]", "printer: an object is expected"},
      {R"({"item": {}})", R"(unknown member "item")"},
      {R"({"items": []})", "items: an object is expected"},
      {R"({"items": {"A": {"type": "VT_I5", "value": 1}}})", R"(items.A.type: unknown type "VT_I5")"},
      {R"({"items": {"A": {"type": "VT_I1", "value": 128}}})", "items.A.value: an integer from -128 to 127"},
      {R"({"items": {"A": {"type": "VT_UI4", "value": -1}}})", "items.A.value"},
      {R"({"items": {"A": 2147483648}})", "items.A"},
      {R"({"items": {"A": 18446744073709551615}})", "items.A"},
      {R"({"items": {"A": 1.5}})", "items.A"},
      {R"({"items": {"A": {"type": "VT_I4"}}})", R"(items.A: "value" is missing)"},
      {R"({"items": {"A": {"value": 1}}})", R"(items.A: "type" is missing)"},
      {R"({"items": {"A": {"type": "VT_BOOL", "value": 1}}})", "items.A.value: true or false"},
      {R"({"items": {"A": {"type": "VT_EMPTY", "value": 1}}})", "items.A.value"},
      {R"({"items": {"A": {"type": "VT_BSTR", "value": 1}}})", "items.A.value: a text"},
      {R"({"items": {"A": {"typ": "VT_I4"}}})", R"(items.A: unknown member "typ")"},
      {R"({"oids": {"1.3": null}})", "oids.1.3"},
      {R"({"addresses": {"queue": {}}})", R"(addresses: unknown member "queue")"},
      {R"({"addresses": {"ports": {"p": {"activ": true}}}})", R"(addresses.ports.p: unknown member "activ")"},
      {R"({"addresses": {"ports": {"p": {"active": 1}}}})", "addresses.ports.p.active"},
      {R"({"locale": {"en": ["a", 1]}})", "locale.en: a text"},
      {R"({"certificate": {"pem": "x"}})", R"(certificate: unknown member "pem")"},
      {R"({"certificate": {"der": "AQI=", "file": "a"}})", "certificate: only one of"},
      {R"({"certificate": {"der": "AQI"}})", "certificate.der: this is not base64"},
      {R"({"certificate": {"der": "A=ID"}})", "certificate.der: this is not base64"},
      {R"({"certificate": {"der": "A==="}})", "certificate.der: this is not base64"},
      {R"({"certificate": {"der": "AQ-D"}})", "certificate.der: this is not base64"},
      {R"({"certificate": {"der": ["AQID", 1]}})", "certificate.der: a text or an array of texts"},
      {R"({"certificate": {"file": "no such.der"}})", "certificate.file: the plain name"},
      {R"({"certificate": {"file": "../device.der"}})", "certificate.file: the plain name"},
      {R"({"certificate": {"file": "nosuch.der"}})", "certificate.file: there is no file "},
      {R"({"certificate": {"uuid": 1}})", "certificate.uuid: a text"},
      {R"({"certificate": {"uuid_length": -1}})", "certificate.uuid_length: an integer"},
      {R"({"certificate": {"warnings": 5}})", "certificate.warnings: an array"},
      {R"({"certificate": {"warnings": [1, "two"]}})", "certificate.warnings[1]: a 32-bit code"},
      {R"({"log": "a/b"})", "log: the plain name"},
      {R"({"faults": {"DataCollection.GetValue": {"raise": 5, "deliver": true}}})",
       "deliver: true is expected"},
      {R"({"faults": {"GetValue": "null"}})", R"(faults: unknown operation "GetValue")"},
      {R"({"faults": {"DataCollection.GetValue": "raise"}})",
       R"(faults.DataCollection.GetValue: unknown fault "raise")"},
      {R"({"faults": {"DataCollection.GetValue": {"only": "A"}}})", "faults.DataCollection.GetValue: one of"},
      {R"({"faults": {"DataCollection.GetValue": {"raise": 1, "null": true}}})", "one of"},
      {R"({"faults": {"DataCollection.GetValue": [{"raise": 5}, {"raise": "5"}]}})",
       "GetValue[1].raise: a 32-bit code"},
      {R"({"faults": {"DataCollection.GetValue": {"raise": "0x5g"}}})", "a 32-bit code"},
      {R"({"faults": {"DataCollection.GetValue": {"hresult": "0x1FFFFFFFF"}}})", "a 32-bit code"},
      {R"({"faults": {"DataCollection.GetValue": {"raise": 5, "call": 0}}})", "call: an integer from 1"},
      {R"({"faults": {"CreateOIDProvider": {"null": true, "only": "A"}}})", R"(nothing for "only")"},
      {R"({"items": {"A": {"fault": {"raise": 5, "only": "A"}}}})", R"(items.A.fault: "only")"},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.json);
    WritePrinter(test.json);
    testing::internal::CaptureStderr();
    {
      const Device device;
      EXPECT_EQ(Made(device.from_queue, W("q")), "null");
      EXPECT_EQ(Made(device.from_ip, W("i")), "null");
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("printer.json: "), std::string::npos) << told;
    EXPECT_NE(told.find(test.told), std::string::npos) << told;
    EXPECT_EQ(std::ranges::count(told, '\n'), 1) << told;
  }
}

TEST_F(SimulatedFault, FailsEverywhereWhenTheFileIsNoGood) {
  const DeviceLibrary healthy_io("vexmobixo64.dll");
  ixo::PrinterAddress* const address =
      healthy_io.Find<ixo::CreateAddressFunction>(ixo::kCreateAddressFromIpAddress)(W("192.0.2.10"));
  ASSERT_NE(address, nullptr);
  WritePrinter("{");
  testing::internal::CaptureStderr();
  {
    const Device device;
    for (const auto& make : {device.from_queue, device.from_port, device.from_ip, device.from_host}) {
      EXPECT_EQ(make(W("x")), nullptr);
    }
    ixo::DataCollection* collection = nullptr;
    EXPECT_EQ(device.create_collection(address, TestPath("vexmoixodatamap.xml").c_str(), &collection, 0),
              E_FAIL);
    EXPECT_EQ(collection, nullptr);
    EXPECT_EQ(device.create_oid_provider(address), nullptr);
    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    EXPECT_EQ(device.get_locale_strings(address, W("en"), &buffer, &length), E_FAIL);
    EXPECT_EQ(buffer, nullptr);
    device.dispose_string_buffer(buffer, length);
  }
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::ranges::count(told, '\n'), 2) << "once for each library: " << told;
}

TEST_F(SimulatedFault, IsToldWhenTheFileCannotBeRead) {
  std::filesystem::create_directory(TestFolder() / "printer.json");
  testing::internal::CaptureStderr();
  {
    const Device device;
    EXPECT_EQ(device.Address(), nullptr);
  }
  EXPECT_NE(testing::internal::GetCapturedStderr().find("printer.json: the file cannot be "),
            std::string::npos);
}

}  // namespace
}  // namespace custom_bidi::simulated
