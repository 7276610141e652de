#include "desktop/propertiesForPath.h"

#include "desktop/VolumeProperties.h"

#import <Foundation/Foundation.h>

NSString* const NSWorkspace_VPfstypename = @"NSWorkspace_VPfstypename";
NSString* const NSWorkspace_VPmntonname = @"NSWorkspace_VPmntonname";
NSString* const NSWorkspace_VPmntfromname = @"NSWorkspace_VPmntfromname";
NSString* const NSWorkspace_VPdeviceinfo = @"NSWorkspace_VPdeviceinfo";
NSString* const NSWorkspace_VPimagefilepath = @"NSWorkspace_VPimagefilepath";
NSString* const NSWorkspace_VPconnectiontype = @"NSWorkspace_VPconnectiontype";
NSString* const NSWorkspace_VPpartitionscheme = @"NSWorkspace_VPpartitionscheme";
NSString* const NSWorkspace_VPmediumtype = @"NSWorkspace_VPmediumtype";
NSString* const NSWorkspace_VPserverURL = @"NSWorkspace_VPserverURL";

NSMutableDictionary* propertiesForPath(NSString* path)
{
    // An empty string and half a surrogate pair have no such form, and asking for it would throw.
    if (path.length == 0 || !path.UTF8String) return nil;
    VolumeProperties const properties = PropertiesForPath(path.fileSystemRepresentation);
    if (properties.empty()) return nil;
    NSMutableDictionary* const dictionary =
        [NSMutableDictionary dictionaryWithCapacity:properties.size()];
    for (auto const& [key, value] : properties) {
        NSString* const text = [NSString stringWithUTF8String:value.c_str()];
        if (!text) continue;
        [dictionary setObject:text forKey:[NSString stringWithUTF8String:key.c_str()]];
    }
    return dictionary;
}
