#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ixo/network/exchange.h"
#include "ixo/support/secure_text.h"

namespace custom_bidi::network {

struct SnmpSettings {
  /// kAuto is 2c, then 1 for an agent that does not answer that.
  enum class Version { kAuto, k1, k2c, k3 };

  Version version = Version::kAuto;
  /// RFC 3417, section 3.
  uint16_t port = 161;
  /// How often a request is sent again when it is not answered; the deadline is divided among the sendings.
  int retries = 1;
  support::SecureText community = "public";
  /// SNMPv3, always with authentication and privacy (RFC 3414, RFC 3826, RFC 7860).
  std::string user = {};
  std::string authentication = "SHA";  // MD5, SHA, SHA-224, SHA-256, SHA-384, SHA-512
  support::SecureText authentication_passphrase = {};
  std::string privacy = "AES";  // AES, DES
  support::SecureText privacy_passphrase = {};
};

struct TlsSettings {
  /// Files of PEM certificates, beside the system's, that a printer's certificate may lead to; and files of
  /// PEM revocation lists of these. Whole paths.
  std::vector<std::string> trust_anchors = {};
  std::vector<std::string> revocation_lists = {};
};

/// What network.json says, or its defaults.
struct Settings {
  /// For each exchange with the device.
  milliseconds deadline{2000};
  /// What a device may send in answer to one question.
  size_t max_answer_bytes = size_t{4} * 1024 * 1024;
  /// Whether what the printer names by a URI may be fetched from another host than the printer.
  bool follow_other_hosts = false;
  SnmpSettings snmp = {};
  TlsSettings tls = {};
};

/// The settings of this load of the library: network.json of the running executable's folder, read at the
/// first call, or the defaults when there is no such file. Null when the file is no good, or holds a secret
/// and can be read by others, which the first call says on stderr.
const Settings* TheSettings();

/// Reads the text of network.json; relative paths in it are taken from `folder`. Throws a std::runtime_error
/// that says what is wrong with it.
Settings ReadSettings(const std::string& text, const std::string& folder);

/// Whether there is anything in the settings that others must not read: a passphrase, or a community other
/// than "public".
bool HoldsSecret(const Settings& settings);

}  // namespace custom_bidi::network
