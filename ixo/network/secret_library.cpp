#include "ixo/network/secret_library.h"

#include "ixo/support/objects.h"
#include "pal/system_library.h"

namespace custom_bidi::network {
namespace {

SRWLOCK library_lock = SRWLOCK_INIT;
bool library_tried = false;
bool library_whole = false;
SecretLibrary library;

bool LoadGlib() {
  const pal::SystemLibrary glib("libglib-2.0.so.0");
  return glib.Bind("g_error_free", library.g_error_free) &&
         glib.Bind("g_hash_table_unref", library.g_hash_table_unref) &&
         glib.Bind("g_main_context_iteration", library.g_main_context_iteration) &&
         glib.Bind("g_main_context_new", library.g_main_context_new) &&
         glib.Bind("g_main_context_pop_thread_default", library.g_main_context_pop_thread_default) &&
         glib.Bind("g_main_context_push_thread_default", library.g_main_context_push_thread_default) &&
         glib.Bind("g_main_context_unref", library.g_main_context_unref) &&
         glib.Bind("g_strfreev", library.g_strfreev) &&
         glib.Bind("g_variant_get_child", library.g_variant_get_child) &&
         glib.Bind("g_variant_new", library.g_variant_new) &&
         glib.Bind("g_variant_new_parsed", library.g_variant_new_parsed) &&
         glib.Bind("g_variant_unref", library.g_variant_unref) && glib.Bind("g_free", library.g_free);
}

bool LoadBus() {
  const pal::SystemLibrary gobject("libgobject-2.0.so.0");
  const pal::SystemLibrary gio("libgio-2.0.so.0");
  return gobject.Bind("g_object_unref", library.g_object_unref) &&
         gio.Bind("g_cancellable_cancel", library.g_cancellable_cancel) &&
         gio.Bind("g_cancellable_new", library.g_cancellable_new) &&
         gio.Bind("g_dbus_connection_call_sync", library.g_dbus_connection_call_sync) &&
         gio.Bind("g_dbus_connection_new_for_address_sync", library.g_dbus_connection_new_for_address_sync) &&
         gio.Bind("g_dbus_error_quark", library.g_dbus_error_quark) &&
         gio.Bind("g_dbus_proxy_get_name_owner", library.g_dbus_proxy_get_name_owner) &&
         gio.Bind("g_dbus_proxy_get_object_path", library.g_dbus_proxy_get_object_path) &&
         gio.Bind("g_initable_new", library.g_initable_new) &&
         gio.Bind("g_io_error_quark", library.g_io_error_quark);
}

bool LoadSecret() {
  const pal::SystemLibrary secret("libsecret-1.so.0");
  return secret.Bind("secret_attributes_build", library.secret_attributes_build) &&
         secret.Bind("secret_collection_for_alias_sync", library.secret_collection_for_alias_sync) &&
         secret.Bind("secret_collection_get_locked", library.secret_collection_get_locked) &&
         secret.Bind("secret_error_get_quark", library.secret_error_get_quark) &&
         secret.Bind("secret_item_get_secret", library.secret_item_get_secret) &&
         secret.Bind("secret_item_load_secret_sync", library.secret_item_load_secret_sync) &&
         secret.Bind("secret_item_new_for_dbus_path_sync", library.secret_item_new_for_dbus_path_sync) &&
         secret.Bind("secret_item_set_secret_sync", library.secret_item_set_secret_sync) &&
         secret.Bind("secret_service_encode_dbus_secret", library.secret_service_encode_dbus_secret) &&
         secret.Bind("secret_service_ensure_session_sync", library.secret_service_ensure_session_sync) &&
         secret.Bind("secret_service_search_for_dbus_paths_sync",
                     library.secret_service_search_for_dbus_paths_sync) &&
         secret.Bind("secret_value_get", library.secret_value_get) &&
         secret.Bind("secret_value_new", library.secret_value_new) &&
         secret.Bind("secret_value_unref", library.secret_value_unref);
}

/// SecretService's own constructor would have every instance use the connection that GLib shares with the
/// host, and which ends the process with the bus. This type is the same without it, and holds no code of
/// ours: types are there until the process ends, also when we are long unloaded.
bool MakeServiceType() {
  decltype(&::g_type_from_name) from_name = nullptr;
  decltype(&::g_type_register_static) register_static = nullptr;
  decltype(&::g_type_class_ref) class_ref = nullptr;
  decltype(&::g_type_class_peek_parent) peek_parent = nullptr;
  decltype(&::secret_service_get_type) service_type = nullptr;
  const pal::SystemLibrary gobject("libgobject-2.0.so.0");
  const pal::SystemLibrary secret("libsecret-1.so.0");
  if (!gobject.Bind("g_type_from_name", from_name) ||
      !gobject.Bind("g_type_register_static", register_static) ||
      !gobject.Bind("g_type_class_ref", class_ref) ||
      !gobject.Bind("g_type_class_peek_parent", peek_parent) ||
      !secret.Bind("secret_service_get_type", service_type)) {
    return false;
  }
  constexpr char kName[] = "CustomBidiConnectedSecretService";
  library.connected_service_type = from_name(kName);
  if (library.connected_service_type != 0) {
    return true;  // since an earlier load
  }
  GTypeInfo info{};
  info.class_size = sizeof(SecretServiceClass);
  info.instance_size = sizeof(SecretService);
  const GType type = register_static(service_type(), kName, &info, G_TYPE_FLAG_NONE);
  auto* const own = static_cast<GObjectClass*>(class_ref(type));
  const auto* const proxy = static_cast<const GObjectClass*>(peek_parent(peek_parent(own)));
  own->constructor = proxy->constructor;
  library.connected_service_type = type;
  return true;
}

}  // namespace

const SecretLibrary* TheSecretLibrary() {
  const device::Locked locked(library_lock);
  if (!library_tried) {
    library_tried = true;
    library_whole = LoadGlib() && LoadBus() && LoadSecret() && MakeServiceType();
  }
  return library_whole ? &library : nullptr;
}

}  // namespace custom_bidi::network
