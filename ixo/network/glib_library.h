#pragma once

#include <gio/gio.h>

#include <memory>

namespace custom_bidi::network {

/// The functions of GLib that are used here, with the names and types of its own headers.
struct GlibLibrary {
  decltype(&::g_error_free) g_error_free;
  decltype(&::g_free) g_free;
  decltype(&::g_main_context_iteration) g_main_context_iteration;
  decltype(&::g_main_context_new) g_main_context_new;
  decltype(&::g_main_context_pop_thread_default) g_main_context_pop_thread_default;
  decltype(&::g_main_context_push_thread_default) g_main_context_push_thread_default;
  decltype(&::g_main_context_unref) g_main_context_unref;
  decltype(&::g_source_attach) g_source_attach;
  decltype(&::g_source_destroy) g_source_destroy;
  decltype(&::g_source_set_callback) g_source_set_callback;
  decltype(&::g_source_unref) g_source_unref;
  decltype(&::g_timeout_source_new) g_timeout_source_new;
  decltype(&::g_variant_get_boolean) g_variant_get_boolean;
  decltype(&::g_variant_get_child) g_variant_get_child;
  decltype(&::g_variant_get_child_value) g_variant_get_child_value;
  decltype(&::g_variant_get_fixed_array) g_variant_get_fixed_array;
  decltype(&::g_variant_is_of_type) g_variant_is_of_type;
  decltype(&::g_variant_n_children) g_variant_n_children;
  decltype(&::g_variant_new) g_variant_new;
  decltype(&::g_variant_new_fixed_array) g_variant_new_fixed_array;
  decltype(&::g_variant_new_parsed) g_variant_new_parsed;
  decltype(&::g_variant_unref) g_variant_unref;

  decltype(&::g_object_unref) g_object_unref;

  decltype(&::g_cancellable_cancel) g_cancellable_cancel;
  decltype(&::g_cancellable_new) g_cancellable_new;
  decltype(&::g_dbus_connection_call_sync) g_dbus_connection_call_sync;
  decltype(&::g_dbus_connection_new_for_address) g_dbus_connection_new_for_address;
  decltype(&::g_dbus_connection_new_for_address_finish) g_dbus_connection_new_for_address_finish;
  decltype(&::g_dbus_error_get_remote_error) g_dbus_error_get_remote_error;
  decltype(&::g_io_error_quark) g_io_error_quark;
};

/// GLib with its D-Bus, loaded at the first call and mapped from then on; null when the machine has none.
const GlibLibrary* TheGlibLibrary();

/// A GVariantType is its text; the macro that says so needs GLib at link time.
inline const GVariantType* VariantType(const char* text) {
  return reinterpret_cast<const GVariantType*>(text);
}

/// Gives back what comes from GLib.
struct FreeGlibThing {
  void operator()(GError* error) const { TheGlibLibrary()->g_error_free(error); }
  void operator()(GVariant* variant) const { TheGlibLibrary()->g_variant_unref(variant); }
  void operator()(GDBusConnection* connection) const { TheGlibLibrary()->g_object_unref(connection); }
  void operator()(GCancellable* cancellable) const { TheGlibLibrary()->g_object_unref(cancellable); }
};
template <class Thing>
using Owned = std::unique_ptr<Thing, FreeGlibThing>;

}  // namespace custom_bidi::network
