#pragma once

#include <libsecret/secret.h>

#include <memory>

namespace custom_bidi::network {

/// The functions of libsecret, and of GLib below it, that are used here, with the names and types of their
/// own headers.
struct SecretLibrary {
  decltype(&::g_error_free) g_error_free;
  decltype(&::g_hash_table_unref) g_hash_table_unref;
  decltype(&::g_main_context_iteration) g_main_context_iteration;
  decltype(&::g_main_context_new) g_main_context_new;
  decltype(&::g_main_context_pop_thread_default) g_main_context_pop_thread_default;
  decltype(&::g_main_context_push_thread_default) g_main_context_push_thread_default;
  decltype(&::g_main_context_unref) g_main_context_unref;
  decltype(&::g_strfreev) g_strfreev;
  decltype(&::g_variant_get_child) g_variant_get_child;
  decltype(&::g_variant_new) g_variant_new;
  decltype(&::g_variant_new_parsed) g_variant_new_parsed;
  decltype(&::g_variant_unref) g_variant_unref;

  decltype(&::g_object_unref) g_object_unref;

  decltype(&::g_cancellable_cancel) g_cancellable_cancel;
  decltype(&::g_cancellable_new) g_cancellable_new;
  decltype(&::g_dbus_connection_call_sync) g_dbus_connection_call_sync;
  decltype(&::g_dbus_connection_new_for_address_sync) g_dbus_connection_new_for_address_sync;
  decltype(&::g_dbus_error_quark) g_dbus_error_quark;
  decltype(&::g_dbus_proxy_get_name_owner) g_dbus_proxy_get_name_owner;
  decltype(&::g_dbus_proxy_get_object_path) g_dbus_proxy_get_object_path;
  decltype(&::g_free) g_free;
  decltype(&::g_initable_new) g_initable_new;
  decltype(&::g_io_error_quark) g_io_error_quark;

  decltype(&::secret_attributes_build) secret_attributes_build;
  decltype(&::secret_collection_for_alias_sync) secret_collection_for_alias_sync;
  decltype(&::secret_collection_get_locked) secret_collection_get_locked;
  decltype(&::secret_error_get_quark) secret_error_get_quark;
  decltype(&::secret_item_get_secret) secret_item_get_secret;
  decltype(&::secret_item_load_secret_sync) secret_item_load_secret_sync;
  decltype(&::secret_item_new_for_dbus_path_sync) secret_item_new_for_dbus_path_sync;
  decltype(&::secret_item_set_secret_sync) secret_item_set_secret_sync;
  decltype(&::secret_service_encode_dbus_secret) secret_service_encode_dbus_secret;
  decltype(&::secret_service_ensure_session_sync) secret_service_ensure_session_sync;
  decltype(&::secret_service_search_for_dbus_paths_sync) secret_service_search_for_dbus_paths_sync;
  decltype(&::secret_value_get) secret_value_get;
  decltype(&::secret_value_new) secret_value_new;
  decltype(&::secret_value_unref) secret_value_unref;

  /// A SecretService for the connection that it is given.
  GType connected_service_type;
};

/// libsecret, loaded at the first call and mapped from then on; null when the machine has none.
const SecretLibrary* TheSecretLibrary();

/// Gives back what comes from libsecret and GLib: what is not listed is a GObject.
struct FreeSecretThing {
  void operator()(GError* error) const { TheSecretLibrary()->g_error_free(error); }
  void operator()(GHashTable* table) const { TheSecretLibrary()->g_hash_table_unref(table); }
  void operator()(GVariant* variant) const { TheSecretLibrary()->g_variant_unref(variant); }
  void operator()(SecretValue* value) const { TheSecretLibrary()->secret_value_unref(value); }
  void operator()(gchar* text) const { TheSecretLibrary()->g_free(text); }
  void operator()(gchar** texts) const { TheSecretLibrary()->g_strfreev(texts); }
  void operator()(gpointer object) const { TheSecretLibrary()->g_object_unref(object); }
};
template <class Thing>
using Owned = std::unique_ptr<Thing, FreeSecretThing>;

}  // namespace custom_bidi::network
