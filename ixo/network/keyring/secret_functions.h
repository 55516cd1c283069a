#pragma once

#include <libsecret/secret.h>

#include <memory>

#include "base/late_functions.h"

namespace custom_bidi::network {

/// The functions of libsecret, and of GLib below it, that are used here.
struct SecretFunctions : base::LateFunctions<&::g_cancellable_cancel,
                                             &::g_cancellable_new,
                                             &::g_dbus_connection_call_sync,
                                             &::g_dbus_connection_new_for_address_sync,
                                             &::g_dbus_error_quark,
                                             &::g_dbus_proxy_get_name_owner,
                                             &::g_dbus_proxy_get_object_path,
                                             &::g_error_free,
                                             &::g_free,
                                             &::g_hash_table_unref,
                                             &::g_initable_new,
                                             &::g_io_error_quark,
                                             &::g_main_context_iteration,
                                             &::g_main_context_new,
                                             &::g_main_context_pop_thread_default,
                                             &::g_main_context_push_thread_default,
                                             &::g_main_context_unref,
                                             &::g_object_unref,
                                             &::g_strfreev,
                                             &::g_type_class_peek_parent,
                                             &::g_type_class_ref,
                                             &::g_type_from_name,
                                             &::g_type_register_static,
                                             &::g_variant_get_child,
                                             &::g_variant_new,
                                             &::g_variant_new_parsed,
                                             &::g_variant_unref,
                                             &::secret_attributes_build,
                                             &::secret_collection_for_alias_sync,
                                             &::secret_collection_get_locked,
                                             &::secret_error_get_quark,
                                             &::secret_item_get_secret,
                                             &::secret_item_load_secret_sync,
                                             &::secret_item_new_for_dbus_path_sync,
                                             &::secret_item_set_secret_sync,
                                             &::secret_service_encode_dbus_secret,
                                             &::secret_service_ensure_session_sync,
                                             &::secret_service_get_type,
                                             &::secret_service_search_for_dbus_paths_sync,
                                             &::secret_value_get,
                                             &::secret_value_new,
                                             &::secret_value_unref> {
  SecretFunctions();

  /// A SecretService for the connection that it is given.
  GType connected_service_type = 0;
};

/// libsecret, loaded at the first call and mapped from then on; null when the machine has none.
const SecretFunctions* TheSecretFunctions();

/// Gives back what comes from libsecret and GLib: what is not listed is a GObject.
struct FreeSecretThing {
  void operator()(GError* error) const { TheSecretFunctions()->Call<&::g_error_free>(error); }
  void operator()(GHashTable* table) const { TheSecretFunctions()->Call<&::g_hash_table_unref>(table); }
  void operator()(GVariant* variant) const { TheSecretFunctions()->Call<&::g_variant_unref>(variant); }
  void operator()(SecretValue* value) const { TheSecretFunctions()->Call<&::secret_value_unref>(value); }
  void operator()(gchar* text) const { TheSecretFunctions()->Call<&::g_free>(text); }
  void operator()(gchar** texts) const { TheSecretFunctions()->Call<&::g_strfreev>(texts); }
  void operator()(gpointer object) const { TheSecretFunctions()->Call<&::g_object_unref>(object); }
};
template <class Thing>
using Owned = std::unique_ptr<Thing, FreeSecretThing>;

}  // namespace custom_bidi::network
