// The SNMP client and the objects of one device, by a real agent and by servers that misbehave.

#include "ixo/network/snmp/snmp.h"

#include <sys/socket.h>

#include <atomic>

#include "ixo/network/snmp/device_oids.h"
#include "ixo/support/results.h"
#include "tests/network/network_test.h"

namespace custom_bidi::network {
namespace {

using namespace custom_bidi_test;
using namespace std::string_literals;
using Version = SnmpSettings::Version;

constexpr char kContact[] = "1.3.6.1.2.1.1.4.0";
constexpr char kMissing[] = "1.3.6.1.2.1.1.99.0";
const std::vector<std::string> kState = {SnmpAgent::kPrinterStatusOid, SnmpAgent::kDeviceStatusOid,
                                         SnmpAgent::kErrorStateOid};
const std::string kJoeLine = "createUser joe SHA \"joe-authenticates\" AES \"joe-encrypts\"\nrwuser joe priv";

SnmpSettings At(uint16_t port, Version version = Version::kAuto) {
  return {.version = version, .port = port};
}

SnmpSettings Joe(uint16_t port,
                 const char* passphrase = "joe-authenticates",
                 const char* privacy_passphrase = "joe-encrypts",
                 const char* user = "joe",
                 const char* authentication = "SHA",
                 const char* privacy = "AES") {
  return {Version::k3, port, 1, "", user, authentication, passphrase, privacy, privacy_passphrase};
}

/// "3", "#7" for the unsigned, "<AB>" for octets, other text as it is.
std::string Shown(const SnmpValue& value) {
  switch (value.kind) {
    case SnmpValue::Kind::kInteger:
      return std::to_string(value.integer);
    case SnmpValue::Kind::kUnsigned:
      return "#" + std::to_string(value.number);
    case SnmpValue::Kind::kOctets:
      return "<" + value.bytes + ">";
    default:
      return value.bytes;
  }
}

/// The values with blanks between them, "-" for what is missing, or "failed: code".
std::string Ask(const SnmpSettings& settings,
                const std::vector<std::string>& oids = kState,
                milliseconds deadline = kPatience,
                const std::string& host = "127.0.0.1") {
  std::vector<std::optional<SnmpValue>> values;
  const DWORD code =
      InTime([&] { return GetObjects(host, settings, oids, Deadline(deadline), values); }, deadline);
  if (code != ERROR_SUCCESS) {
    return Failed(code);
  }
  std::string text;
  for (const auto& value : values) {
    text += (text.empty() ? "" : " ") + (value ? Shown(*value) : "-");
  }
  return text;
}

TEST(Snmp, AsksForEverythingInOneDatagram) {
  const SnmpAgent agent({.error_state = "0x4050",
                         .lines = {"override 1.3.6.1.2.1.1.2.0 object_id 1.3.6.1.4.1.4294967295.1",
                                   "override 1.3.6.1.2.1.1.3.0 timeticks 4294967295",
                                   "override 1.3.6.1.2.1.1.7.0 integer -7", kJoeLine}});
  std::vector<std::string> oids = {"1.3.6.1.2.1.1.2.0", "1.3.6.1.2.1.1.3.0", "1.3.6.1.2.1.1.7.0",
                                   kState[0],           kState[1],           kState[2]};
  for (const Version version : {Version::kAuto, Version::k1, Version::k2c}) {
    const UdpPeer relay(UdpPeer::PassOn(agent.Port()));
    EXPECT_EQ(Ask(At(relay.Port(), version), oids), "1.3.6.1.4.1.4294967295.1 #4294967295 -7 3 2 <@P>");
    EXPECT_EQ(relay.Datagrams(), 1);
    // What the agent does not know is left out.
    EXPECT_EQ(Ask(At(agent.Port(), version), {kMissing, kState[0], kMissing, kState[1]}), "- 3 - 2");
    EXPECT_EQ(Ask(At(agent.Port(), version), {kMissing, kMissing}), "- -");
  }
  EXPECT_EQ(Ask(At(agent.Port()), kState, kPatience, "::1"), "3 2 <@P>");

  const UdpPeer relay(UdpPeer::PassOn(agent.Port()));
  oids.clear();
  std::string expected = "-";
  for (uint32_t i = 0; i < 150; ++i) {
    oids.push_back(i % 3 == 0 ? "1.3.6.1.4.1.4294967295.4294967295." + std::to_string(i) : kState[i % 3]);
    expected += i == 0 ? "" : i % 3 == 0 ? " -" : i % 3 == 1 ? " 2" : " <@P>";
  }
  EXPECT_EQ(Ask(At(relay.Port()), oids), expected) << "and more than one has room for";
  EXPECT_EQ(relay.Datagrams(), 3);

  std::atomic<int> good = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, settings = i % 2 == 0 ? At(agent.Port()) : Joe(agent.Port())] {
      for (int call = 0; call < 15; ++call) {
        good += Ask(settings) == "3 2 <@P>";
      }
    });
  }
  threads.clear();
  EXPECT_EQ(good, 8 * 15) << "by threads that do not disturb each other";
}

TEST(Snmp, TurnsToVersion1WhenVersion2cIsNotAnswered) {
  const SnmpAgent agent({.error_state = "0x4050", .answers_v2c = false});
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask(At(agent.Port()), kState, milliseconds(2000)), "3 2 <@P>");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(1000));
}

/// The agent drops what it cannot decrypt, and answers everything else that is wrong.
TEST(Snmp, Version3TakesTheRightUserOnly) {
  const SnmpAgent agent(
      {.lines = {kJoeLine, "createUser md5 MD5 \"md5-authenticates\" DES \"md5-encrypts\"", "rwuser md5 priv",
                 "createUser sha512 SHA-512 \"sha-authenticates\" AES \"sha-encrypts\"",
                 "rwuser sha512 priv"}});
  const uint16_t port = agent.Port();
  const std::pair<SnmpSettings, DWORD> cases[] = {
      {Joe(port), ERROR_SUCCESS},
      {Joe(port, "joe-authenticatez"), kBadAnswer},
      {Joe(port, "joe-authenticates", "joe-encryptz"), kTimeout},
      {Joe(port), ERROR_SUCCESS},
      {Joe(port, "joe-authenticates", "joe-encrypts", "jim"), kBadAnswer},
      {Joe(port, "md5-authenticates", "md5-encrypts", "md5", "MD5", "DES"), ERROR_SUCCESS},
      {Joe(port, "sha-authenticates", "sha-encrypts", "sha512", "SHA-512"), ERROR_SUCCESS},
      {Joe(port, "short"), kNotSupported}};
  for (const auto& [settings, code] : cases) {
    EXPECT_EQ(Ask(settings, {kState[0], kMissing}, code == kTimeout ? kDeadline : kPatience),
              code == ERROR_SUCCESS ? "3 -" : Failed(code))
        << settings.user << ' ' << settings.authentication_passphrase << ' ' << settings.privacy_passphrase;
  }
}

/// The agent refuses a request of the wrong time once, and tells the right one with its refusal.
TEST(Snmp, Version3FollowsTheAgentsTime) {
  const SnmpAgent agent({.error_state = "0x4050", .lines = {kJoeLine}});
  const UdpPeer relay(
      [pass_on = UdpPeer::PassOn(agent.Port()), first = true](const std::string& request) mutable {
        std::string answer = pass_on(request);
        if (std::exchange(first, false)) {
          // Behind the message's own number, and the engine's name of 17 bytes, stands how often it was started.
          const size_t starts_at = answer.find("\x04\x11\x80", 13) + 2 + 17 + 2;
          EXPECT_EQ(answer.at(starts_at), 1);
          answer.at(starts_at) = 0;
        }
        return answer;
      });
  EXPECT_EQ(Ask(Joe(relay.Port())), "3 2 <@P>");
  EXPECT_EQ(relay.Datagrams(), 3);
}

// Servers that misbehave.

/// A short request as the answer to itself; its values are null.
constexpr size_t kPduAt = 13;  // after the message's header, its version and "public"
constexpr size_t kIdAt = kPduAt + 4;

std::string Answer(std::string request, char error_status = 0, char pdu_type = '\xA2') {
  request[kPduAt] = pdu_type;
  const auto id_bytes = static_cast<BYTE>(request[kIdAt - 1]);
  request[kIdAt + id_bytes + 2] = error_status;
  request[kIdAt + id_bytes + 5] = error_status == 0 ? 0 : 1;
  return request;
}

std::string AnswerToAnother(std::string request) {
  ++request[kIdAt + 1];
  return Answer(request);
}

std::string AnswerAboutAnother(std::string request) {
  ++request[request.size() - 3];
  return Answer(request);
}

/// Answers to a request of some other time: about nothing, and with a value of a type that there is not.
const std::string kOld = "\x30\x18\x02\x01\x01\x04\x06public\xA2\x0B\x02\x01\x01\x02\x01\0\x02\x01\0\x30\0"s;
const std::string kMalformed =
    "\x30\x1F\x02\x01\x01\x04\x06public\xA2\x12\x02\x01\x01\x02\x01\0\x02\x01\0\x30\x07\x30\x05\x06\x01+\x99\0"s;

TEST(Snmp, MisbehaviourEndsInTime) {
  using Request = const std::string&;
  struct Case {
    const char* name;
    UdpPeer::Handler answer;
    DWORD code;
    bool ends_at_once = true;  // else at the deadline
  };
  const std::vector<Case> cases = {
      {"silence", [](Request) { return ""s; }, kTimeout, false},
      {"malformed", [](Request) { return kMalformed; }, kBadAnswer, false},
      {"answer to another", AnswerToAnother, kBadAnswer, false},
      {"request", [](Request request) { return request; }, kBadAnswer, false},
      {"answer about another", AnswerAboutAnother, kBadAnswer},
      {"report", [](Request request) { return Answer(request, 0, '\xA8'); }, kBadAnswer},
      {"error", [](Request request) { return Answer(request, 5); }, kBadAnswer},
      {"too big", [](Request request) { return Answer(request, 1); }, kBadAnswer},
      {"too big at once", [](Request request) { return Answer(request, request.size() > 60); },
       ERROR_SUCCESS},
      {"nothing known", [](Request request) { return Answer(request, 2); }, ERROR_SUCCESS},
      {"nulls", [](Request request) { return Answer(request); }, ERROR_SUCCESS}};
  AtOnce(cases, [](const Case& c) {
    const UdpPeer peer(c.answer);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask(At(peer.Port()), kState, c.ends_at_once ? kPatience : 2 * kDeadline),
              c.code == ERROR_SUCCESS ? "- - -" : Failed(c.code));
    const auto time = std::chrono::steady_clock::now() - begin;
    if (c.ends_at_once) {
      EXPECT_LT(time, kPatience / 2);
    } else {
      EXPECT_GE(time, 2 * kDeadline - milliseconds(1));
      EXPECT_EQ(peer.Datagrams(), 4);  // two of each version
    }
  });
}

/// And nothing is said of it on stderr.
TEST(Snmp, FloodsEndInTime) {
  testing::internal::CaptureStderr();
  for (const std::string& bytes : {kMalformed, kOld}) {
    for (const Version version : {Version::kAuto, Version::k3}) {
      const UdpPeer peer([&](const std::string&) { return bytes; }, 100'000'000);
      SnmpSettings settings = Joe(peer.Port());
      settings.version = version;
      EXPECT_EQ(Ask(settings, kState, kDeadline), Failed(kBadAnswer));
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Snmp, SaysWhyThereIsNoAnswer) {
  const SnmpAgent agent({.community = "secret"});
  EXPECT_EQ(Ask(At(agent.Port()), kState, kDeadline), Failed(kTimeout));
  const uint16_t closed = ClosedPort(SOCK_DGRAM).Port();
  EXPECT_EQ(InTime([&] { return Ask(At(closed)); }, milliseconds(0)), Failed(kConnectionRefused));
  for (const char* oid :
       {"", "1", "1.", ".1.3", "1.3.x", "1.3 ", "3.1", "1.40", "1.3.4294967296", "1.3.-1"}) {
    EXPECT_EQ(Ask(At(closed), {oid}), Failed(ERROR_INVALID_PARAMETER)) << oid;
  }
}

// Whole calls ask for the state's objects and for items, and for no others.
TEST(DeviceOids, OthersAreReadAnew) {
  const SnmpAgent agent({.lines = {"override -rw "s + kContact + " octet_str one"}});
  TestAddress address("127.0.0.1");
  const Settings settings{.deadline = kPatience, .snmp = At(agent.Port())};
  DeviceOids oids(address, settings);
  NetworkOidProvider provider(oids);
  const WString contact = base::ToUtf16(kContact);
  VARIANT before{};
  VARIANT after{};
  EXPECT_EQ(provider.GetValue(contact.c_str(), &before), S_OK);
  agent.Set(kContact, "s", "two");
  EXPECT_EQ(provider.GetValue(contact.c_str(), &after), S_OK);
  EXPECT_EQ(base::ToUtf8(after.bstrVal), "74776F");
  EXPECT_EQ(base::ToUtf8(before.bstrVal), "6F6E65") << "what was handed out stays";
  EXPECT_EQ(provider.GetValue(base::ToUtf16(kMissing).c_str(), &after), support::kElementNotFound);
  EXPECT_EQ(provider.GetValue(W("1.3.x"), &after), E_FAIL);
  EXPECT_EQ(provider.GetValue(nullptr, &after), E_INVALIDARG);
  EXPECT_EQ(provider.GetValue(W("1.3"), nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace custom_bidi::network
