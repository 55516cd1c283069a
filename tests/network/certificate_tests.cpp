// Certificates of real printers, and of servers that have none to show.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "ixo/network/network_certificate_provider.h"
#include "pal/text.h"
#include "tests/peers/ipp_printer.h"
#include "tests/peers/peer_files.h"
#include "tests/peers/tcp_peer.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi::network {
namespace {

using custom_bidi_test::ClosedPort;
using custom_bidi_test::IppPrinter;
using custom_bidi_test::PrinterAuthority;
using custom_bidi_test::PrinterKeys;
using custom_bidi_test::PrinterRevocations;
using custom_bidi_test::TcpHandler;
using custom_bidi_test::TcpPeer;

constexpr milliseconds kDeadline{600};
/// What a sanitized build on a busy machine may take on top.
constexpr milliseconds kSlack{300};

class TestAddress final : public DeviceAddress {
 public:
  explicit TestAddress(const std::string& port_name)
      : DeviceAddress(*LocationFromPortName(pal::ToUtf16(port_name)), 1) {}
  explicit TestAddress(uint16_t port) : TestAddress("ipp://127.0.0.1:" + std::to_string(port)) {}
  LONG IsActive() override { return 0; }
  const WCHAR* GetAddressString() override { return W(""); }
};

DWORD Ask(NetworkCertificateProvider& provider, BYTE* bytes, DWORD& length) {
  const WCHAR* const names[2] = {W("RSA"), nullptr};
  const ixo::KeyTypeList key_types{names, 1, 0};
  const WORD eight = 8;
  DWORD unread = 0;
  return provider.GetDeviceCertificate(&key_types, bytes, &length, &eight, 10, &unread);
}

/// The codes, or "failed: code".
std::string Warnings(NetworkCertificateProvider& provider) {
  DWORD codes[10] = {};
  DWORD count = 99;
  if (FAILED(provider.GetCertificateAllSecurityWarnings(codes, 10, &count))) {
    return "failed: " + std::to_string(provider.GetLastErrorCode());
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
    return "failed: " + std::to_string(provider.GetLastErrorCode());
  }
  EXPECT_EQ(WString(uuid).size(), length);
  return pal::ToUtf8(uuid);
}

TEST(Certificate, ProblemsAreWarnings) {
  const std::string authority = PrinterAuthority();
  const std::string revocations = PrinterRevocations();
  const std::string own = PrinterKeys("selfsigned") / "localhost.crt";
  struct Case {
    const char* keys;
    std::vector<std::string> anchors;
    std::vector<std::string> lists;
    const char* warnings;
    const char* host = "localhost";
  };
  const std::vector<Case> cases = {
      {"good", {authority}, {}, ""},
      {"good", {authority}, {}, "", "127.0.0.1"},
      {"good", {authority}, {}, "", "[::1]"},
      {"good", {authority}, {revocations}, ""},
      {"good", {}, {}, "12045"},
      {"good", {}, {revocations}, "12045"},
      {"selfsigned", {}, {}, "12045"},
      {"selfsigned", {own}, {}, ""},
      {"selfsigned", {own}, {revocations}, ""},
      {"expired", {authority}, {}, "12037"},
      {"expired", {}, {}, "12037 12045"},
      {"othername", {authority}, {}, "12038"},
      {"othername", {authority}, {}, "12038", "127.0.0.1"},
      {"weak", {authority}, {}, "1048576"},
      {"wrongusage", {authority}, {}, "16"},
      {"revoked", {authority}, {}, ""},
      {"revoked", {authority}, {revocations}, "4"},
      {"badsignature", {authority}, {}, "8"},
  };
  std::string running;
  std::unique_ptr<IppPrinter> printer;
  for (const Case& row : cases) {
    SCOPED_TRACE(row.keys + (": " + std::string(row.warnings)));
    if (running != row.keys) {
      printer =
          std::make_unique<IppPrinter>(custom_bidi_test::IppPrinterOptions{.keys = PrinterKeys(row.keys)});
      running = row.keys;
    }
    TestAddress address(printer->Uri("ipp", row.host));
    Settings settings;
    settings.tls = {.trust_anchors = row.anchors, .revocation_lists = row.lists};
    NetworkCertificateProvider provider(address, settings);
    EXPECT_EQ(Warnings(provider), row.warnings);
  }
}

TEST(Certificate, IsHandedOutWithItsDates) {
  for (const auto& [keys, holds] : {std::pair("good", 1), std::pair("expired", 0)}) {
    const IppPrinter printer({.keys = PrinterKeys(keys)});
    TestAddress address(printer.Uri("ipps"));
    const Settings settings;
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
    EXPECT_EQ(valid, holds);
    EXPECT_EQ(Warnings(without_device), "failed: 1168");
    EXPECT_EQ(Uuid(without_device), "failed: 1168");
    EXPECT_EQ(Ask(without_device, nullptr, length), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(length, 0u);
  }
}

TEST(Certificate, UuidIsThePrintersOwn) {
  const custom_bidi_test::TemporaryFolder folder;
  const std::string uuid = "12345678-9abc-4DEF-8000-00deadbeef01";
  struct Case {
    std::string uri;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"urn:uuid:" + uuid, uuid},
      {"URN:Uuid:" + uuid, uuid},
      {"urn:uuid:" + uuid + "0", "failed: 1168"},
      {"urn:uuid:12345678-9abc-4DEF-8000-00deadbeef0g", "failed: 1168"},
      {"http://printer.example/", "failed: 1168"},
  };
  for (const Case& row : cases) {
    const IppPrinter printer(
        {.attributes = folder.WriteFile("uuid.attributes", "ATTR uri printer-uuid \"" + row.uri + "\"\n")});
    TestAddress address(printer.Uri("ipp"));
    const Settings settings;
    NetworkCertificateProvider provider(address, settings);
    EXPECT_EQ(Uuid(provider), row.expected) << row.uri;
    EXPECT_EQ(Uuid(provider), row.expected) << row.uri;
    EXPECT_EQ(printer.AttributeRequests(), 1);
  }
}

TEST(Certificate, UnreadableFilesOfTheSettingsAreFailures) {
  const custom_bidi_test::TemporaryFolder folder;
  const std::string empty = folder.WriteFile("empty.crt", "nothing\n");
  const ClosedPort port;
  TestAddress address(port.Port());
  const auto answer = [&](const TlsSettings& tls) {
    Settings settings;
    settings.tls = tls;
    NetworkCertificateProvider provider(address, settings);
    return Warnings(provider);
  };
  EXPECT_EQ(answer({.trust_anchors = {"/none.crt"}, .revocation_lists = {}}), "failed: 2");
  EXPECT_EQ(answer({.trust_anchors = {empty}, .revocation_lists = {}}), "failed: 13");
  // Certificates where revocation lists should be.
  EXPECT_EQ(answer({.trust_anchors = {}, .revocation_lists = {PrinterAuthority()}}), "failed: 13");
}

/// A handler for each port: that of IPP and the other; none is a port that refuses.
struct Silence {
  const char* name;
  TcpHandler first;
  TcpHandler second;
  DWORD code;
  milliseconds time;  // at most
  const char* scheme = "ipp";
};

std::string PortName(const char* scheme, uint16_t port) {
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port);
}

TEST(Certificate, DevicesWithoutOneCostAtMostTheDeadline) {
  using custom_bidi_test::Answer;
  using custom_bidi_test::CloseAtOnce;
  using custom_bidi_test::Drip;
  using custom_bidi_test::StaySilent;
  const std::string http = "HTTP/1.1 400 Bad Request\r\n\r\n";
  // The head of a TLS record that never comes.
  const std::string record("\x16\x03\x03\x3f\xff" + std::string(1000, 'x'));
  const std::vector<Silence> cases = {
      {"both refuse", nullptr, nullptr, kConnectionRefused, milliseconds(0)},
      {"both silent", StaySilent(), StaySilent(), kTimeout, kDeadline},
      {"silent, then refused", StaySilent(), nullptr, kTimeout, kDeadline / 2},
      {"silent where TLS is spoken", StaySilent(), nullptr, kTimeout, kDeadline, "ipps"},
      {"refused, then silent", nullptr, StaySilent(), kTimeout, kDeadline},
      {"closes", CloseAtOnce(), nullptr, kConnectionAborted, milliseconds(0)},
      {"speaks HTTP", Answer(http), nullptr, kBadAnswer, milliseconds(0)},
      {"drips", Drip(record, milliseconds(20)), nullptr, kTimeout, kDeadline, "ipps"},
  };
  for (const Silence& row : cases) {
    SCOPED_TRACE(row.name);
    const ClosedPort closed;
    const auto first = row.first ? std::make_unique<TcpPeer>(row.first) : nullptr;
    const auto second = row.second ? std::make_unique<TcpPeer>(row.second) : nullptr;
    TestAddress address(PortName(row.scheme, first ? first->Port() : closed.Port()));
    Settings settings;
    settings.deadline = kDeadline;
    PresentedCertificate presented;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ProbeCertificate(address, settings, presented, second ? second->Port() : closed.Port()),
              row.code);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took, row.time + kSlack);
    const auto took_us = std::chrono::duration_cast<std::chrono::microseconds>(took).count();
    RecordProperty(row.name, std::to_string(took_us) + " us");
  }
}

TEST(Certificate, ComesFromTheOtherPortWhenTheFirstSpeaksNoTls) {
  const IppPrinter printer({.keys = PrinterKeys("good")});
  const std::vector<std::pair<const char*, TcpHandler>> cases = {
      {"silent", custom_bidi_test::StaySilent()},
      {"closes", custom_bidi_test::CloseAtOnce()},
      {"HTTP", custom_bidi_test::Answer("HTTP/1.1 400 Bad Request\r\n\r\n")},
  };
  for (const auto& [name, handler] : cases) {
    const TcpPeer first(handler);
    TestAddress address(first.Port());
    Settings settings;
    settings.deadline = 2 * kDeadline;
    PresentedCertificate presented;
    EXPECT_EQ(ProbeCertificate(address, settings, presented, printer.Port()), DWORD{ERROR_SUCCESS}) << name;
    EXPECT_FALSE(presented.der.empty()) << name;
    EXPECT_TRUE(address.TheStanding().MayTry(Protocol::kIpp)) << name;
  }
}

TEST(Certificate, FailureIsMetWithOnce) {
  const std::vector<std::pair<TcpHandler, DWORD>> cases = {
      {custom_bidi_test::StaySilent(), kTimeout},
      {custom_bidi_test::CloseAtOnce(), kConnectionAborted},
  };
  for (const auto& [handler, code] : cases) {
    const TcpPeer peer(handler);
    TestAddress address(peer.Port());
    Settings settings;
    settings.deadline = kDeadline;
    NetworkCertificateProvider provider(address, settings);
    EXPECT_EQ(Warnings(provider), "failed: " + std::to_string(code));
    DWORD length = 99;
    EXPECT_EQ(Ask(provider, nullptr, length), code);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(peer.Connections(), 1);
  }
}

}  // namespace
}  // namespace custom_bidi::network
