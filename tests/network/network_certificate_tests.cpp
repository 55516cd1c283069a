// Certificates of real printers, and of servers that have none to show.

#include "ixo/network/certificate/network_certificate_provider.h"
#include "tests/network/network_test.h"

namespace custom_bidi::network {
namespace {

using namespace custom_bidi_test;

DWORD Ask(NetworkCertificateProvider& provider, BYTE* bytes, DWORD& length) {
  const WCHAR* const names[2] = {W("RSA"), nullptr};
  const deviceio::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  return provider.GetDeviceCertificate(&key_types, bytes, &length, &eight, 10, &unread);
}

/// The codes, or "failed: code".
std::string Warnings(NetworkCertificateProvider& provider) {
  DWORD codes[10] = {};
  DWORD count = 99;
  if (FAILED(provider.GetCertificateAllSecurityWarnings(codes, 10, &count))) {
    return Failed(provider.GetLastErrorCode());
  }
  std::string text;
  for (DWORD i = 0; i < count; ++i) {
    text += (text.empty() ? "" : " ") + std::to_string(codes[i]);
  }
  return text;
}

/// The UUID, or "failed: code".
std::string Uuid(NetworkCertificateProvider& provider) {
  WCHAR uuid[256];
  DWORD length = 99;
  if (FAILED(provider.GetDeviceUUID(uuid, 256, &length))) {
    EXPECT_EQ(length, 0u);
    return Failed(provider.GetLastErrorCode());
  }
  EXPECT_EQ(WString(uuid).size(), length);
  return base::ToUtf8(uuid);
}

TEST(Certificate, ProblemsAreWarnings) {
  using Files = std::vector<std::string>;
  const Files authority = {PrinterKeys("ca.crt")};
  const Files revocations = {PrinterKeys("crl.pem")};
  const Files own = {PrinterKeys("selfsigned") / "localhost.crt"};
  struct Case {
    Files anchors, lists;
    const char* warnings;
    const char* host = "localhost";
  };
  struct Printer {
    const char* name;
    std::vector<Case> cases;
  };
  const std::vector<Printer> printers = {
      {"good",
       {{authority, {}, ""},
        {authority, {}, "", "127.0.0.1"},
        {authority, {}, "", "[::1]"},
        {authority, revocations, ""},
        {{}, {}, "12045"},
        {{}, revocations, "12045"},
        {{"/none.crt"}, {}, "failed: 2"},
        {{PeerFile("good.strings")}, {}, "failed: 13"},
        {{}, authority, "failed: 13"}}},
      {"selfsigned", {{{}, {}, "12045"}, {own, {}, ""}, {own, revocations, ""}}},
      {"expired", {{authority, {}, "12037"}, {{}, {}, "12037 12045"}}},
      {"othername", {{authority, {}, "12038"}, {authority, {}, "12038", "127.0.0.1"}}},
      {"weak", {{authority, {}, "1048576"}}},
      {"wrongusage", {{authority, {}, "16"}}},
      {"revoked", {{authority, {}, ""}, {authority, revocations, "4"}}},
      {"badsignature", {{authority, {}, "8"}}}};
  AtOnce(printers, [](const Printer& row) {
    const IppPrinter printer({.keys = PrinterKeys(row.name)});
    for (const Case& c : row.cases) {
      TestAddress address(printer.Uri("ipp", c.host));
      const Settings settings{.deadline = kPatience, .tls = {c.anchors, c.lists}};
      NetworkCertificateProvider provider(address, settings);
      EXPECT_EQ(Warnings(provider), c.warnings) << c.host;
    }
  });
}

TEST(Certificate, IsHandedOutWithItsDates) {
  const IppPrinter printer({.keys = PrinterKeys("expired")});
  TestAddress address(printer.Uri("ipps"));
  const Settings settings{.deadline = kPatience};
  NetworkCertificateProvider provider(address, settings);
  DWORD length = 0;
  ASSERT_EQ(Ask(provider, nullptr, length), DWORD{ERROR_SUCCESS});
  std::vector<BYTE> der(length);
  DWORD too_short = length - 1;
  EXPECT_EQ(Ask(provider, der.data(), too_short), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(too_short, length);
  EXPECT_EQ(Ask(provider, der.data(), length), DWORD{ERROR_SUCCESS});

  NetworkCertificateProvider without_device;
  LONG valid = 99;
  EXPECT_EQ(without_device.CheckCertificateDate(der.data(), length, &valid), S_OK);
  EXPECT_EQ(valid, 0);
  EXPECT_EQ(Warnings(without_device), "failed: 1168");
  EXPECT_EQ(Uuid(without_device), "failed: 1168");
  EXPECT_EQ(Ask(without_device, nullptr, length), DWORD{ERROR_NOT_FOUND});
  EXPECT_EQ(length, 0u);
}

TEST(Certificate, UuidIsThePrintersOwn) {
  const std::string uuid = "12345678-9abc-4DEF-8000-00deadbeef01";
  struct Case {
    std::string name, expected;
  };
  const std::vector<Case> cases = {{"urn:uuid:" + uuid, uuid},
                                   {"URN:Uuid:" + uuid, uuid},
                                   {"urn:uuid:" + uuid + "0", "failed: 1168"},
                                   {"urn:uuid:12345678-9abc-4DEF-8000-00deadbeef0g", "failed: 1168"},
                                   {"http://printer.example/", "failed: 1168"}};
  AtOnce(cases, [](const Case& row) {
    const TemporaryFolder folder;
    const IppPrinter printer(
        {.attributes = folder.WriteFile("uuid.attributes", "ATTR uri printer-uuid \"" + row.name + "\"\n")});
    TestAddress address(printer.Uri("ipp"));
    const Settings settings{.deadline = kPatience};
    NetworkCertificateProvider provider(address, settings);
    EXPECT_EQ(Uuid(provider), row.expected);
    EXPECT_EQ(Uuid(provider), row.expected);
    EXPECT_EQ(printer.AttributeRequests(), 1);
  });
}

TEST(Certificate, DevicesWithoutOneCostAtMostTheDeadline) {
  /// A handler for each port: that of IPP and the other; none is a port that refuses.
  struct Device {
    const char* name;
    TcpHandler first, second;
    DWORD code;
    const char* scheme = "ipp";
  };
  // The head of a TLS record that never comes.
  const std::string record("\x16\x03\x03\x3f\xff" + std::string(1000, 'x'));
  const std::vector<Device> devices = {
      {"both refuse", nullptr, nullptr, kConnectionRefused},
      {"both silent", StaySilent(), StaySilent(), kTimeout},
      {"silent, then refused", StaySilent(), nullptr, kTimeout},
      {"silent where TLS is spoken", StaySilent(), nullptr, kTimeout, "ipps"},
      {"refused, then silent", nullptr, StaySilent(), kTimeout},
      {"closes", CloseAtOnce(), nullptr, kConnectionAborted},
      {"speaks HTTP", Reply("HTTP/1.1 400 Bad Request\r\n\r\n"), nullptr, kBadAnswer},
      {"drips", Drip(record, milliseconds(20)), nullptr, kStopped, "ipps"}};
  AtOnce(devices, [](const Device& row) {
    const ClosedPort closed;
    const TcpPeer first(row.first);
    const TcpPeer second(row.second);
    const std::string port_name = Local(row.first ? first.Port() : closed.Port(), row.scheme);
    TestAddress address(port_name);
    const Settings settings{.deadline = kDeadline};
    PresentedCertificate presented;
    const auto probe = [&] {
      return ProbeCertificate(address, settings, presented, row.second ? second.Port() : closed.Port());
    };
    EXPECT_EQ(InTime(probe), row.code);
    // A failure is met with once.
    TestAddress another(port_name);
    NetworkCertificateProvider provider(another, settings);
    const std::string warnings = InTime([&] { return Warnings(provider); });
    const int connections = first.Connections();
    DWORD length = 99;
    EXPECT_EQ(Failed(Ask(provider, nullptr, length)), warnings);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(first.Connections(), connections);
  });
}

TEST(Certificate, ComesFromTheOtherPortWhenTheFirstSpeaksNoTls) {
  const IppPrinter printer;
  for (const TcpHandler& handler :
       {StaySilent(), CloseAtOnce(), Stall("\x16\x03\x03"), Reply("HTTP/1.1 400 Bad Request\r\n\r\n")}) {
    const TcpPeer first(handler);
    TestAddress address(Local(first.Port()));
    const Settings settings{.deadline = milliseconds(3000)};
    PresentedCertificate presented;
    EXPECT_EQ(ProbeCertificate(address, settings, presented, printer.Port()), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(presented.der.empty());
    EXPECT_TRUE(address.TheStanding().MayTry(Protocol::kIpp));
  }
}

}  // namespace
}  // namespace custom_bidi::network
