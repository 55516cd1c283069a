// The SNMP objects of one device, as the data-map library hands them out.

#include "ixo/network/device_oids.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "ixo/network/oid_provider.h"
#include "ixo/support/results.h"
#include "pal/text.h"
#include "tests/peers/snmp_agent.h"
#include "tests/peers/udp_peer.h"

namespace custom_bidi::network {
namespace {

using custom_bidi_test::SnmpAgent;
using custom_bidi_test::SnmpAgentOptions;
using custom_bidi_test::UdpPeer;
using custom_bidi_test::UdpRelay;

constexpr char kPrinterStatus[] = "1.3.6.1.2.1.25.3.5.1.1.1";
constexpr char kDeviceStatus[] = "1.3.6.1.2.1.25.3.2.1.5.1";
constexpr char kErrorState[] = "1.3.6.1.2.1.25.3.5.1.2.1";
constexpr char kContact[] = "1.3.6.1.2.1.1.4.0";
constexpr char kMissing[] = "1.3.6.1.2.1.1.99.0";

class TestAddress final : public DeviceAddress {
 public:
  TestAddress() : DeviceAddress({.host = "127.0.0.1"}, 1) {}
  LONG IsActive() override { return 0; }
  const WCHAR* GetAddressString() override { return W(""); }
};

/// A device that was not asked yet.
struct Device {
  explicit Device(uint16_t port, milliseconds deadline = milliseconds(10000)) {
    settings.deadline = deadline;
    settings.snmp.port = port;
  }

  /// As the data-map library's caller does.
  HRESULT Read(const std::string& oid) {
    variant = {};
    return NetworkOidProvider(oids).GetValue(pal::ToUtf16(oid).c_str(), &variant);
  }

  TestAddress address;
  Settings settings;
  DeviceOids oids{address, settings};
  VARIANT variant{};
};

TEST(DeviceOids, StateIsOfOneMomentAndOtherObjectsAreNot) {
  const SnmpAgent agent({.error_state = "0x40af", .lines = {"override -rw 1.3.6.1.2.1.1.4.0 octet_str one"}});
  const UdpRelay relay(agent.Port());
  Device device(relay.Port());
  ASSERT_EQ(device.Read(kDeviceStatus), S_OK);
  EXPECT_EQ(device.variant.vt, VT_I4);
  EXPECT_EQ(device.variant.lVal, 2);
  agent.Set(kPrinterStatus, "i", "5");
  ASSERT_EQ(device.Read(kPrinterStatus), S_OK);
  EXPECT_EQ(device.variant.lVal, 3);
  ASSERT_EQ(device.Read(kErrorState), S_OK);
  EXPECT_EQ(device.variant.vt, VT_BSTR);
  EXPECT_EQ(WString(device.variant.bstrVal), W("40AF"));
  EXPECT_EQ(relay.DatagramsToTarget(), 1);

  ASSERT_EQ(device.Read(kContact), S_OK);
  const BSTR before = device.variant.bstrVal;
  agent.Set(kContact, "s", "two");
  ASSERT_EQ(device.Read(kContact), S_OK);
  EXPECT_EQ(WString(device.variant.bstrVal), W("74776F"));
  EXPECT_EQ(WString(before), W("6F6E65"));
  EXPECT_EQ(device.Read(kMissing), device::kElementNotFound);
  EXPECT_EQ(device.Read("1.3.x"), E_FAIL);
  EXPECT_EQ(device.variant.vt, VT_EMPTY);
  EXPECT_EQ(NetworkOidProvider(device.oids).GetValue(nullptr, &device.variant), E_INVALIDARG);
  EXPECT_EQ(NetworkOidProvider(device.oids).GetValue(W("1.3"), nullptr), E_INVALIDARG);
}

TEST(DeviceOids, PrinterMayLackSomeOfItsStateButNotAll) {
  const struct {
    SnmpAgentOptions options;
    HRESULT printer_status, device_status, error_state;
  } kCases[] = {{{.printer_status = std::nullopt}, device::kElementNotFound, S_OK, S_OK},
                // Nobody may take a text's address for a state.
                {{.printer_status = std::nullopt,
                  .lines = {std::string("override ") + kPrinterStatus + " octet_str idle"}},
                 device::kElementNotFound,
                 S_OK,
                 S_OK},
                {{.device_status = std::nullopt, .printer_status = std::nullopt, .error_state = std::nullopt},
                 E_FAIL,
                 E_FAIL,
                 E_FAIL}};
  for (const auto& c : kCases) {
    const SnmpAgent agent(c.options);
    Device device(agent.Port());
    EXPECT_EQ(device.Read(kPrinterStatus), c.printer_status);
    EXPECT_EQ(device.Read(kDeviceStatus), c.device_status);
    EXPECT_EQ(device.Read(kErrorState), c.error_state);
  }
}

TEST(DeviceOids, SilenceCostsOneDeadline) {
  constexpr milliseconds kDeadline{400};
  /// What a sanitized build on a busy machine may take on top.
  constexpr milliseconds kSlack{300};
  const UdpPeer peer(UdpPeer::StaySilent());
  Device device(peer.Port(), kDeadline);
  device.oids.Describe({kContact});
  const auto begin = std::chrono::steady_clock::now();
  for (const char* oid : {kPrinterStatus, kDeviceStatus, kErrorState, kContact}) {
    EXPECT_EQ(device.Read(oid), E_FAIL);
  }
  EXPECT_EQ(device.oids.FindItem(kContact), nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kDeadline + kSlack);
}

TEST(DeviceOids, ItemsAreTextWhereTheyCan) {
  const std::vector<std::array<std::string, 2>> cases = {
      {"\"VX 400\"", "VX 400"}, {"0x565800", "VX"},     {"0x5658202000", "VX"}, {"\"\"", ""},
      {"0x2020", ""},           {"0x0000", "0000"},     {"0x56C3A4", "Vä"},     {"0xF09F96A8", "🖨"},
      {"0x56E4", "56E4"},       {"0x5601", "5601"},     {"0x567F", "567F"},     {"0xC285", "C285"},
      {"0x560D0A58", "V\r\nX"}, {"0x560058", "560058"}, {"0xEFBFBD", "\uFFFD"}};
  SnmpAgentOptions options;
  std::vector<std::string> oids = {kMissing, kPrinterStatus};
  for (size_t i = 0; i < cases.size(); ++i) {
    oids.push_back("1.3.6.1.4.1.99999.1." + std::to_string(i));
    options.lines.push_back("override " + oids.back() + " octet_str " + cases[i][0]);
  }
  const SnmpAgent agent(options);
  const UdpRelay relay(agent.Port());
  Device device(relay.Port());
  device.oids.Describe(oids);
  for (size_t i = 0; i < cases.size(); ++i) {
    const device::Value* const found = device.oids.FindItem(oids[i + 2]);
    ASSERT_NE(found, nullptr) << cases[i][0];
    found->CopyTo(&device.variant);
    EXPECT_EQ(device.variant.vt, VT_BSTR);
    EXPECT_EQ(pal::ToUtf8(device.variant.bstrVal), cases[i][1]) << cases[i][0];
  }
  EXPECT_EQ(device.oids.FindItem(kMissing), nullptr);
  EXPECT_EQ(device.oids.FindItem(kContact), nullptr);
  device.oids.FindItem(kPrinterStatus)->CopyTo(&device.variant);
  EXPECT_EQ(device.variant.vt, VT_I4);
  EXPECT_EQ(relay.DatagramsToTarget(), 1);
}

}  // namespace
}  // namespace custom_bidi::network
