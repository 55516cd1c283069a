#include "ixo/network/glib_library.h"

#include "ixo/support/objects.h"
#include "pal/system_library.h"

namespace custom_bidi::network {
namespace {

SRWLOCK library_lock = SRWLOCK_INIT;
bool library_tried = false;
bool library_whole = false;
GlibLibrary library;

bool LoadBase() {
  const pal::SystemLibrary glib("libglib-2.0.so.0");
  return glib.Bind("g_error_free", library.g_error_free) && glib.Bind("g_free", library.g_free) &&
         glib.Bind("g_main_context_iteration", library.g_main_context_iteration) &&
         glib.Bind("g_main_context_new", library.g_main_context_new) &&
         glib.Bind("g_main_context_pop_thread_default", library.g_main_context_pop_thread_default) &&
         glib.Bind("g_main_context_push_thread_default", library.g_main_context_push_thread_default) &&
         glib.Bind("g_main_context_unref", library.g_main_context_unref) &&
         glib.Bind("g_source_attach", library.g_source_attach) &&
         glib.Bind("g_source_destroy", library.g_source_destroy) &&
         glib.Bind("g_source_set_callback", library.g_source_set_callback) &&
         glib.Bind("g_source_unref", library.g_source_unref) &&
         glib.Bind("g_timeout_source_new", library.g_timeout_source_new) &&
         glib.Bind("g_variant_get_boolean", library.g_variant_get_boolean) &&
         glib.Bind("g_variant_get_child", library.g_variant_get_child) &&
         glib.Bind("g_variant_get_child_value", library.g_variant_get_child_value) &&
         glib.Bind("g_variant_get_fixed_array", library.g_variant_get_fixed_array) &&
         glib.Bind("g_variant_is_of_type", library.g_variant_is_of_type) &&
         glib.Bind("g_variant_n_children", library.g_variant_n_children) &&
         glib.Bind("g_variant_new", library.g_variant_new) &&
         glib.Bind("g_variant_new_fixed_array", library.g_variant_new_fixed_array) &&
         glib.Bind("g_variant_new_parsed", library.g_variant_new_parsed) &&
         glib.Bind("g_variant_unref", library.g_variant_unref);
}

bool LoadBus() {
  const pal::SystemLibrary gobject("libgobject-2.0.so.0");
  const pal::SystemLibrary gio("libgio-2.0.so.0");
  return gobject.Bind("g_object_unref", library.g_object_unref) &&
         gio.Bind("g_cancellable_cancel", library.g_cancellable_cancel) &&
         gio.Bind("g_cancellable_new", library.g_cancellable_new) &&
         gio.Bind("g_dbus_connection_call_sync", library.g_dbus_connection_call_sync) &&
         gio.Bind("g_dbus_connection_new_for_address", library.g_dbus_connection_new_for_address) &&
         gio.Bind("g_dbus_connection_new_for_address_finish",
                  library.g_dbus_connection_new_for_address_finish) &&
         gio.Bind("g_dbus_error_get_remote_error", library.g_dbus_error_get_remote_error) &&
         gio.Bind("g_io_error_quark", library.g_io_error_quark);
}

}  // namespace

const GlibLibrary* TheGlibLibrary() {
  const device::Locked locked(library_lock);
  if (!library_tried) {
    library_tried = true;
    library_whole = LoadBase() && LoadBus();
  }
  return library_whole ? &library : nullptr;
}

}  // namespace custom_bidi::network
