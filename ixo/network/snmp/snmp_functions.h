#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/library/large_fd_set.h>
#include <net-snmp/net-snmp-includes.h>

#include "base/late_functions.h"
#include "ixo/support/objects.h"

namespace custom_bidi::network {

/// The functions of net-snmp that are used here.
using SnmpFunctions = base::LateFunctions<&::find_sec_mod,
                                          &::generate_Ku,
                                          &::init_usm,
                                          &::netsnmp_ds_get_string,
                                          &::netsnmp_ds_set_string,
                                          &::netsnmp_find_loghandler,
                                          &::netsnmp_large_fd_set_cleanup,
                                          &::netsnmp_large_fd_set_init,
                                          &::netsnmp_register_loghandler,
                                          &::sc_get_auth_oid,
                                          &::sc_get_priv_oid,
                                          &::setup_engineID,
                                          &::snmp_add_null_var,
                                          &::snmp_call_callbacks,
                                          &::snmp_clone_pdu,
                                          &::snmp_free_pdu,
                                          &::snmp_pdu_create,
                                          &::snmp_sess_async_send,
                                          &::snmp_sess_close,
                                          &::snmp_sess_init,
                                          &::snmp_sess_open,
                                          &::snmp_sess_read2,
                                          &::snmp_sess_select_info2,
                                          &::snmp_sess_session,
                                          &::snmp_sess_timeout,
                                          &::snmp_sess_transport,
                                          &::usm_create_user_from_session,
                                          &::usm_free_user,
                                          &::usm_get_user,
                                          &::usm_lookup_auth_type,
                                          &::usm_lookup_priv_type,
                                          &::usm_remove_user>;

/// The only way to net-snmp's functions, open to one thread at a time: its lists of users and engines, its
/// message numbers and its first use have no lock of their own. None of the functions may wait for the
/// network, so a thread that waits does it without this. Loads net-snmp when first needed.
class SnmpAccess {
 public:
  SnmpAccess();

  /// False when the machine has no net-snmp; then there are no functions.
  explicit operator bool() const { return functions_ != nullptr; }
  const SnmpFunctions* operator->() const { return functions_; }

  /// Makes net-snmp ready for the user-based security model of SNMPv3 (RFC 3414).
  void AddUserSecurity() const;

 private:
  const support::Locked locked_;
  const SnmpFunctions* functions_;
};

}  // namespace custom_bidi::network
