#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/peers/process.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {

/// A user of SNMPv3, who may read and write everything with authentication by SHA and privacy by AES.
struct SnmpUser {
  std::string name;
  /// At least 8 characters each.
  std::string authentication_password;
  std::string privacy_password;
};

/// Values as the daemon's configuration has them; an object without a value is not there.
struct SnmpAgentOptions {
  std::optional<std::string> device_status = "2";   // running
  std::optional<std::string> printer_status = "3";  // idle
  std::optional<std::string> error_state = "0x00";  // octets, hexadecimal; "" in quotation marks: none
  std::string community = "public";
  /// A version that is not answered is not refused either: its requests are dropped.
  bool answers_v1 = true;
  bool answers_v2c = true;
  std::vector<SnmpUser> users = {};
  /// Further lines of the daemon's configuration, such as "override -rw 1.3.6.1.2.1.1.5.0 octet_str VX".
  std::vector<std::string> lines = {};
};

/// net-snmp's daemon on 127.0.0.1, with the objects by which a printer tells its state.
class SnmpAgent {
 public:
  static constexpr char kDeviceStatusOid[] = "1.3.6.1.2.1.25.3.2.1.5.1";
  static constexpr char kPrinterStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1.1";
  static constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2.1";

  explicit SnmpAgent(const SnmpAgentOptions& options = {});

  uint16_t Port() const { return port_; }

  /// Changes an object that is there. `type` is snmpset's: "i" an integer, "x" octets as hexadecimal digits,
  /// "s" text. Throws when the daemon refuses.
  void Set(const std::string& oid, const std::string& type, const std::string& value) const;

  /// A program of net-snmp, such as snmpget, with arguments in front of the address of this agent and others
  /// behind it. It reads no configuration but its arguments.
  Command Client(const std::string& program,
                 const std::vector<std::string>& options,
                 const std::vector<std::string>& objects) const;

  /// From now on nobody answers on the port.
  void Stop() { process_.reset(); }

 private:
  void Start(const SnmpAgentOptions& options);
  bool Answers() const;

  TemporaryFolder folder_;
  std::string community_;
  std::string write_version_;
  uint16_t port_ = 0;
  std::unique_ptr<Process> process_;
};

}  // namespace custom_bidi_test
