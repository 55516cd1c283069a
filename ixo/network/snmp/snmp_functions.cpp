#include "ixo/network/snmp/snmp_functions.h"

#include <sys/syslog.h>

namespace custom_bidi::network {
namespace {

/// The lock of this load of our library, which is enough: net-snmp stays in the process and outlives us, but
/// the next load of ours comes after the end of this one, when none of its threads is in net-snmp any more,
/// and nothing else of ours uses it.
SRWLOCK g_lock = SRWLOCK_INIT;

/// The name of all that is ours in net-snmp.
constexpr char kOurName[] = "custom-bidi";

/// Whoever enables no log handler gets net-snmp's complaints about what devices send on stderr.
void KeepSilent(const SnmpFunctions& net_snmp) {
  if (net_snmp.Call<&::netsnmp_find_loghandler>(kOurName) != nullptr) {
    return;
  }
  if (auto* const handler =
          net_snmp.Call<&::netsnmp_register_loghandler>(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG)) {
    handler->token = strdup(kOurName);
  }
}

/// net-snmp, made ready; what an earlier load of ours has done stays as it is.
class ReadyFunctions : public SnmpFunctions {
 public:
  ReadyFunctions() : SnmpFunctions("libnetsnmp.so.40") {
    if (*this) {
      KeepSilent(*this);
      netsnmp_session unused;
      Call<&::snmp_sess_init>(&unused);
    }
  }
};

}  // namespace

SnmpAccess::SnmpAccess() : locked_(g_lock) {
  functions_ = base::BoundOnce<ReadyFunctions>();
}

/// What init_snmp would do, without its reading of configuration files: the model declares what it would read
/// for an application, which so needs a name; and the callbacks that are told that this is over make the
/// random start of the salts, and the user without a name whom a question for an agent's engine needs, which
/// takes an engine of our own.
void SnmpAccess::AddUserSecurity() const {
  if (functions_->Call<&::find_sec_mod>(SNMP_SEC_MODEL_USM) != nullptr) {
    return;
  }
  if (functions_->Call<&::netsnmp_ds_get_string>(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE) == nullptr) {
    functions_->Call<&::netsnmp_ds_set_string>(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, kOurName);
  }
  functions_->Call<&::setup_engineID>(nullptr, kOurName);
  functions_->Call<&::init_usm>();
  functions_->Call<&::snmp_call_callbacks>(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_PREMIB_READ_CONFIG,
                                           nullptr);
}

}  // namespace custom_bidi::network
