#include "ixo/network/settings.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include "ixo/support/host_files.h"
#include "ixo/support/json.h"
#include "ixo/support/objects.h"

namespace custom_bidi::network {
namespace {

using support::Fail;
using support::Json;
using support::Member;

constexpr char kFileName[] = "network.json";

/// Members that are not there leave the default as it is.
template <class Integer>
void ReadInteger(const Json& json,
                 const char* name,
                 int64_t lowest,
                 int64_t highest,
                 const std::string& where,
                 Integer& value) {
  if (json.contains(name)) {
    value = static_cast<Integer>(support::IntegerFrom(json[name], lowest, highest, Member(where, name)));
  }
}

/// The text itself, of which there is no copy.
const std::string& StringFrom(const Json& json, const std::string& where) {
  if (!json.is_string()) {
    Fail(where, std::string("a text is expected, not ") + json.type_name());
  }
  const std::string& text = json.string();
  if (text.find('\0') != std::string::npos) {
    Fail(where, "there is a NUL in the text");
  }
  return text;
}

template <class Text>
void ReadString(const Json& json, const char* name, const std::string& where, Text& value) {
  if (json.contains(name)) {
    value = Text(StringFrom(json[name], Member(where, name)));
  }
}

/// Fails unless the text is one of those in the list, which are separated by blanks.
void RequireOneOf(const std::string& text, const std::string& choices, const std::string& where) {
  const bool is_choice = !text.empty() && text.find(' ') == std::string::npos &&
                         (' ' + choices + ' ').find(' ' + text + ' ') != std::string::npos;
  if (!is_choice) {
    Fail(where, "one of these is expected: " + choices);
  }
}

SnmpSettings::Version ReadVersion(const Json& json, const std::string& where) {
  const std::string version = StringFrom(json, where);
  RequireOneOf(version, "auto 1 2c 3", where);
  if (version == "1") {
    return SnmpSettings::Version::k1;
  }
  if (version == "2c") {
    return SnmpSettings::Version::k2c;
  }
  return version == "3" ? SnmpSettings::Version::k3 : SnmpSettings::Version::kAuto;
}

void RequireUser(const SnmpSettings& snmp, const std::string& where) {
  if (snmp.user.empty()) {
    Fail(where, "version 3 needs a user");
  }
  // RFC 3414, section 11.2.
  constexpr size_t kMinPassphraseChars = 8;
  if (snmp.authentication_passphrase.size() < kMinPassphraseChars ||
      snmp.privacy_passphrase.size() < kMinPassphraseChars) {
    Fail(where, "version 3 needs an authentication_passphrase and a privacy_passphrase of 8 bytes or more");
  }
}

SnmpSettings ReadSnmp(const Json& json) {
  constexpr char kWhere[] = "snmp";
  support::RequireMembers(json,
                          {"version", "port", "retries", "community", "user", "authentication",
                           "authentication_passphrase", "privacy", "privacy_passphrase"},
                          kWhere);
  SnmpSettings snmp;
  if (json.contains("version")) {
    snmp.version = ReadVersion(json["version"], "snmp.version");
  }
  ReadInteger(json, "port", 1, 65535, kWhere, snmp.port);
  ReadInteger(json, "retries", 0, 10, kWhere, snmp.retries);
  ReadString(json, "community", kWhere, snmp.community);
  ReadString(json, "user", kWhere, snmp.user);
  ReadString(json, "authentication", kWhere, snmp.authentication);
  RequireOneOf(snmp.authentication, "MD5 SHA SHA-224 SHA-256 SHA-384 SHA-512", "snmp.authentication");
  ReadString(json, "authentication_passphrase", kWhere, snmp.authentication_passphrase);
  ReadString(json, "privacy", kWhere, snmp.privacy);
  RequireOneOf(snmp.privacy, "AES DES", "snmp.privacy");
  ReadString(json, "privacy_passphrase", kWhere, snmp.privacy_passphrase);
  if (snmp.version == SnmpSettings::Version::k3) {
    RequireUser(snmp, kWhere);
  }
  return snmp;
}

std::vector<std::string> ReadPaths(const Json& json,
                                   const char* name,
                                   const std::string& where,
                                   const std::string& folder) {
  std::vector<std::string> paths;
  if (!json.contains(name)) {
    return paths;
  }
  const std::string member = Member(where, name);
  if (!json[name].is_array()) {
    Fail(member, std::string("a list of files is expected, not ") + json[name].type_name());
  }
  for (const Json& entry : json[name].elements()) {
    const std::string path = StringFrom(entry, member);
    if (path.empty()) {
      Fail(member, "a file's name is empty");
    }
    paths.push_back(path.front() == '/' ? path : folder + path);
  }
  return paths;
}

TlsSettings ReadTls(const Json& json, const std::string& folder) {
  constexpr char kWhere[] = "tls";
  support::RequireMembers(json, {"trust_anchors", "revocation_lists"}, kWhere);
  return {.trust_anchors = ReadPaths(json, "trust_anchors", kWhere, folder),
          .revocation_lists = ReadPaths(json, "revocation_lists", kWhere, folder)};
}

/// Fails when others than the file's owner may read it.
void RequireOwnFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw std::runtime_error(
        "the file holds an SNMP community or passphrase, so nobody but its owner may have access to it: "
        "chmod 600");
  }
}

std::unique_ptr<const Settings> TryReadSettings() {
  std::string path = kFileName;
  try {
    const std::optional<support::SecureText> text = support::ReadBesideHost(kFileName, path);
    if (!text) {
      return std::make_unique<const Settings>();
    }
    auto settings =
        std::make_unique<const Settings>(ReadSettings(*text, path.substr(0, path.rfind('/') + 1)));
    if (HoldsSecret(*settings)) {
      RequireOwnFile(path);
    }
    return settings;
  } catch (const std::bad_alloc&) {
    throw;  // not the file's fault
  } catch (const std::exception& error) {
    std::fputs((path + ": " + error.what() + "\n").c_str(), stderr);
    return nullptr;
  }
}

SRWLOCK g_settings_lock = SRWLOCK_INIT;
bool g_settings_read = false;
std::unique_ptr<const Settings> g_settings;

}  // namespace

const Settings* TheSettings() {
  const support::Locked locked(g_settings_lock);
  if (!g_settings_read) {
    g_settings = TryReadSettings();
    g_settings_read = true;
  }
  return g_settings.get();
}

Settings ReadSettings(const std::string& text, const std::string& folder) {
  const Json json = support::ParseJson(text);
  support::RequireMembers(json, {"deadline_ms", "max_answer_bytes", "follow_other_hosts", "snmp", "tls"}, "");
  Settings settings;
  int64_t deadline_ms = settings.deadline.count();
  ReadInteger(json, "deadline_ms", 50, 60000, "", deadline_ms);
  settings.deadline = milliseconds(deadline_ms);
  ReadInteger(json, "max_answer_bytes", 1024, int64_t{64} * 1024 * 1024, "", settings.max_answer_bytes);
  if (json.contains("follow_other_hosts")) {
    if (!json["follow_other_hosts"].is_boolean()) {
      Fail("follow_other_hosts", "true or false is expected");
    }
    settings.follow_other_hosts = json["follow_other_hosts"].boolean();
  }
  if (json.contains("snmp")) {
    settings.snmp = ReadSnmp(json["snmp"]);
  }
  if (json.contains("tls")) {
    settings.tls = ReadTls(json["tls"], folder);
  }
  return settings;
}

bool HoldsSecret(const Settings& settings) {
  const SnmpSettings& snmp = settings.snmp;
  return !snmp.authentication_passphrase.empty() || !snmp.privacy_passphrase.empty() ||
         snmp.community != "public";
}

}  // namespace custom_bidi::network
