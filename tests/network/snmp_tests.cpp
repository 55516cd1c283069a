// The SNMP client against a real agent, and against servers that misbehave.

#include "ixo/network/snmp.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <iomanip>
#include <sstream>
#include <thread>
#include <utility>

#include "tests/peers/loopback.h"
#include "tests/peers/snmp_agent.h"
#include "tests/peers/udp_peer.h"

namespace custom_bidi::network {
namespace {

using custom_bidi_test::SnmpAgent;
using custom_bidi_test::UdpPeer;
using custom_bidi_test::UdpRelay;
using Version = SnmpSettings::Version;
using namespace std::string_literals;

constexpr milliseconds kDeadline{600};
/// What a sanitized build on a busy machine may take on top.
constexpr milliseconds kSlack{300};
/// For agents that do answer.
constexpr milliseconds kPatience{10000};

constexpr char kMissing[] = "1.3.6.1.2.1.1.99.0";
const std::vector<std::string> kState = {SnmpAgent::kPrinterStatusOid, SnmpAgent::kDeviceStatusOid,
                                         SnmpAgent::kErrorStateOid};

SnmpSettings At(uint16_t port, Version version = Version::kAuto) {
  SnmpSettings settings;
  settings.version = version;
  settings.port = port;
  return settings;
}

SnmpSettings Joe(uint16_t port) {
  SnmpSettings settings = At(port, Version::k3);
  settings.user = "joe";
  settings.authentication_passphrase = "joe-authenticates";
  settings.privacy_passphrase = "joe-encrypts";
  return settings;
}

/// "3", "#7" for the unsigned, "<4080>" for octets, other text as it is, "-" for what is missing.
std::string Shown(const std::optional<SnmpValue>& value) {
  if (!value) {
    return "-";
  }
  switch (value->kind) {
    case SnmpValue::Kind::kInteger:
      return std::to_string(value->integer);
    case SnmpValue::Kind::kUnsigned:
      return "#" + std::to_string(value->number);
    case SnmpValue::Kind::kText:
      return value->bytes;
    default:
      break;
  }
  std::ostringstream digits;
  for (const char c : value->bytes) {
    digits << std::hex << std::setw(2) << std::setfill('0') << int{static_cast<BYTE>(c)};
  }
  return "<" + digits.str() + ">";
}

struct Outcome {
  DWORD code;
  milliseconds time;
  std::string values;
};

Outcome Ask(const SnmpSettings& settings,
            const std::vector<std::string>& oids = kState,
            milliseconds deadline = kPatience,
            const std::string& host = "127.0.0.1") {
  std::vector<std::optional<SnmpValue>> values;
  const auto begin = std::chrono::steady_clock::now();
  const DWORD code = GetObjects(host, settings, oids, Deadline(deadline), values);
  const auto time = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
  std::string text = code == ERROR_SUCCESS ? "" : "failed";
  for (size_t i = 0; code == ERROR_SUCCESS && i < values.size(); ++i) {
    text += (i == 0 ? "" : " ") + Shown(values[i]);
  }
  return {code, time, text};
}

TEST(Snmp, AsksForEverythingInOneDatagram) {
  const SnmpAgent agent({.error_state = "0x4080",
                         .lines = {"override 1.3.6.1.2.1.1.2.0 object_id 1.3.6.1.4.1.4294967295.1",
                                   "override 1.3.6.1.2.1.1.3.0 timeticks 4294967295",
                                   "override 1.3.6.1.2.1.1.7.0 integer -7"}});
  std::vector<std::string> oids = {"1.3.6.1.2.1.1.2.0", "1.3.6.1.2.1.1.3.0", "1.3.6.1.2.1.1.7.0"};
  oids.insert(oids.end(), kState.begin(), kState.end());
  for (const Version version : {Version::kAuto, Version::k1, Version::k2c}) {
    const UdpRelay relay(agent.Port());
    EXPECT_EQ(Ask(At(relay.Port(), version), oids).values,
              "1.3.6.1.4.1.4294967295.1 #4294967295 -7 3 2 <4080>");
    EXPECT_EQ(relay.DatagramsToTarget(), 1);
    EXPECT_EQ(relay.DatagramsToClient(), 1);
  }
}

TEST(Snmp, UsesIpv6) {
  const uint16_t port = custom_bidi_test::FreePort(custom_bidi_test::Transport::kUdp);
  const SnmpAgent agent(
      {.lines = {"agentAddress udp6:[::1]:" + std::to_string(port), "rocommunity6 public ::1"}});
  EXPECT_EQ(Ask(At(port), kState, kPatience, "::1").values, "3 2 <00>");
  EXPECT_EQ(Ask(At(port)).code, kConnectionRefused);
}

TEST(Snmp, LeavesOutWhatTheAgentDoesNotKnow) {
  const SnmpAgent agent;
  const std::vector<std::string> one_missing = {kMissing, kState[0], kMissing, kState[1]};
  for (const Version version : {Version::k1, Version::k2c}) {
    EXPECT_EQ(Ask(At(agent.Port(), version), one_missing).values, "- 3 - 2");
    EXPECT_EQ(Ask(At(agent.Port(), version), {kMissing, kMissing}).values, "- -");
  }
}

TEST(Snmp, DividesWhatIsTooMuchForOneDatagram) {
  const SnmpAgent agent;
  const UdpRelay relay(agent.Port());
  std::vector<std::string> oids;
  std::string expected = "-";
  for (uint32_t i = 0; i < 150; ++i) {
    oids.push_back(i % 3 == 0 ? "1.3.6.1.4.1.4294967295.4294967295." + std::to_string(i) : kState[i % 3]);
    expected += i == 0 ? "" : i % 3 == 0 ? " -" : i % 3 == 1 ? " 2" : " <00>";
  }
  EXPECT_EQ(Ask(At(relay.Port()), oids).values, expected);
  EXPECT_EQ(relay.DatagramsToTarget(), 3);
}

TEST(Snmp, TurnsToVersion1WhenVersion2cIsNotAnswered) {
  const SnmpAgent agent({.answers_v2c = false});
  const Outcome outcome = Ask(At(agent.Port()), kState, 2 * kDeadline);
  EXPECT_EQ(outcome.values, "3 2 <00>");
  EXPECT_GE(outcome.time, kDeadline);
  EXPECT_LT(outcome.time, kDeadline + kSlack);
}

/// The agent drops what it cannot decrypt, and answers everything else that is wrong.
TEST(Snmp, Version3TakesTheRightUserOnly) {
  const SnmpAgent agent(
      {.users = {{"joe", "joe-authenticates", "joe-encrypts"}},
       .lines = {"createUser md5 MD5 \"md5-authenticates\" DES \"md5-encrypts\"", "rwuser md5 priv",
                 "createUser sha512 SHA-512 \"sha-authenticates\" AES \"sha-encrypts\"",
                 "rwuser sha512 priv"}});
  const struct {
    const char *user, *authentication, *authentication_passphrase, *privacy, *privacy_passphrase;
    DWORD code;
  } kCases[] = {{"joe", "SHA", "joe-authenticates", "AES", "joe-encrypts", ERROR_SUCCESS},
                {"joe", "SHA", "joe-authenticatez", "AES", "joe-encrypts", kBadAnswer},
                {"joe", "SHA", "joe-authenticates", "AES", "joe-encryptz", kTimeout},
                {"joe", "SHA", "joe-authenticates", "AES", "joe-encrypts", ERROR_SUCCESS},
                {"jim", "SHA", "joe-authenticates", "AES", "joe-encrypts", kBadAnswer},
                {"md5", "MD5", "md5-authenticates", "DES", "md5-encrypts", ERROR_SUCCESS},
                {"sha512", "SHA-512", "sha-authenticates", "AES", "sha-encrypts", ERROR_SUCCESS},
                {"joe", "SHA", "short", "AES", "joe-encrypts", kNotSupported}};
  for (const auto& c : kCases) {
    SnmpSettings settings = At(agent.Port(), Version::k3);
    settings.user = c.user;
    settings.authentication = c.authentication;
    settings.authentication_passphrase = c.authentication_passphrase;
    settings.privacy = c.privacy;
    settings.privacy_passphrase = c.privacy_passphrase;
    const Outcome outcome = Ask(settings, {kState[0], kMissing}, kDeadline);
    EXPECT_EQ(outcome.code, c.code) << c.user << ' ' << c.authentication_passphrase << ' '
                                    << c.privacy_passphrase;
    EXPECT_EQ(outcome.values, c.code == ERROR_SUCCESS ? "3 -" : "failed");
    EXPECT_LT(outcome.time, kDeadline + kSlack);
  }
}

/// The agent refuses a request of the wrong time once, and tells the right one with its refusal.
TEST(Snmp, Version3FollowsTheAgentsTime) {
  const SnmpAgent agent({.users = {{"joe", "joe-authenticates", "joe-encrypts"}}});
  const auto to_agent = custom_bidi_test::ConnectLoopback(custom_bidi_test::Transport::kUdp, agent.Port());
  const UdpPeer relay([&, first = true](const std::string& request) mutable {
    std::string answer(2000, '\0');
    send(to_agent.Get(), request.data(), request.size(), 0);
    answer.resize(
        static_cast<size_t>(std::max<ssize_t>(recv(to_agent.Get(), answer.data(), answer.size(), 0), 0)));
    if (std::exchange(first, false)) {
      // Behind the message's own number, and the engine's name of 17 bytes, stands how often it was started.
      const size_t starts_at = answer.find("\x04\x11\x80", 13) + 2 + 17 + 2;
      EXPECT_EQ(answer.at(starts_at), 1);
      answer.at(starts_at) = 0;
    }
    return std::vector{answer};
  });
  EXPECT_EQ(Ask(Joe(relay.Port()), kState, kDeadline).values, "3 2 <00>");
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
  const struct {
    const char* name;
    std::function<std::string(const std::string&)> answer;
    DWORD code;
    /// Otherwise at the deadline.
    bool ends_at_once;
  } kCases[] = {
      {"silence", {}, kTimeout, false},
      {"malformed", [](const std::string&) { return kMalformed; }, kBadAnswer, false},
      {"answer to another", AnswerToAnother, kBadAnswer, false},
      {"answer about another", AnswerAboutAnother, kBadAnswer, true},
      {"request", [](const std::string& request) { return request; }, kBadAnswer, false},
      {"report", [](const std::string& request) { return Answer(request, 0, '\xA8'); }, kBadAnswer, true},
      {"error", [](const std::string& request) { return Answer(request, 5); }, kBadAnswer, true},
      {"too big", [](const std::string& request) { return Answer(request, 1); }, kBadAnswer, true},
      {"too big at once",
       [](const std::string& request) { return Answer(request, request.size() > 60 ? 1 : 0); }, ERROR_SUCCESS,
       true},
      {"nothing known", [](const std::string& request) { return Answer(request, 2); }, ERROR_SUCCESS, true},
      {"nulls", [](const std::string& request) { return Answer(request); }, ERROR_SUCCESS, true},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    const UdpPeer peer([&c](const std::string& request) {
      return c.answer ? std::vector{c.answer(request)} : std::vector<std::string>();
    });
    const Outcome outcome = Ask(At(peer.Port()), kState, kDeadline);
    EXPECT_EQ(outcome.code, c.code);
    EXPECT_EQ(outcome.values, c.code == ERROR_SUCCESS ? "- - -" : "failed");
    if (c.ends_at_once) {
      EXPECT_LT(outcome.time, kSlack);
    } else {
      EXPECT_GE(outcome.time, kDeadline - milliseconds(1));
      EXPECT_LT(outcome.time, kDeadline + kSlack);
      EXPECT_EQ(peer.Datagrams(), 4);  // two of each version
    }
  }
}

/// And nothing is said of it on stderr.
TEST(Snmp, FloodsEndInTime) {
  testing::internal::CaptureStderr();
  constexpr milliseconds kShort{200};
  constexpr size_t kMoreThanCanBeSent = 100000;
  for (const std::string& bytes : {kMalformed, kOld}) {
    for (const Version version : {Version::kAuto, Version::k3}) {
      const UdpPeer peer([&](const std::string&) { return std::vector(kMoreThanCanBeSent, bytes); });
      SnmpSettings settings = Joe(peer.Port());
      settings.version = version;
      const Outcome outcome = Ask(settings, kState, kShort);
      EXPECT_EQ(outcome.code, kBadAnswer);
      EXPECT_LT(outcome.time, kShort + kSlack);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Snmp, SaysWhyThereIsNoAnswer) {
  const SnmpAgent agent({.community = "secret"});
  EXPECT_EQ(Ask(At(agent.Port()), kState, kDeadline).code, kTimeout);
  const uint16_t closed = custom_bidi_test::FreePort(custom_bidi_test::Transport::kUdp);
  const Outcome refused = Ask(At(closed), kState, kDeadline);
  EXPECT_EQ(refused.code, kConnectionRefused);
  EXPECT_LT(refused.time, kSlack);
  for (const char* oid :
       {"", "1", "1.", ".1.3", "1.3.x", "1.3 ", "3.1", "1.40", "1.3.4294967296", "1.3.-1"}) {
    EXPECT_EQ(Ask(At(closed), {oid}).code, DWORD{ERROR_INVALID_PARAMETER}) << oid;
  }
}

TEST(Snmp, ThreadsDoNotDisturbEachOther) {
  const SnmpAgent agent({.users = {{"joe", "joe-authenticates", "joe-encrypts"}}});
  std::atomic<int> good = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, settings = i % 2 == 0 ? At(agent.Port()) : Joe(agent.Port())] {
      for (int call = 0; call < 25; ++call) {
        good += Ask(settings).values == "3 2 <00>";
      }
    });
  }
  threads.clear();
  EXPECT_EQ(good, 8 * 25);
}

}  // namespace
}  // namespace custom_bidi::network
