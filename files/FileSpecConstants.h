// Constants of the file specifiers: the names of well-known places, and the characters of a URL.
//
// All are null-terminated and live in the library's read-only data, so they can be used at any
// time, static initialisers included.
#pragma once

#include "foundation/LoamExport.h"

extern LOAM_EXPORT char16_t const s_tmpPath[];               ///< "/tmp"
extern LOAM_EXPORT char16_t const s_homePath[];              ///< "~", which nothing expands
extern LOAM_EXPORT char16_t const s_rootPath[];              ///< "/"
extern LOAM_EXPORT char16_t const s_dot[];                   ///< "."
extern LOAM_EXPORT char16_t const s_dotDot[];                ///< ".."
extern LOAM_EXPORT char16_t const s_underscore[];            ///< "_"
extern LOAM_EXPORT char16_t const s_underscoreUnderscore[];  ///< "__"
extern LOAM_EXPORT char16_t const s_mountPoint[];            ///< "/Volumes/", on every system

/// The bytes that stay as they are in a URL: the reserved and the unreserved characters of RFC
/// 3986, sections 2.2 and 2.3, and the percent sign.
extern LOAM_EXPORT char const CFileSpecURLReservedAndUnreservedCharacters[];
