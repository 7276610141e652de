#include "system/platform/CBasicStartupPlatform.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

namespace {

// The path of one of the system's folders; empty if there is none.
NSString* findFolder(short domain, unsigned int folderType, unsigned char create)
{
    FSRef folder;
    if (FSFindFolder(domain, folderType, create, &folder) != noErr) return [NSString string];
    CFURLRef const url = CFURLCreateFromFSRef(kCFAllocatorDefault, &folder);
    if (!url) return [NSString string];
    NSString* const path = [(NSURL*)url path];
    NSString* const copy = path ? [NSString stringWithString:path] : [NSString string];
    CFRelease(url);
    return copy;
}

// The UTF-8 of a string object, with a "?" for what can't be converted.
std::string TextOf(CFStringRef string)
{
    CFRange const all = CFRangeMake(0, CFStringGetLength(string));
    CFIndex size = 0;
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, '?', false, nullptr, 0, &size);
    std::string text(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, '?', false,
                     reinterpret_cast<UInt8*>(text.data()), size, nullptr);
    return text;
}

// Takes over `url`, and hands over the path; null where there is none.
CFStringRef CopyPathAndRelease(CFURLRef url)
{
    CFURLRef const absolute = CFURLCopyAbsoluteURL(url);
    CFRelease(url);
    if (!absolute) return nullptr;
    CFStringRef const path = CFURLCopyFileSystemPath(absolute, kCFURLPOSIXPathStyle);
    CFRelease(absolute);
    return path;
}

class CStartupPlatformMacOSX final : public CBasicStartupPlatform
{
public:
    bool GetBundleExecutable(std::string const& path, std::string& executable) const override
    {
        CFURLRef const folder = CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path.data()),
            static_cast<CFIndex>(path.size()), true);
        if (!folder) return false;
        CFBundleRef const bundle = CFBundleCreate(kCFAllocatorDefault, folder);
        CFRelease(folder);
        if (!bundle) return false;
        CFURLRef const program = CFBundleCopyExecutableURL(bundle);
        CFRelease(bundle);
        if (!program) return false;
        CFStringRef const programPath = CopyPathAndRelease(program);
        if (!programPath) return false;
        executable = TextOf(programPath);
        CFRelease(programPath);
        return true;
    }

    std::string GetUserLibrary() const override
    {
        @autoreleasepool {
            return [findFolder(kUserDomain, kDomainLibraryFolderType, false) UTF8String];
        }
    }

    bool IsSystemAtLeast(int major, int minor) const override
    {
        @autoreleasepool {
            NSOperatingSystemVersion const version = {major, minor, 0};
            return [[NSProcessInfo processInfo] isOperatingSystemAtLeastVersion:version];
        }
    }
};

}  // namespace

CBasicStartupPlatform* NewStartupPlatform()
{
    return new CStartupPlatformMacOSX;
}
