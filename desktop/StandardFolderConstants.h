// What stands behind the path of a folder that the desktop knows, to name one that it doesn't.
//
// Both are null-terminated and live in the library's read-only data, so they can be used at any
// time, static initialisers included.
#pragma once

#include "foundation/LoamExport.h"

/// "/Logs", in the user's library.
extern LOAM_EXPORT char16_t const logs[];
/// "/TemporaryPublicItems", in the machine's folder of caches.
extern LOAM_EXPORT char16_t const temporaryPublicItems[];
