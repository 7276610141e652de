// The user's login items on macOS, where System Events keeps them; there is no such header
// elsewhere.
//
// All functions talk to System Events by Apple events, start it if need be, and block while it
// answers, up to 300 ticks (5 seconds) for an event. Failures are answers: 0 is success, anything
// else the system's own number. A null or negative argument where none may be is a programming
// error, and an assertion ends the process. There is no state and no lock: another program may
// change the list between two calls. Any thread may call.
#pragma once

#include "desktop/LoginItemResult.h"
#include "foundation/LoamExport.h"

struct FSRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;
typedef long CFIndex;
typedef unsigned char Boolean;
typedef int OSStatus;

extern "C" {

/// Copies the list: an array of dictionaries with a `CFURL` under "URL" and a `CFBoolean` under
/// "Hidden", in the order of the list. `*itemsPtr` must be null; the caller releases the array,
/// and there is none on failure. One item that can't be read fails the whole. -4960 if something
/// can't be made, such as a URL of a path.
LOAM_EXPORT OSStatus LIAECopyLoginItems(CFArrayRef* itemsPtr);

/// Puts a file to the end of the list.
LOAM_EXPORT OSStatus LIAEAddRefAtEnd(FSRef const* item, Boolean hideIt);

/// The same for a file's URL; -43 if there is no file behind it.
LOAM_EXPORT OSStatus LIAEAddURLAtEnd(CFURLRef item, Boolean hideIt);

/// Takes an item out. `itemIndex` is its place in the copy of the list, counted from 0.
LOAM_EXPORT OSStatus LIAERemove(CFIndex itemIndex);

/// Brings the list to the wanted state for one program: listed at `path`, a POSIX path, and hidden
/// when it opens, or with `add` false not listed. An item counts as the program's if it has the
/// same file name, so that a program that was moved replaces its old item; of several the last one
/// is taken. `status`, which may be null, gets the number of the last operation on the list: a
/// remove that failed before an add that went well isn't told. The second argument isn't read.
LOAM_EXPORT LoginItemResult SSTryAddDeleteUserLoginItem(CFStringRef path,
                                                        void const* ignored,
                                                        Boolean add,
                                                        OSStatus* status);
}
