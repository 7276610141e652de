#include "foundation/platform/macos/StReference.h"
#include "system/platform/CBasicStartupPlatform.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

namespace {

// The path of one of the system's folders; empty if there is none.
NSString* findFolder(short domain, unsigned int folderType, unsigned char create)
{
    FSRef folder;
    if (FSFindFolder(domain, folderType, create, &folder) != noErr) return [NSString string];
    StReference<CFURLRef> const url(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
    NSString* const path = [(NSURL*)url.Get() path];
    return path ? [NSString stringWithString:path] : [NSString string];
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

class CStartupPlatformMacOSX final : public CBasicStartupPlatform
{
public:
    bool GetBundleExecutable(std::string const& path, std::string& executable) const override
    {
        StReference<CFURLRef> const folder(CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path.data()),
            static_cast<CFIndex>(path.size()), true));
        if (!folder.Get()) return false;
        StReference<CFBundleRef> const bundle(CFBundleCreate(kCFAllocatorDefault, folder.Get()));
        if (!bundle.Get()) return false;
        StReference<CFURLRef> const program(CFBundleCopyExecutableURL(bundle.Get()));
        if (!program.Get()) return false;
        StReference<CFURLRef> const absolute(CFURLCopyAbsoluteURL(program.Get()));
        if (!absolute.Get()) return false;
        StReference<CFStringRef> const text(
            CFURLCopyFileSystemPath(absolute.Get(), kCFURLPOSIXPathStyle));
        if (!text.Get()) return false;
        executable = TextOf(text.Get());
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
