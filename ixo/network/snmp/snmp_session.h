#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "ixo/network/connection/connection.h"
#include "ixo/network/snmp/snmp.h"
#include "ixo/network/snmp/snmp_functions.h"
#include "ixo/network/snmp/snmp_values.h"

namespace custom_bidi::network {

/// An agent's answer to one request.
struct SnmpAnswer {
  struct Variable {
    Oid object;
    std::optional<SnmpValue> value;
  };

  /// What an agent of SNMPv3 says of a request that it did not accept (RFC 3412, section 7.1).
  bool is_report = false;
  /// SNMP_ERR_NOERROR and its like, and which of the variables it is about, counted from 1.
  long error_status = 0;
  long error_index = 0;
  std::vector<Variable> variables = {};
};

/// A conversation with one agent. No operation lasts beyond its deadline, whatever comes from the network.
/// All return 0 or a code of exchange.h.
class SnmpSession {
 public:
  SnmpSession() = default;
  SnmpSession(const SnmpSession&) = delete;
  SnmpSession& operator=(const SnmpSession&) = delete;

  /// Sends nothing yet. `version` is not kAuto; the settings outlive the session.
  DWORD Open(const SocketAddress& address, SnmpSettings::Version version, const SnmpSettings& settings);

  /// Asks for the objects. kTimeout when there is no answer to all sendings, whose number the settings tell,
  /// within the time left.
  DWORD Get(std::span<const Oid> objects, Deadline deadline, SnmpAnswer& answer);

  /// Whether the agent sent anything since the last request: after kTimeout, something else than the answer.
  bool HasHeard() const { return heard_; }

 private:
  struct Close {
    void operator()(void* session) const;
  };

  static int TakeEvent(int operation,
                       netsnmp_session* session,
                       int id,
                       netsnmp_pdu* pdu,
                       void* unused) noexcept;

  DWORD Connect(const SocketAddress& address);
  DWORD FindEngine(Deadline deadline);
  DWORD SendProbe(Deadline deadline);
  DWORD SendGet(std::span<const Oid> objects, Deadline deadline);
  DWORD Send(const SnmpAccess& net_snmp, netsnmp_pdu* pdu, Deadline deadline);
  DWORD Await(Deadline deadline);
  std::optional<int> NextSendingMs();
  DWORD Receive();
  DWORD SendAgain();

  int socket_ = -1;  // the session's
  bool needs_engine_ = false;
  bool heard_ = false;
  std::optional<SnmpAnswer> answer_;
  std::unique_ptr<void, Close> session_;  // closing it tells TakeEvent of an open request
};

}  // namespace custom_bidi::network
