// The functions of libavahi-client that are called, loaded with the first connection to the daemon.
#pragma once

#include "foundation/platform/linux/LateLibrary.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/strlst.h>

namespace avahi {

inline constinit CLateLibrary library("libavahi-client.so.3");
LOAM_LATE_FUNCTION(avahi_, client_free);
LOAM_LATE_FUNCTION(avahi_, client_get_host_name);
LOAM_LATE_FUNCTION(avahi_, client_new);
LOAM_LATE_FUNCTION(avahi_, entry_group_add_service_strlst);
LOAM_LATE_FUNCTION(avahi_, entry_group_commit);
LOAM_LATE_FUNCTION(avahi_, entry_group_free);
LOAM_LATE_FUNCTION(avahi_, entry_group_new);
LOAM_LATE_FUNCTION(avahi_, entry_group_reset);
LOAM_LATE_FUNCTION(avahi_, service_browser_free);
LOAM_LATE_FUNCTION(avahi_, service_browser_new);
LOAM_LATE_FUNCTION(avahi_, service_resolver_free);
LOAM_LATE_FUNCTION(avahi_, service_resolver_new);
LOAM_LATE_FUNCTION(avahi_, string_list_add_arbitrary);
LOAM_LATE_FUNCTION(avahi_, string_list_free);
LOAM_LATE_FUNCTION(avahi_, string_list_get_next);
LOAM_LATE_FUNCTION(avahi_, string_list_get_size);
LOAM_LATE_FUNCTION(avahi_, string_list_get_text);

}  // namespace avahi
