#include "ixo/network/keyring/keyring.h"

#include <algorithm>
#include <array>

namespace custom_bidi::network {
namespace {

constexpr char kServiceName[] = "org.freedesktop.secrets";
constexpr char kSchemaName[] = "CustomBidi.Entry";

/// Cancels at the deadline, unless it is stopped before.
void CancelAtDeadline(const std::stop_token& stop,
                      Deadline deadline,
                      const SecretFunctions& functions,
                      GCancellable* cancellable) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  std::condition_variable_any().wait_for(lock, stop, milliseconds(deadline.RemainingMs()),
                                         [] { return false; });
  if (!stop.stop_requested()) {
    functions.Call<&::g_cancellable_cancel>(cancellable);
  }
}

/// Only an item can be gone; a service or collection that does not know what it is asked is a failure.
DWORD NotOfItem(DWORD code) {
  return code == ERROR_NOT_FOUND ? DWORD{ERROR_GEN_FAILURE} : code;
}

std::vector<std::string> Texts(const Owned<gchar*>& texts) {
  std::vector<std::string> copies;
  for (const gchar* const* text = texts.get(); text != nullptr && *text != nullptr; ++text) {
    copies.emplace_back(*text);
  }
  return copies;
}

}  // namespace

Keyring::OwnContext::OwnContext(const SecretFunctions& functions)
    : functions_(functions), context_(functions.Call<&::g_main_context_new>()) {
  functions_.Call<&::g_main_context_push_thread_default>(context_);
}

Keyring::OwnContext::~OwnContext() {
  // What listened for signals of the service is given back here.
  while (functions_.Call<&::g_main_context_iteration>(context_, FALSE) != FALSE) {
  }
  functions_.Call<&::g_main_context_pop_thread_default>(context_);
  functions_.Call<&::g_main_context_unref>(context_);
}

Keyring::Keyring(const SecretFunctions& functions, Deadline deadline)
    : functions_(functions),
      context_(functions),
      cancellable_(functions.Call<&::g_cancellable_new>()),
      timer_([&functions, deadline, cancellable = cancellable_.get()](const std::stop_token& stop) {
        CancelAtDeadline(stop, deadline, functions, cancellable);
      }) {}

DWORD Keyring::Connect(const std::string& bus_address) {
  constexpr auto kConnectionFlags = static_cast<GDBusConnectionFlags>(
      G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GError* error = nullptr;
  connection_.reset(functions_.Call<&::g_dbus_connection_new_for_address_sync>(
      bus_address.c_str(), kConnectionFlags, nullptr, cancellable_.get(), &error));
  if (!connection_) {
    return CodeOf(error) == kTimeout ? kTimeout : kNobodyAnswers;
  }

  constexpr int kServiceFlags =
      G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES | G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS;
  service_.reset(static_cast<SecretService*>(functions_.Call<&::g_initable_new>(
      functions_.connected_service_type, cancellable_.get(), &error, "g-connection", connection_.get(),
      "g-flags", kServiceFlags, "g-name", kServiceName, "g-object-path", "/org/freedesktop/secrets",
      "g-interface-name", "org.freedesktop.Secret.Service", nullptr)));
  if (!service_) {
    return NotOfItem(CodeOf(error));
  }
  const Owned<gchar> owner(
      functions_.Call<&::g_dbus_proxy_get_name_owner>(reinterpret_cast<GDBusProxy*>(service_.get())));
  return owner ? DWORD{ERROR_SUCCESS} : kNobodyAnswers;
}

DWORD Keyring::Search(const KeyringNames& names, Found& found) {
  SecretSchema schema{};
  schema.name = kSchemaName;
  schema.attributes[0] = {"target", SECRET_SCHEMA_ATTRIBUTE_STRING};
  schema.attributes[1] = {"user", SECRET_SCHEMA_ATTRIBUTE_STRING};
  const Owned<GHashTable> attributes(functions_.Call<&::secret_attributes_build>(
      &schema, "target", names.target.c_str(), "user", names.user.c_str(), nullptr));
  gchar** unlocked = nullptr;
  gchar** locked = nullptr;
  GError* error = nullptr;
  if (functions_.Call<&::secret_service_search_for_dbus_paths_sync>(service_.get(), &schema, attributes.get(),
                                                                    cancellable_.get(), &unlocked, &locked,
                                                                    &error) == FALSE) {
    return NotOfItem(CodeOf(error));
  }
  found = {.unlocked = Texts(Owned<gchar*>(unlocked)), .locked = Texts(Owned<gchar*>(locked))};
  return ERROR_SUCCESS;
}

DWORD Keyring::FindDefaultCollection(Collection& collection) {
  collection = {};
  GError* error = nullptr;
  const Owned<SecretCollection> found(functions_.Call<&::secret_collection_for_alias_sync>(
      service_.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable_.get(), &error));
  if (error != nullptr) {
    return NotOfItem(CodeOf(error));
  }
  if (found) {
    collection = {
        .path = functions_.Call<&::g_dbus_proxy_get_object_path>(reinterpret_cast<GDBusProxy*>(found.get())),
        .locked = functions_.Call<&::secret_collection_get_locked>(found.get()) != FALSE,
    };
  }
  return ERROR_SUCCESS;
}

/// libsecret would go through a prompt that the service asks for, and so it only seals the secret.
DWORD Keyring::Create(const std::string& collection,
                      const KeyringNames& names,
                      std::span<const BYTE> secret) {
  GError* error = nullptr;
  if (functions_.Call<&::secret_service_ensure_session_sync>(service_.get(), cancellable_.get(), &error) ==
      FALSE) {
    return NotOfItem(CodeOf(error));
  }
  GVariant* const sealed =
      functions_.Call<&::secret_service_encode_dbus_secret>(service_.get(), NewValue(secret).get());
  if (sealed == nullptr) {
    return ERROR_GEN_FAILURE;
  }
  GVariant* const properties = functions_.Call<&::g_variant_new_parsed>(
      "{'org.freedesktop.Secret.Item.Label': <%s>,"
      " 'org.freedesktop.Secret.Item.Attributes': <{'xdg:schema': %s, 'target': %s, 'user': %s}>}",
      names.target.c_str(), kSchemaName, names.target.c_str(), names.user.c_str());
  static constexpr Method kCreateItem = {"org.freedesktop.Secret.Collection", "CreateItem", "(oo)", 1};
  return NotOfItem(
      CallUnprompted(collection, kCreateItem,
                     functions_.Call<&::g_variant_new>("(@a{sv}@(oayays)b)", properties, sealed, TRUE)));
}

DWORD Keyring::GetSecret(const std::string& path, vault::SecureBytes& secret) {
  GError* error = nullptr;
  const Owned<SecretItem> item = Open(path, error);
  if (!item ||
      functions_.Call<&::secret_item_load_secret_sync>(item.get(), cancellable_.get(), &error) == FALSE) {
    return CodeOf(error);
  }
  const Owned<SecretValue> value(functions_.Call<&::secret_item_get_secret>(item.get()));
  gsize size = 0;
  const gchar* const bytes = value ? functions_.Call<&::secret_value_get>(value.get(), &size) : nullptr;
  if (bytes == nullptr) {
    return ERROR_GEN_FAILURE;
  }
  secret.assign(bytes, bytes + size);
  return ERROR_SUCCESS;
}

DWORD Keyring::SetSecret(const std::string& path, std::span<const BYTE> secret) {
  GError* error = nullptr;
  const Owned<SecretItem> item = Open(path, error);
  const bool is_set = item && functions_.Call<&::secret_item_set_secret_sync>(
                                  item.get(), NewValue(secret).get(), cancellable_.get(), &error) != FALSE;
  return is_set ? DWORD{ERROR_SUCCESS} : CodeOf(error);
}

DWORD Keyring::Delete(const std::string& item) {
  static constexpr Method kDelete = {"org.freedesktop.Secret.Item", "Delete", "(o)", 0};
  return CallUnprompted(item, kDelete, nullptr);
}

Owned<SecretItem> Keyring::Open(const std::string& item, GError*& error) {
  return Owned<SecretItem>(functions_.Call<&::secret_item_new_for_dbus_path_sync>(
      service_.get(), item.c_str(), SECRET_ITEM_NONE, cancellable_.get(), &error));
}

Owned<SecretValue> Keyring::NewValue(std::span<const BYTE> secret) {
  return Owned<SecretValue>(
      functions_.Call<&::secret_value_new>(reinterpret_cast<const gchar*>(secret.data()),
                                           static_cast<gssize>(secret.size()), "application/octet-stream"));
}

/// Takes the arguments, a floating tuple. What the reply names as the prompt that has to be gone through
/// first is told that nobody will.
DWORD Keyring::CallUnprompted(const std::string& path, const Method& method, GVariant* arguments) {
  const auto call = [this](const char* object, const char* interface, const char* name, GVariant* given,
                           const char* reply_type, GError** error) {
    // A GVariantType is its text; the macro that says so needs GLib at link time.
    return Owned<GVariant>(functions_.Call<&::g_dbus_connection_call_sync>(
        connection_.get(), kServiceName, object, interface, name, given,
        reinterpret_cast<const GVariantType*>(reply_type), G_DBUS_CALL_FLAGS_NONE, -1, cancellable_.get(),
        error));
  };
  GError* error = nullptr;
  const Owned<GVariant> reply =
      call(path.c_str(), method.interface, method.name, arguments, method.reply_type, &error);
  if (!reply) {
    return CodeOf(error);
  }
  const char* prompt = nullptr;
  functions_.Call<&::g_variant_get_child>(reply.get(), method.prompt_index, "&o", &prompt);
  if (std::string_view(prompt) == "/") {
    return ERROR_SUCCESS;
  }
  call(prompt, "org.freedesktop.Secret.Prompt", "Dismiss", nullptr, "()", nullptr);
  return ERROR_ACCESS_DENIED;
}

/// Takes the error.
DWORD Keyring::CodeOf(GError* error) {
  const Owned<GError> owned(error);
  if (!owned) {
    return ERROR_GEN_FAILURE;
  }
  struct Row {
    GQuark domain;
    int error;
    DWORD code;
  };
  const GQuark bus = functions_.Call<&::g_dbus_error_quark>();
  const GQuark io = functions_.Call<&::g_io_error_quark>();
  const GQuark secret = functions_.Call<&::secret_error_get_quark>();
  const std::array<Row, 13> rows = {{
      {io, G_IO_ERROR_CANCELLED, kTimeout},
      {io, G_IO_ERROR_TIMED_OUT, kTimeout},
      {bus, G_DBUS_ERROR_NO_REPLY, kTimeout},
      {bus, G_DBUS_ERROR_TIMEOUT, kTimeout},
      {bus, G_DBUS_ERROR_TIMED_OUT, kTimeout},
      {bus, G_DBUS_ERROR_SERVICE_UNKNOWN, kNobodyAnswers},
      {bus, G_DBUS_ERROR_NAME_HAS_NO_OWNER, kNobodyAnswers},
      {bus, G_DBUS_ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
      {bus, G_DBUS_ERROR_AUTH_FAILED, ERROR_ACCESS_DENIED},
      {secret, SECRET_ERROR_IS_LOCKED, ERROR_ACCESS_DENIED},
      {secret, SECRET_ERROR_NO_SUCH_OBJECT, ERROR_NOT_FOUND},
      {bus, G_DBUS_ERROR_UNKNOWN_OBJECT, ERROR_NOT_FOUND},
      {bus, G_DBUS_ERROR_UNKNOWN_METHOD, ERROR_NOT_FOUND},
  }};
  const auto* const row = std::ranges::find_if(rows, [&owned](const Row& candidate) {
    return candidate.domain == owned->domain && candidate.error == owned->code;
  });
  return row != rows.end() ? row->code : DWORD{ERROR_GEN_FAILURE};
}

}  // namespace custom_bidi::network
