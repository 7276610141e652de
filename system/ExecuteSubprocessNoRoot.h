// Short-lived helper programs on macOS, in the desktop's own types; there is no such header
// elsewhere. `CBasicProcessServicesImp::ExecuteSubprocess` tells what is collected and how a
// program is ended that takes too long.
#pragma once

#include "foundation/LoamExport.h"

LOAM_OBJC_CLASS(NSArray);
LOAM_OBJC_CLASS(NSString);

/// The desktop's own form of `ExecuteSubprocess`, which can tell that there is no text: null where
/// the program can't be started and where its output isn't UTF-8. The text is autoreleased, as is
/// much of what is made on the way: the calling thread needs an autorelease pool. `arguments` holds
/// strings. `status`, where it isn't null, becomes -43 if there is no file at `launchPath` and
/// otherwise 0, whatever the program's own exit status. Platform exceptions don't leave the call.
LOAM_EXPORT NSString* ExecuteSubprocessNoRoot(NSString* launchPath,
                                              NSArray* arguments,
                                              int* status,
                                              float timeoutSeconds);
