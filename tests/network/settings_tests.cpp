#include "ixo/network/settings.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace custom_bidi::network {
namespace {

TEST(Settings, EverythingIsTakenFromTheFile) {
  const Settings settings = ReadSettings(R"({
    "deadline_ms": 500, "max_answer_bytes": 65536, "follow_other_hosts": true,
    "snmp": {"version": "3", "port": 1161, "retries": 0, "user": "jdoe",
             "authentication": "SHA-256", "authentication_passphrase": "12345678",
             "privacy": "DES", "privacy_passphrase": "abcdefgh"},
    "tls": {"trust_anchors": ["ca.pem", "/etc/ca.pem"], "revocation_lists": ["lists/ca.crl"]}})",
                                         "/opt/host/");
  EXPECT_EQ(settings.deadline, milliseconds(500));
  EXPECT_EQ(settings.max_answer_bytes, 65536u);
  EXPECT_TRUE(settings.follow_other_hosts);
  EXPECT_EQ(settings.snmp.version, SnmpSettings::Version::k3);
  EXPECT_EQ(settings.snmp.port, 1161);
  EXPECT_EQ(settings.snmp.retries, 0);
  EXPECT_EQ(settings.snmp.authentication, "SHA-256");
  EXPECT_EQ(settings.snmp.privacy_passphrase, "abcdefgh");
  EXPECT_EQ(settings.tls.trust_anchors, (std::vector<std::string>{"/opt/host/ca.pem", "/etc/ca.pem"}));
  EXPECT_EQ(settings.tls.revocation_lists, (std::vector<std::string>{"/opt/host/lists/ca.crl"}));
}

TEST(Settings, OnlyPassphrasesAndCommunitiesAreSecrets) {
  EXPECT_FALSE(HoldsSecret(ReadSettings("{}", "/")));
  EXPECT_FALSE(HoldsSecret(ReadSettings(R"({"snmp": {"community": "public", "user": "jdoe"}})", "/")));
  EXPECT_TRUE(HoldsSecret(ReadSettings(R"({"snmp": {"community": "other"}})", "/")));
  EXPECT_TRUE(HoldsSecret(ReadSettings(R"({"snmp": {"privacy_passphrase": "12345678"}})", "/")));
}

TEST(Settings, WhatIsWrongIsSaidWithItsPlace) {
  const std::vector<std::pair<std::string, std::string>> cases = {
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
      {R"({"tls": {"trust_anchors": [""]}})", "tls.trust_anchors: a file's name is empty"},
  };
  for (const auto& [text, message] : cases) {
    try {
      ReadSettings(text, "/");
      ADD_FAILURE() << "taken: " << text;
    } catch (const std::exception& error) {
      EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << text << ": " << error.what();
    }
  }
}

}  // namespace
}  // namespace custom_bidi::network
