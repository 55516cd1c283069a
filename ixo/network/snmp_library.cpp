#include "ixo/network/snmp_library.h"

#include <sys/syslog.h>

#include "pal/system_library.h"

namespace custom_bidi::network {
namespace {

/// The lock of this load of our library, which is enough: net-snmp stays in the process and outlives us, but
/// the next load of ours comes after the end of this one, when none of its threads is in net-snmp any more,
/// and nothing else of ours uses it.
SRWLOCK library_lock = SRWLOCK_INIT;
bool library_tried = false;
bool library_whole = false;
SnmpLibrary library;

/// The name of all that is ours in net-snmp.
constexpr char kOurName[] = "custom-bidi";

bool Bind(const pal::SystemLibrary& file) {
  return file.Bind("find_sec_mod", library.find_sec_mod) && file.Bind("generate_Ku", library.generate_Ku) &&
         file.Bind("init_usm", library.init_usm) &&
         file.Bind("netsnmp_ds_get_string", library.netsnmp_ds_get_string) &&
         file.Bind("netsnmp_ds_set_string", library.netsnmp_ds_set_string) &&
         file.Bind("netsnmp_find_loghandler", library.netsnmp_find_loghandler) &&
         file.Bind("netsnmp_large_fd_set_cleanup", library.netsnmp_large_fd_set_cleanup) &&
         file.Bind("netsnmp_large_fd_set_init", library.netsnmp_large_fd_set_init) &&
         file.Bind("netsnmp_register_loghandler", library.netsnmp_register_loghandler) &&
         file.Bind("sc_get_auth_oid", library.sc_get_auth_oid) &&
         file.Bind("sc_get_priv_oid", library.sc_get_priv_oid) &&
         file.Bind("setup_engineID", library.setup_engineID) &&
         file.Bind("snmp_add_null_var", library.snmp_add_null_var) &&
         file.Bind("snmp_call_callbacks", library.snmp_call_callbacks) &&
         file.Bind("snmp_clone_pdu", library.snmp_clone_pdu) &&
         file.Bind("snmp_free_pdu", library.snmp_free_pdu) &&
         file.Bind("snmp_pdu_create", library.snmp_pdu_create) &&
         file.Bind("snmp_sess_async_send", library.snmp_sess_async_send) &&
         file.Bind("snmp_sess_close", library.snmp_sess_close) &&
         file.Bind("snmp_sess_init", library.snmp_sess_init) &&
         file.Bind("snmp_sess_open", library.snmp_sess_open) &&
         file.Bind("snmp_sess_read2", library.snmp_sess_read2) &&
         file.Bind("snmp_sess_select_info2", library.snmp_sess_select_info2) &&
         file.Bind("snmp_sess_session", library.snmp_sess_session) &&
         file.Bind("snmp_sess_timeout", library.snmp_sess_timeout) &&
         file.Bind("snmp_sess_transport", library.snmp_sess_transport) &&
         file.Bind("usm_create_user_from_session", library.usm_create_user_from_session) &&
         file.Bind("usm_free_user", library.usm_free_user) &&
         file.Bind("usm_get_user", library.usm_get_user) &&
         file.Bind("usm_lookup_auth_type", library.usm_lookup_auth_type) &&
         file.Bind("usm_lookup_priv_type", library.usm_lookup_priv_type) &&
         file.Bind("usm_remove_user", library.usm_remove_user);
}

/// Whoever enables no log handler gets net-snmp's complaints about what devices send on stderr.
void KeepSilent() {
  if (library.netsnmp_find_loghandler(kOurName)) {
    return;
  }
  if (auto* const handler = library.netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG)) {
    handler->token = strdup(kOurName);
  }
}

/// What an earlier load of ours has done stays as it is.
bool Load() {
  if (!Bind(pal::SystemLibrary("libnetsnmp.so.40"))) {
    return false;
  }
  KeepSilent();
  netsnmp_session unused;
  library.snmp_sess_init(&unused);
  return true;
}

}  // namespace

SnmpAccess::SnmpAccess() : locked_(library_lock) {
  if (!library_tried) {
    library_tried = true;
    library_whole = Load();
  }
  library_ = library_whole ? &library : nullptr;
}

/// What init_snmp would do, without its reading of configuration files: the model declares what it would read
/// for an application, which so needs a name; and the callbacks that are told that this is over make the
/// random start of the salts, and the user without a name whom a question for an agent's engine needs, which
/// takes an engine of our own.
void SnmpAccess::AddUserSecurity() const {
  if (library_->find_sec_mod(SNMP_SEC_MODEL_USM)) {
    return;
  }
  if (!library_->netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE)) {
    library_->netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, kOurName);
  }
  library_->setup_engineID(nullptr, kOurName);
  library_->init_usm();
  library_->snmp_call_callbacks(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_PREMIB_READ_CONFIG, nullptr);
}

}  // namespace custom_bidi::network
