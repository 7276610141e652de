#include "files/CFURLCreateFromFileSpec.h"

#include <CoreFoundation/CoreFoundation.h>

#include <string>

#include "files/CFileSpec.h"

CFURLRef CFURLCreateFromFileSpec(CFileSpec const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    CFStringRef const text =
        CFStringCreateWithCString(kCFAllocatorDefault, path.c_str(), kCFStringEncodingUTF8);
    if (!text) return nullptr;
    CFURLRef const url =
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text, kCFURLPOSIXPathStyle, false);
    CFRelease(text);
    return url;
}
