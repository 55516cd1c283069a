#include "ixo/network/session_bus.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace custom_bidi::network {
namespace {

/// The code of a failed exchange.
DWORD CodeOf(const GlibLibrary& library, const GError& error) {
  gchar* const given = library.g_dbus_error_get_remote_error(&error);
  const std::string name = given ? given : "";
  library.g_free(given);

  struct Row {
    std::string_view name;
    DWORD code;
  };
  static constexpr std::array<Row, 11> kRows = {{
      {"org.freedesktop.DBus.Error.ServiceUnknown", kNobodyAnswers},
      {"org.freedesktop.DBus.Error.NameHasNoOwner", kNobodyAnswers},
      {"org.freedesktop.DBus.Error.NoReply", kTimeout},
      {"org.freedesktop.DBus.Error.Timeout", kTimeout},
      {"org.freedesktop.DBus.Error.TimedOut", kTimeout},
      {"org.freedesktop.DBus.Error.AccessDenied", ERROR_ACCESS_DENIED},
      {"org.freedesktop.DBus.Error.AuthFailed", ERROR_ACCESS_DENIED},
      {"org.freedesktop.Secret.Error.IsLocked", ERROR_ACCESS_DENIED},
      {"org.freedesktop.Secret.Error.NoSuchObject", ERROR_NOT_FOUND},
      {"org.freedesktop.DBus.Error.UnknownObject", ERROR_NOT_FOUND},
      {"org.freedesktop.DBus.Error.UnknownMethod", ERROR_NOT_FOUND},
  }};
  const auto* const row = std::ranges::find(kRows, std::string_view(name), &Row::name);
  if (row != kRows.end()) {
    return row->code;
  }
  // The bus tried to start the service, in vain.
  if (name.starts_with("org.freedesktop.DBus.Error.Spawn.")) {
    return kNobodyAnswers;
  }
  const bool is_over = error.domain == library.g_io_error_quark() &&
                       (error.code == G_IO_ERROR_TIMED_OUT || error.code == G_IO_ERROR_CANCELLED);
  return is_over ? kTimeout : DWORD{ERROR_GEN_FAILURE};
}

}  // namespace

std::string SessionBusAddress() {
  const char* const given = secure_getenv("DBUS_SESSION_BUS_ADDRESS");
  if (given && *given != '\0') {
    const std::string address = given;
    return address.find("autolaunch:") == std::string::npos ? address : "";
  }
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  const std::string path = std::string(folder ? folder : "") + "/bus";
  struct stat status {};
  const bool is_bus =
      folder && folder[0] == '/' && stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
  // In an address these would have to be escaped, and no system has such a folder.
  return is_bus && path.find_first_of(",;%") == std::string::npos ? "unix:path=" + path : "";
}

SessionBus::SessionBus(const GlibLibrary& library, Deadline deadline)
    : library_(library), deadline_(deadline), context_(library.g_main_context_new()) {
  library_.g_main_context_push_thread_default(context_);
}

SessionBus::~SessionBus() {
  connection_.reset();
  library_.g_main_context_pop_thread_default(context_);
  library_.g_main_context_unref(context_);
}

/// A connection that is being made.
struct SessionBus::Wait {
  const GlibLibrary& library;
  GCancellable* cancellable;
  bool done = false;
  GDBusConnection* connection = nullptr;
  GError* error = nullptr;

  static gboolean GiveUp(gpointer data) {
    const auto* const wait = static_cast<const Wait*>(data);
    wait->library.g_cancellable_cancel(wait->cancellable);
    return G_SOURCE_REMOVE;
  }

  static void Finish(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    auto* const wait = static_cast<Wait*>(data);
    wait->connection = wait->library.g_dbus_connection_new_for_address_finish(result, &wait->error);
    wait->done = true;
  }
};

/// Calls have time limits, connecting has none: it is cancelled at the deadline. Its end is waited for then,
/// too, so that nobody calls back later.
DWORD SessionBus::Connect(const std::string& address) {
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  const Owned<GCancellable> cancellable(library_.g_cancellable_new());
  Wait wait{.library = library_, .cancellable = cancellable.get()};
  GSource* const timer = library_.g_timeout_source_new(static_cast<guint>(deadline_.RemainingMs()));
  library_.g_source_set_callback(timer, &Wait::GiveUp, &wait, nullptr);
  library_.g_source_attach(timer, context_);
  library_.g_dbus_connection_new_for_address(address.c_str(), kFlags, nullptr, cancellable.get(),
                                             &Wait::Finish, &wait);
  while (!wait.done) {
    library_.g_main_context_iteration(context_, TRUE);
  }
  library_.g_source_destroy(timer);
  library_.g_source_unref(timer);
  connection_.reset(wait.connection);
  const Owned<GError> error(wait.error);
  if (connection_) {
    return ERROR_SUCCESS;
  }
  return CodeOf(library_, *error) == kTimeout ? kTimeout : kNobodyAnswers;
}

DWORD SessionBus::Call(const char* name,
                       const Method& method,
                       GVariant* arguments,
                       const char* reply_type,
                       Owned<GVariant>& reply) {
  GError* error = nullptr;
  reply.reset(library_.g_dbus_connection_call_sync(
      connection_.get(), name, method.path, method.interface, method.name, arguments, VariantType(reply_type),
      G_DBUS_CALL_FLAGS_NONE, std::max(deadline_.RemainingMs(), 1), nullptr, &error));
  const Owned<GError> owned(error);
  return reply ? DWORD{ERROR_SUCCESS} : CodeOf(library_, *owned);
}

}  // namespace custom_bidi::network
