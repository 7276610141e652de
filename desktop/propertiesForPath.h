// What is known of the volume that a path is on, as a dictionary of macOS; there is no such header
// elsewhere. Values are strings, and the text of each key is its own name.
//
// Any thread may call, one without an autorelease pool of its own too, though then the answer
// leaks. A server that doesn't answer can block the call.
#pragma once

#include "foundation/LoamExport.h"

LOAM_OBJC_CLASS(NSMutableDictionary);
LOAM_OBJC_CLASS(NSString);

// In every answer.

extern LOAM_EXPORT NSString* const NSWorkspace_VPfstypename;
extern LOAM_EXPORT NSString* const NSWorkspace_VPmntonname;
/// The mount's source; for a volume of an Apple file server the server's name.
extern LOAM_EXPORT NSString* const NSWorkspace_VPmntfromname;

// Of a local device, as far as they are known.

/// What the device and those above it call themselves, split by "; ".
extern LOAM_EXPORT NSString* const NSWorkspace_VPdeviceinfo;
/// Path or URL of the disk image that holds the volume.
extern LOAM_EXPORT NSString* const NSWorkspace_VPimagefilepath;
extern LOAM_EXPORT NSString* const NSWorkspace_VPconnectiontype;
extern LOAM_EXPORT NSString* const NSWorkspace_VPpartitionscheme;
/// "Rotational", "Solid State" or any other word.
extern LOAM_EXPORT NSString* const NSWorkspace_VPmediumtype;

/// Of a server's volume, where it is known.
extern LOAM_EXPORT NSString* const NSWorkspace_VPserverURL;

/// Autoreleased; nil if `path` isn't there.
LOAM_EXPORT NSMutableDictionary* propertiesForPath(NSString* path);
