// What is read before a device is asked, or from what it has sent: port names, settings, data maps and
// strings files.

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "base/files.h"
#include "base/utf.h"
#include "ixo/network/ipp/strings_file.h"
#include "ixo/network/location.h"
#include "ixo/network/network_data_map.h"
#include "ixo/network/settings.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi::network {
namespace {

using Texts = std::vector<std::string>;
using TextPairs = std::vector<std::pair<std::string, std::string>>;

/// All of a location in one line; "none" for none.
std::string Shown(const std::optional<Location>& location) {
  if (!location) {
    return "none";
  }
  std::string text = location->ToText() + " at";
  for (const uint16_t port : location->ports) {
    text += ' ' + std::to_string(port);
  }
  return text + (location->ipp_tls ? ", ipps " : ", ipp ") + std::to_string(location->ipp_port) +
         location->ipp_path;
}

TEST(Location, FromPortName) {
  const TextPairs cases = {
      {"192.0.2.10", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"192.0.2.10:8631", "192.0.2.10:8631 at 8631, ipp 8631/ipp/print"},
      {"IP_192.0.2.10", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"IP_192.0.2.10_1", "192.0.2.10:631 at 631 9100, ipp 631/ipp/print"},
      {"IP_2001:db8::10", "[2001:db8::10]:631 at 631 9100, ipp 631/ipp/print"},
      {"fe80::1%eth0", "[fe80::1%eth0]:631 at 631 9100, ipp 631/ipp/print"},
      {"[::1]:8631", "[::1]:8631 at 8631, ipp 8631/ipp/print"},
      {"printer.example.org", "printer.example.org:631 at 631 9100, ipp 631/ipp/print"},
      {"ipp://printer/", "printer:631 at 631, ipp 631/"},
      {"IPP://192.0.2.10:8631/ipp/print?waitjob=false", "192.0.2.10:8631 at 8631, ipp 8631/ipp/print"},
      {"ipps://user@printer.local/ipp/p%20q", "printer.local:631 at 631, ipps 631/ipp/p%20q"},
      {"http://192.0.2.10/ipp", "192.0.2.10:80 at 80, ipp 80/ipp"},
      {"https://[2001:db8::1]:4430/ipp", "[2001:db8::1]:4430 at 4430, ipps 4430/ipp"},
      {"ipp://[fe80::1%25eth0]/ipp/print", "[fe80::1%eth0]:631 at 631, ipp 631/ipp/print"},
      {"socket://192.0.2.10", "192.0.2.10:9100 at 9100, ipp 631/ipp/print"},
      {"socket://192.0.2.10:9101", "192.0.2.10:9101 at 9101, ipp 631/ipp/print"},
      {"lpd://192.0.2.10/queue", "192.0.2.10:515 at 515, ipp 631/ipp/print"}};
  for (const auto& [name, shown] : cases) {
    EXPECT_EQ(Shown(LocationFromPortName(base::ToUtf16(name))), shown) << name;
  }
  // Not on a network, or nothing at all.
  std::istringstream others(
      "usb://Vexmo/VX%20400?serial=123|parallel:/dev/lp0|serial:/dev/ttyS0?baud=9600|file:///tmp/out|"
      "dnssd://VX400._ipp._tcp.local/|LPT1:|COM1:|FILE:|nul:|USB001|C:\\temp\\out.prn|IP_||192.0.2.256|"
      "192.0.2|192.0.2.10:0|192.0.2.10:65536|192.0.2.10:|192.0.2.10 |[::1|[192.0.2.10]x|ipp://|"
      "ipp:///ipp/print|ipp://host:99999/|ipp://[::g]/|ipp://ho st/|-o.example|printer\r\nX: "
      "y.example|" +
      std::string(300, 'a') +
      ".example|fe80::1%|fe80::1%a/b|fe80::1%a%b|fe80::1%0123456789abcdef|[fe80::1%a b]:631|"
      "ipp://[fe80::1%25eth0%0A]/");
  for (std::string name; std::getline(others, name, '|');) {
    EXPECT_EQ(Shown(LocationFromPortName(base::ToUtf16(name))), "none") << name;
  }
}

TEST(Location, ADevicesUriHoldsNothingThatBreaksALine) {
  EXPECT_EQ(ParseUri("http://[fe80::1%25br-lan.7]/").value().host, "fe80::1%br-lan.7");
  for (const char* uri : {"http://[fe80::1%25eth0\n]/", "http://[fe80::1%25\xC3\xA4]/", "http://[::1%25]/"}) {
    EXPECT_FALSE(ParseUri(uri)) << uri;
  }
}

TEST(Location, FromIpAddressAndHostName) {
  const struct {
    const char* names;
    bool is_address, is_host;
  } kCases[] = {{"192.0.2.10|192.0.2.10:8631|::1|[::1]:8631|[::1]", true, true},
                {"printer|printer:631|printer.example|IP_192.0.2.10", false, true},
                {"ipp://192.0.2.10/||a/b|1.2.3|::1:", false, false}};
  for (const auto& [names, is_address, is_host] : kCases) {
    std::istringstream stream(names);
    for (std::string name; std::getline(stream, name, '|');) {
      EXPECT_EQ(LocationFromIpAddress(base::ToUtf16(name)).has_value(), is_address) << name;
      EXPECT_EQ(LocationFromHostName(base::ToUtf16(name)).has_value(), is_host) << name;
    }
  }
}

TEST(Settings, EverythingIsTakenFromTheFile) {
  const Settings settings = ReadSettings(R"({
    "deadline_ms": 500, "max_answer_bytes": 65536, "follow_other_hosts": true,
    "snmp": {"version": "3", "port": 1161, "retries": 0, "user": "jdoe",
             "authentication": "SHA-256", "authentication_passphrase": "12345678",
             "privacy": "DES", "privacy_passphrase": "abcdefgh"},
    "tls": {"trust_anchors": ["ca.pem", "/etc/ca.pem"], "revocation_lists": ["lists/ca.crl"]}})",
                                         "/opt/host/");
  const SnmpSettings& snmp = settings.snmp;
  EXPECT_TRUE(settings.deadline == milliseconds(500) && settings.max_answer_bytes == 65536);
  EXPECT_TRUE(settings.follow_other_hosts);
  EXPECT_TRUE(snmp.version == SnmpSettings::Version::k3 && snmp.port == 1161 && snmp.retries == 0);
  EXPECT_EQ(snmp.user + ' ' + snmp.authentication + ' ' + snmp.authentication_passphrase + ' ' +
                snmp.privacy + ' ' + snmp.privacy_passphrase,
            "jdoe SHA-256 12345678 DES abcdefgh");
  EXPECT_EQ(settings.tls.trust_anchors, (Texts{"/opt/host/ca.pem", "/etc/ca.pem"}));
  EXPECT_EQ(settings.tls.revocation_lists, Texts{"/opt/host/lists/ca.crl"});
}

TEST(Settings, OnlyPassphrasesAndCommunitiesAreSecrets) {
  EXPECT_FALSE(HoldsSecret(ReadSettings(R"({"snmp": {"community": "public", "user": "jdoe"}})", "/")));
  EXPECT_TRUE(HoldsSecret(ReadSettings(R"({"snmp": {"community": "other"}})", "/")));
  EXPECT_TRUE(HoldsSecret(ReadSettings(R"({"snmp": {"privacy_passphrase": "12345678"}})", "/")));
}

TEST(Settings, WhatIsWrongIsSaidWithItsPlace) {
  const TextPairs cases = {
      {"", "parse error"},
      {"[]", "an object is expected"},
      {R"({"deadline": 5})", "unknown member \"deadline\""},
      {R"({"deadline_ms": 0})", "deadline_ms: an integer from 50"},
      {R"({"deadline_ms": "2000"})", "deadline_ms"},
      {R"({"follow_other_hosts": 1})", "follow_other_hosts: true or false"},
      {R"({"snmp": {"version": "2"}})", "snmp.version: one of these"},
      {R"({"snmp": {"version": "1 2c"}})", "snmp.version: one of these"},
      {R"({"snmp": {"port": 65536}})", "snmp.port"},
      {R"({"snmp": {"community": "a\u0000b"}})", "snmp.community: there is a NUL"},
      {R"({"snmp": {"version": "3"}})", "snmp: version 3 needs a user"},
      {R"({"snmp": {"version": "3", "user": "a", "authentication_passphrase": "short"}})", "8 bytes"},
      {R"({"snmp": {"authentication": "NONE"}})", "snmp.authentication"},
      {R"({"tls": {"trust_anchors": "ca.pem"}})", "tls.trust_anchors: a list"},
      {R"({"tls": {"trust_anchors": [""]}})", "tls.trust_anchors: a file's name is empty"}};
  for (const auto& [text, message] : cases) {
    try {
      ReadSettings(text, "/");
      ADD_FAILURE() << "taken: " << text;
    } catch (const std::exception& error) {
      EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << text << ": " << error.what();
    }
  }
}

TEST(StringsFile, EntriesComeOutAsTheyAreMeant) {
  const TextPairs cases = {
      {"", ""},
      {R"("a" = "b";)", "\"a\" = \"b\";\n"},
      {"\xEF\xBB\xBF\"a\"=\"b\";\r\n\"c\"\n=\n\"d\" ;", "\"a\" = \"b\";\n\"c\" = \"d\";\n"},
      {"/* \"x\" = \"y\"; */ \"a\" = \"b\"; // \"c\" = \"d\";\n\"e\" = \"\";",
       "\"a\" = \"b\";\n\"e\" = \"\";\n"},
      {R"("q" = "say \"hi\"\\";)", "\"q\" = \"say \\\"hi\\\"\\\\\";\n"},
      {R"("n" = "1\n2\t3";)", "\"n\" = \"1\\n2\t3\";\n"},
      {R"("u" = "caf\u00e9 \U00C9 \351";)", "\"u\" = \"caf\xC3\xA9 \xC3\x89 \xC3\xA9\";\n"},
      // Broken ones stand for themselves, and never take what follows with them.
      {R"("b" = "\q \u12 \uzzzz \";"; "c" = "d";)", "\"b\" = \"q u12 uzzzz \\\";\";\n\"c\" = \"d\";\n"},
      {R"("z" = "a\0b\u0000c";)", "\"z\" = \"a0bu0000c\";\n"},
      {"nonsense\n\"a\" \"b\";\n\"c\" = d;\n\"\" = \"e\";\n\"f\" = \"g\"\n\"h\" = \"i\";",
       "\"h\" = \"i\";\n"},
      {R"("a" = "b"; "open = "c)", "\"a\" = \"b\";\n"},
      {"\"a\" = \"b\\", ""},
      {"/* never closed \"a\" = \"b\";", ""},
      {"\"bytes\" = \"\xFF\xC3\";", "\"bytes\" = \"\xFF\xC3\";\n"}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(WriteStrings(ReadStrings(text)), expected) << text;
  }
  const StringPairs pairs = {{"a.b", "\\n \" ; = \n end\\"}, {"\xC3\xA9", "tab\there"}};
  EXPECT_EQ(ReadStrings(WriteStrings(pairs)), pairs);
}

TEST(DataMap, ItemsWithASourceAreKept) {
  const custom_bidi_test::TemporaryFolder folder;
  DataMap map;
  const auto read = [&](const std::filesystem::path& file) {
    return ReadDataMap(base::ToWindowsPath(file.string()).c_str(), map);
  };
  EXPECT_EQ(read(folder.WriteFile("map.xml", R"(<DataMap>
    <DataItem Name="Outside" ipp="printer-name"/>
    <IPPDataMap><Group><DataItem Name="Deep" ipp="printer-info"/></Group>
      <DataItem Name="Both" ipp="printer-uuid" oid="1.3.6.1.2.1.1.5.0"/>
      <DataItem Name="Both" ipp="printer-name"/><DataItem Name="NoSource"/><DataItem ipp="printer-name"/>
      <DataItem Name="BadAttribute" ipp="printer name&#10;"/><DataItem Name="BadOids" oid="1.3.6..1"/>
      <DataItem Name="BadOid" oid=".1.3"/><DataItem Name="HugeOid" oid="1.3.99999999999"/>
      <DataItem Name="Ä" oid="1.3"/>
    </IPPDataMap></DataMap>)")),
            DWORD{ERROR_SUCCESS});
  std::string shown;
  for (const auto& [name, source] : map) {
    shown += base::ToUtf8(name) + '=' + source.ipp + '|' + source.oid + ' ';
  }
  EXPECT_EQ(shown, "Both=printer-uuid|1.3.6.1.2.1.1.5.0 Deep=printer-info| Ä=|1.3 ");
  EXPECT_EQ(read(folder.WriteFile("broken.xml", "<DataMap><IPPDataMap>")), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(read(folder / "none.xml"), DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace custom_bidi::network
