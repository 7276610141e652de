// From a file specifier to the URL object of macOS; there is no such header elsewhere.
#pragma once

#include "foundation/LoamExport.h"

class CFileSpec;

typedef const struct __CFURL* CFURLRef;

/// A file URL of the path, not marked as a folder's, which the caller releases with `CFRelease`;
/// null if the path can't be made into a string. Nothing is looked up in the file system but what
/// CoreFoundation does for a relative path.
LOAM_EXPORT CFURLRef CFURLCreateFromFileSpec(CFileSpec const& spec);
