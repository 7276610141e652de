// The functions of libsecret and of what it stands on that are called, loaded with the first
// question for a password.
#pragma once

#include "foundation/platform/linux/LateLibrary.h"

// For the path of a session, which is told nowhere else.
#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

namespace secret {

inline constinit CLateLibrary library("libsecret-1.so.0");
LOAM_LATE_FUNCTION(secret_, collection_for_alias_sync);
LOAM_LATE_FUNCTION(secret_, collection_get_locked);
LOAM_LATE_FUNCTION(secret_, item_delete_sync);
LOAM_LATE_FUNCTION(secret_, item_get_secret);
LOAM_LATE_FUNCTION(secret_, item_set_secret_sync);
LOAM_LATE_FUNCTION(secret_, service_get_session_dbus_path);
LOAM_LATE_FUNCTION(secret_, service_get_type);
LOAM_LATE_FUNCTION(secret_, service_lock_sync);
LOAM_LATE_FUNCTION(secret_, service_open_sync);
LOAM_LATE_FUNCTION(secret_, service_search_sync);
LOAM_LATE_FUNCTION(secret_, service_store_sync);
LOAM_LATE_FUNCTION(secret_, service_unlock_sync);
LOAM_LATE_FUNCTION(secret_, value_get);
LOAM_LATE_FUNCTION(secret_, value_new);
LOAM_LATE_FUNCTION(secret_, value_unref);

}  // namespace secret

// Of GLib, GObject and GIO, which come with libsecret.
namespace gio {

using secret::library;
LOAM_LATE_FUNCTION(g_, bus_get_sync);
LOAM_LATE_FUNCTION(g_, cancellable_cancel);
LOAM_LATE_FUNCTION(g_, cancellable_new);
LOAM_LATE_FUNCTION(g_, dbus_connection_call);
LOAM_LATE_FUNCTION(g_, dbus_connection_call_sync);
LOAM_LATE_FUNCTION(g_, dbus_connection_is_closed);
LOAM_LATE_FUNCTION(g_, dbus_connection_set_exit_on_close);
LOAM_LATE_FUNCTION(g_, dbus_proxy_get_connection);
LOAM_LATE_FUNCTION(g_, error_free);
LOAM_LATE_FUNCTION(g_, free);
LOAM_LATE_FUNCTION(g_, hash_table_insert);
LOAM_LATE_FUNCTION(g_, hash_table_new_full);
LOAM_LATE_FUNCTION(g_, hash_table_unref);
LOAM_LATE_FUNCTION(g_, list_free_full);
LOAM_LATE_FUNCTION(g_, main_context_iteration);
LOAM_LATE_FUNCTION(g_, main_context_new);
LOAM_LATE_FUNCTION(g_, main_context_pop_thread_default);
LOAM_LATE_FUNCTION(g_, main_context_push_thread_default);
LOAM_LATE_FUNCTION(g_, main_context_ref);
LOAM_LATE_FUNCTION(g_, main_context_unref);
LOAM_LATE_FUNCTION(g_, object_ref);
LOAM_LATE_FUNCTION(g_, object_unref);
LOAM_LATE_FUNCTION(g_, str_equal);
LOAM_LATE_FUNCTION(g_, str_hash);
LOAM_LATE_FUNCTION(g_, strdup);
LOAM_LATE_FUNCTION(g_, type_class_ref);
LOAM_LATE_FUNCTION(g_, type_register_static_simple);
LOAM_LATE_FUNCTION(g_, utf8_validate);
LOAM_LATE_FUNCTION(g_, variant_new);
LOAM_LATE_FUNCTION(g_, variant_unref);

}  // namespace gio
