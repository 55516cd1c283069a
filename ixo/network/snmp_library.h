#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/library/large_fd_set.h>
#include <net-snmp/net-snmp-includes.h>

#include "ixo/support/objects.h"

namespace custom_bidi::network {

/// The functions of net-snmp that are used here, with the names and types of its own headers.
struct SnmpLibrary {
  decltype(&::find_sec_mod) find_sec_mod;
  decltype(&::generate_Ku) generate_Ku;
  decltype(&::init_usm) init_usm;
  decltype(&::netsnmp_ds_get_string) netsnmp_ds_get_string;
  decltype(&::netsnmp_ds_set_string) netsnmp_ds_set_string;
  decltype(&::netsnmp_find_loghandler) netsnmp_find_loghandler;
  decltype(&::netsnmp_large_fd_set_cleanup) netsnmp_large_fd_set_cleanup;
  decltype(&::netsnmp_large_fd_set_init) netsnmp_large_fd_set_init;
  decltype(&::netsnmp_register_loghandler) netsnmp_register_loghandler;
  decltype(&::sc_get_auth_oid) sc_get_auth_oid;
  decltype(&::sc_get_priv_oid) sc_get_priv_oid;
  decltype(&::setup_engineID) setup_engineID;
  decltype(&::snmp_add_null_var) snmp_add_null_var;
  decltype(&::snmp_call_callbacks) snmp_call_callbacks;
  decltype(&::snmp_clone_pdu) snmp_clone_pdu;
  decltype(&::snmp_free_pdu) snmp_free_pdu;
  decltype(&::snmp_pdu_create) snmp_pdu_create;
  decltype(&::snmp_sess_async_send) snmp_sess_async_send;
  decltype(&::snmp_sess_close) snmp_sess_close;
  decltype(&::snmp_sess_init) snmp_sess_init;
  decltype(&::snmp_sess_open) snmp_sess_open;
  decltype(&::snmp_sess_read2) snmp_sess_read2;
  decltype(&::snmp_sess_select_info2) snmp_sess_select_info2;
  decltype(&::snmp_sess_session) snmp_sess_session;
  decltype(&::snmp_sess_timeout) snmp_sess_timeout;
  decltype(&::snmp_sess_transport) snmp_sess_transport;
  decltype(&::usm_create_user_from_session) usm_create_user_from_session;
  decltype(&::usm_free_user) usm_free_user;
  decltype(&::usm_get_user) usm_get_user;
  decltype(&::usm_lookup_auth_type) usm_lookup_auth_type;
  decltype(&::usm_lookup_priv_type) usm_lookup_priv_type;
  decltype(&::usm_remove_user) usm_remove_user;
};

/// The only way to net-snmp's functions, open to one thread at a time: its lists of users and engines, its
/// message numbers and its first use have no lock of their own. None of the functions may wait for the
/// network, so a thread that waits does it without this. Loads net-snmp when first needed.
class SnmpAccess {
 public:
  SnmpAccess();

  /// False when the machine has no net-snmp; then there are no functions.
  explicit operator bool() const { return library_ != nullptr; }
  const SnmpLibrary* operator->() const { return library_; }

  /// Makes net-snmp ready for the user-based security model of SNMPv3 (RFC 3414).
  void AddUserSecurity() const;

 private:
  const device::Locked locked_;
  const SnmpLibrary* library_;
};

}  // namespace custom_bidi::network
