#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "src/deviceio/ixo_contract.h"
#include "tests/ixo/simulated_fixture.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#endif

namespace custom_bidi::simulated {
namespace {

constexpr HRESULT kElementNotFound = static_cast<HRESULT>(0x80070490);

/// What a careless caller might pass.
VARIANT Garbage() {
  VARIANT variant;
  std::memset(&variant, 0xCC, sizeof(variant));
  return variant;
}

WString TextOf(const VARIANT& variant) {
  EXPECT_EQ(variant.vt, VT_BSTR);
  return variant.bstrVal ? WString(variant.bstrVal, SysStringLen(variant.bstrVal)) : WString(W("(null)"));
}

TEST_F(SimulatedPrinter, KnowsItsAddresses) {
  WritePrinter(R"({"addresses": {
    "queues": {"Office": {"text": "192.0.2.10:9100", "active": true}, "B\u00fcro": {"text": "b"}},
    "ports": {"IP_192.0.2.10": {"text": "one", "active": false}, "LPT1:": null, "*": {"text": "any"}},
    "ip": {"192.0.2.10": {}},
    "hosts": {"printer.example": {"text": "host"}}
  }})");
  const Device device;
  const struct {
    const char* name;
    ixo::CreateAddressFunction* make;
    const WCHAR* asked;
    const WCHAR* text;  // null: no address
    bool active;
  } kCases[] = {
      {"as listed", device.from_queue, W("Office"), W("192.0.2.10:9100"), true},
      {"other case", device.from_queue, W("office"), nullptr, false},
      {"not ASCII", device.from_queue, W("B\u00fcro"), W("b"), true},
      {"not active", device.from_port, W("IP_192.0.2.10"), W("one"), false},
      {"no device behind it", device.from_port, W("LPT1:"), nullptr, false},
      {"any other", device.from_port, W("192.0.2.99"), W("any"), true},
      {"text left out", device.from_ip, W("192.0.2.10"), W("192.0.2.10"), true},
      {"of another kind", device.from_ip, W("Office"), nullptr, false},
      {"host", device.from_host, W("printer.example"), W("host"), true},
      {"no name", device.from_port, nullptr, nullptr, false},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    ixo::PrinterAddress* const address = test.make(test.asked);
    ASSERT_EQ(address != nullptr, test.text != nullptr);
    if (address) {
      EXPECT_EQ(WString(address->GetAddressString()), test.text);
      EXPECT_EQ(address->IsActive() != 0, test.active);
    }
  }
}

TEST_F(SimulatedPrinter, DeliversEachTypeOfValue) {
  const struct {
    const char* json;
    VARTYPE type;
    ULONGLONG payload;  // all 64 bits of it
  } kCases[] = {
      {R"({"type": "VT_EMPTY"})", VT_EMPTY, 0},
      {R"({"type": "VT_NULL", "value": null})", VT_NULL, 0},
      {R"({"type": "VT_I1", "value": -128})", VT_I1, 0x80},
      {R"({"type": "VT_UI1", "value": 255})", VT_UI1, 0xFF},
      {R"({"type": "VT_I2", "value": -2})", VT_I2, 0xFFFE},
      {R"({"type": "VT_UI2", "value": 65535})", VT_UI2, 0xFFFF},
      {R"({"type": "VT_I4", "value": -2147483648})", VT_I4, 0x80000000},
      {R"({"type": "VT_UI4", "value": 4294967295})", VT_UI4, 0xFFFFFFFF},
      {R"(-7)", VT_I4, 0xFFFFFFF9},
      {R"({"type": "VT_BOOL", "value": true})", VT_BOOL, 0xFFFF},
      {R"({"type": "VT_BOOL", "value": false})", VT_BOOL, 0},
      {R"({"type": "VT_R8", "value": -0.5})", VT_R8, 0xBFE0000000000000},
      {R"({"type": "VT_R8", "value": 1})", VT_R8, 0x3FF0000000000000},
      {R"({"type": "VT_BSTR", "value": null})", VT_BSTR, 0},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.json);
    WritePrinter(std::string(R"({"addresses": {"ip": {"*": {}}}, "items": {"It": )") + test.json +
                 R"(}, "oids": {"1.3": )" + test.json + "}}");
    const Device device;
    VARIANT item = Garbage();
    ASSERT_NE(device.Collection(), nullptr);
    EXPECT_EQ(device.Collection()->GetValue(W("It"), &item, 1), S_OK);
    EXPECT_EQ(item.vt, test.type);
    EXPECT_EQ(static_cast<ULONGLONG>(item.llVal), test.payload);
    VARIANT object = Garbage();
    EXPECT_EQ(device.create_oid_provider(device.Address())->GetValue(W("1.3"), &object), S_OK);
    EXPECT_EQ(object.vt, test.type);
    EXPECT_EQ(static_cast<ULONGLONG>(object.llVal), test.payload);
  }
}

TEST_F(SimulatedPrinter, DeliversTextAsUtf16) {
  WritePrinter(
      "\xEF\xBB\xBF"
      R"({"addresses": {"ip": {"*": {}}}, "items": {
                 "Short": "a,b",
                 "Long": {"type": "VT_BSTR", "value": "\u00e9 \u20ac \ud83d\ude00"},
                 "Bytes": ")"
      "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"
      R"(",
                 "Nul": "a\u0000b", "Empty": ""}})");
  const Device device;
  ixo::DataCollection* const collection = device.Collection();
  const auto text = [collection](const WCHAR* name) {
    VARIANT value = Garbage();
    EXPECT_EQ(collection->GetValue(name, &value, 1), S_OK);
    return TextOf(value);
  };
  EXPECT_EQ(text(W("Short")), W("a,b"));
  EXPECT_EQ(text(W("Long")), W("\u00e9 \u20ac \U0001F600"));
  EXPECT_EQ(text(W("Bytes")), W("\u00e9 \u20ac \U0001F600"));
  EXPECT_EQ(text(W("Nul")), WString(W("a\0b"), 3));
  EXPECT_EQ(text(W("Empty")), W(""));
}

TEST_F(SimulatedPrinter, DoesNotKnowWhatIsNotListed) {
  WritePrinter(R"({"addresses": {"ip": {"*": {}}}, "items": {"Name": "x"}, "oids": {"1.3.6": 1}})");
  const Device device;
  for (const WCHAR* name : {W("name"), W("Nam"), W("1.3.6"), W("")}) {
    VARIANT value{};
    EXPECT_EQ(device.Collection()->GetValue(name, &value, 1), kElementNotFound);
    EXPECT_EQ(value.vt, VT_EMPTY);
  }
  for (const WCHAR* oid : {W(".1.3.6"), W("1.3.6.1"), W("Name")}) {
    VARIANT value{};
    EXPECT_EQ(device.create_oid_provider(device.Address())->GetValue(oid, &value), kElementNotFound);
    EXPECT_EQ(value.vt, VT_EMPTY);
  }
}

TEST_F(SimulatedPrinter, HandsOutLocaleStrings) {
  const auto strings = [](const Device& device, const WCHAR* language) {
    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    if (const LONG result = device.get_locale_strings(device.Address(), language, &buffer, &length)) {
      EXPECT_EQ(buffer, nullptr);
      device.dispose_string_buffer(buffer, length);
      return WString(W("result ")) + static_cast<WCHAR>(W('0') + result);
    }
    EXPECT_EQ(length, std::char_traits<WCHAR>::length(buffer));
    const WString text = buffer;
    device.dispose_string_buffer(buffer, length);
    return text;
  };
  WritePrinter(R"({"addresses": {"ip": {"*": {}}},
                   "locale": {"en": "\"k\" = \"v\";\r\n", "de": ["\"k\" = \"w\u00fc\";", "x"], "fr": []}})");
  {
    const Device device;
    EXPECT_EQ(strings(device, W("en")), W("\"k\" = \"v\";\r\n"));
    EXPECT_EQ(strings(device, W("de")), W("\"k\" = \"w\u00fc\";\r\nx\r\n"));
    EXPECT_EQ(strings(device, W("fr")), W(""));
    EXPECT_EQ(strings(device, W("EN")), W("result 1"));
    EXPECT_EQ(strings(device, W("")), W("result 1"));
  }
  WritePrinter(R"({"addresses": {"ip": {"*": {}}}, "locale": {"en": "english", "*": "other"}})");
  const Device device;
  EXPECT_EQ(strings(device, W("en")), W("english"));
  EXPECT_EQ(strings(device, W("zu")), W("other"));
}

TEST_F(SimulatedPrinter, TakesEachStringBufferBackOnItsOwn) {
  const Device device;
  WCHAR* first = nullptr;
  WCHAR* second = nullptr;
  ULONGLONG length = 0;
  ASSERT_EQ(device.get_locale_strings(device.Address(), W("en"), &first, &length), 0);
  ASSERT_EQ(device.get_locale_strings(device.Address(), W("en"), &second, &length), 0);
  ASSERT_NE(first, second);
  device.dispose_string_buffer(first, length);
#ifdef __SANITIZE_ADDRESS__
  EXPECT_TRUE(__asan_address_is_poisoned(first)) << "freed at once, not when the library goes";
#endif
  EXPECT_EQ(std::char_traits<WCHAR>::length(second), length);
  WCHAR foreign[] = W("not its own");
  device.dispose_string_buffer(foreign, 0);
  // The second is the library's to free.
}

TEST_F(SimulatedPrinter, NeedsItsDataMap) {
  const Device device;
  ixo::PrinterAddress* const address = device.Address();
  ixo::DataCollection* collection = nullptr;
  EXPECT_EQ(device.create_collection(address, TestPath("vexmoixodatamap.xml").c_str(), &collection, 0), S_OK);
  EXPECT_NE(collection, nullptr);
  EXPECT_EQ(device.create_collection(address, TestPath("no such map.xml").c_str(), &collection, 0),
            static_cast<HRESULT>(0x80070002));
  EXPECT_EQ(collection, nullptr);
  EXPECT_LT(device.create_collection(address, TestPath("").c_str(), &collection, 0), 0);
  EXPECT_LT(device.create_collection(nullptr, TestPath("vexmoixodatamap.xml").c_str(), &collection, 0), 0);
}

// Callers know the objects by nothing but the positions of their operations.
TEST_F(SimulatedPrinter, HasItsOperationsAtTheirPositions) {
  WritePrinter(R"({"addresses": {"ip": {"*": {"text": "here"}}}, "items": {"It": 41}, "oids": {"1.3": 42}})");
  const Device device;
  ixo::PrinterAddress* const address = device.Address();
  EXPECT_EQ(CallPosition<LONG>(address, 0), 1);
  EXPECT_EQ(WString(CallPosition<const WCHAR*>(address, 1)), W("here"));
  VARIANT value{};
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*, VARIANT*, LONG>(device.Collection(), 5, W("It"), &value, 1)),
            S_OK);
  EXPECT_EQ(value.lVal, 41);
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*, VARIANT*>(device.create_oid_provider(address), 5, W("1.3"),
                                                           &value)),
            S_OK);
  EXPECT_EQ(value.lVal, 42);
}

TEST_F(SimulatedPrinter, ReadsItsFileOncePerLoad) {
  const auto text = [](const Device& device) { return WString(device.Address()->GetAddressString()); };
  WritePrinter(R"({"addresses": {"ip": {"*": {"text": "first"}}}})");
  {
    const Device device;
    EXPECT_EQ(text(device), W("first"));
    WritePrinter(R"({"addresses": {"ip": {"*": {"text": "second"}}}})");
    EXPECT_EQ(text(device), W("first"));
  }
  {
    const Device device;
    EXPECT_EQ(text(device), W("second"));
    RemovePrinter();
  }
  const Device device;
  EXPECT_EQ(text(device), W("192.0.2.10"));
}

TEST_F(SimulatedPrinter, ServesManyThreadsAtOnce) {
  const Device device;
  std::atomic<int> ready = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      ++ready;
      while (ready < 8) {
        std::this_thread::yield();
      }
      for (int round = 0; round < 50; ++round) {
        ixo::PrinterAddress* const address = device.from_port(W("192.0.2.10"));
        ASSERT_NE(address, nullptr);
        EXPECT_EQ(WString(address->GetAddressString()), W("192.0.2.10"));
        VARIANT value{};
        EXPECT_EQ(device.Collection()->GetValue(W("SerialNumber"), &value, 1), S_OK);
        EXPECT_EQ(TextOf(value), W("VXQ7C2140387"));
        EXPECT_EQ(device.create_oid_provider(address)->GetValue(W("1.3.6.1.2.1.25.3.5.1.1.1"), &value), S_OK);
        WCHAR* buffer = nullptr;
        ULONGLONG length = 0;
        EXPECT_EQ(device.get_locale_strings(address, W("de"), &buffer, &length), 0);
        device.dispose_string_buffer(buffer, length);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// Entry points are looked up by name, in files that are looked up by name.
TEST_F(SimulatedPrinter, ExportsExactlyItsEntryPoints) {
  const std::set<std::string> kIo = {ixo::kCreateAddressFromQueueName, ixo::kCreateAddressFromPortName,
                                     ixo::kCreateAddressFromIpAddress, ixo::kCreateAddressFromHostName};
  const std::set<std::string> kDataMap = {ixo::kCreateDataCollectionFromFile, ixo::kCreateOidProvider,
                                          ixo::kGetDeviceLocaleStrings, ixo::kDisposeStringBuffer};
  const std::set<std::string> kCertificate = {ixo::kCreateVaultStoreProvider, ixo::kDisposeVaultStoreProvider,
                                              ixo::kCreateCertificateProvider,
                                              ixo::kDisposeCertificateProvider};
  std::set<std::string> map_without_dispose = kDataMap;
  map_without_dispose.erase(ixo::kDisposeStringBuffer);
  const struct {
    const char* file;
    std::set<std::string> exported;
  } kCases[] = {
      {"vexmoixo.dll", kIo},
      {"vexmobixo32.dll", kIo},
      {"vexmobixo64.dll", kIo},
      {"vexmoixodm.dll", kDataMap},
      {"vexmobixodm32.dll", kDataMap},
      {"vexmobixodm64.dll", kDataMap},
      {"vexmobixocert.dll", kCertificate},
      {"vexmobixocert32.dll", kCertificate},
      {"vexmobixocert64.dll", kCertificate},
      {"vexmoixo-bare.dll", {}},
      {"vexmoixodm-bare.dll", {}},
      {"vexmobixocert-bare.dll", {}},
      {"vexmoixodm-nodispose.dll", map_without_dispose},
      {"vexmobixocert-nodispose.dll", {ixo::kCreateVaultStoreProvider, ixo::kCreateCertificateProvider}}};
  for (const auto& test : kCases) {
    const DeviceLibrary library(test.file);
    if (!library.IsLoaded()) {
      continue;
    }
    for (const std::set<std::string>& names : {kIo, kDataMap, kCertificate}) {
      for (const std::string& name : names) {
        EXPECT_EQ(library.Find<void()>(name.c_str()) != nullptr, test.exported.contains(name))
            << test.file << " " << name;
      }
    }
  }
}

}  // namespace
}  // namespace custom_bidi::simulated
