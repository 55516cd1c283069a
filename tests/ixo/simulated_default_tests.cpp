// The printer that answers when nobody describes another.

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "src/deviceio/ixo_contract.h"
#include "tests/ixo/simulated_fixture.h"

namespace custom_bidi::simulated {
namespace {

std::string ReadTestFile(const char* name) {
  std::ifstream file(TestFolder() / name, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

std::set<std::string> NamesInDataMap() {
  const std::string map = ReadTestFile("vexmoixodatamap.xml");
  const std::regex kItem("<DataItem Name=\"([^\"]*)\"/>");
  std::set<std::string> names;
  for (std::sregex_iterator at(map.begin(), map.end(), kItem); at != std::sregex_iterator(); ++at) {
    EXPECT_TRUE(names.insert((*at)[1]).second) << (*at)[1] << " twice";
  }
  return names;
}

using DefaultPrinter = SimulatedPrinter;

TEST_F(DefaultPrinter, AnswersEveryItemOfItsDataMap) {
  const std::set<std::string> names = NamesInDataMap();
  EXPECT_GE(names.size(), 45u);
  const Device device;
  ixo::DataCollection* const collection = device.Collection();
  ASSERT_NE(collection, nullptr);
  for (const std::string& name : names) {
    VARIANT value{};
    EXPECT_EQ(collection->GetValue(Wide(name).c_str(), &value, 1), S_OK) << name;
  }
}

TEST_F(DefaultPrinter, HasEveryItemInItsDataMap) {
  const nlohmann::json printer = nlohmann::json::parse(ReadTestFile("default-printer.json"));
  std::set<std::string> listed;
  for (const auto& [name, value] : printer["items"].items()) {
    listed.insert(name);
  }
  std::set<std::string> names = NamesInDataMap();
  names.insert("DeviceID");  // read by its name, never listed
  EXPECT_EQ(names, listed);
}

TEST_F(DefaultPrinter, NamesItselfInItsDeviceId) {
  const Device device;
  VARIANT value{};
  ASSERT_EQ(device.Collection()->GetValue(W("DeviceID"), &value, 1), S_OK);
  ASSERT_EQ(value.vt, VT_BSTR);
  const WString id = WString(W(";")) + value.bstrVal;
  EXPECT_LT(id.size(), 1024u);
  for (const WCHAR* key : {W("MFG"), W("MDL"), W("CMD"), W("CLS"), W("DES"), W("SN"), W("CID")}) {
    EXPECT_NE(id.find(W(";") + WString(key) + W(":")), WString::npos);
  }
}

TEST_F(DefaultPrinter, IsReachedByNetworkPortsOnly) {
  const Device device;
  for (const auto& make : {device.from_queue, device.from_port, device.from_ip, device.from_host}) {
    ixo::PrinterAddress* const address = make(W("192.0.2.10"));
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(WString(address->GetAddressString()), W("192.0.2.10"));
    EXPECT_NE(address->IsActive(), 0);
  }
  for (const WCHAR* port : {W("LPT1:"), W("COM1:"), W("FILE:"), W("USB001"), W("nul:")}) {
    EXPECT_EQ(device.from_port(port), nullptr);
  }
}

TEST_F(DefaultPrinter, IsIdleAndWell) {
  const Device device;
  const auto read = [&](const WCHAR* oid) {
    VARIANT value{};
    EXPECT_EQ(device.create_oid_provider(device.Address())->GetValue(oid, &value), S_OK);
    return value;
  };
  EXPECT_EQ(read(W("1.3.6.1.2.1.25.3.5.1.1.1")).lVal, 3);
  EXPECT_EQ(read(W("1.3.6.1.2.1.25.3.2.1.5.1")).lVal, 2);
  const VARIANT error_state = read(W("1.3.6.1.2.1.25.3.5.1.2.1"));
  ASSERT_EQ(error_state.vt, VT_BSTR);
  EXPECT_EQ(WString(error_state.bstrVal), W("00"));
}

// A reader who looks for a name's first occurrence must come upon the name itself, not upon its tooltip's.
TEST_F(DefaultPrinter, NamesItsPrintQualitiesInBothLanguages) {
  const Device device;
  for (const WCHAR* language : {W("en"), W("de")}) {
    WCHAR* buffer = nullptr;
    ULONGLONG length = 0;
    ASSERT_EQ(device.get_locale_strings(device.Address(), language, &buffer, &length), 0);
    const WString text = buffer;
    device.dispose_string_buffer(buffer, length);
    for (const char* name :
         {"display-string.21", "display-string.21._tooltip", "optimal-resolution.21", "pq-mode.21",
          "display-string.22", "display-string.22._tooltip", "optimal-resolution.22", "pq-mode.22"}) {
      const WString key = W("vexmo-print-quality-supported.com.vexmo.") + Wide(name);
      const size_t at = text.find(key);
      ASSERT_NE(at, WString::npos) << name;
      EXPECT_EQ(text.substr(at + key.size(), 5), W("\" = \"")) << name;
      const size_t end = text.find(W("\";\r\n"), at);
      EXPECT_NE(end, WString::npos) << name;
      EXPECT_EQ(text.substr(at, end - at).find(W("\r\n")), WString::npos) << name;
    }
  }
}

}  // namespace
}  // namespace custom_bidi::simulated
