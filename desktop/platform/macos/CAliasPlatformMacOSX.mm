#include "desktop/CFileSpecMacOSX.h"
#include "desktop/platform/CBasicAliasPlatform.h"
#include "desktop/platform/macos/FileObjects.h"
#include "desktop/platform/macos/StAutoreleasePool.h"
#include "foundation/platform/macos/StReference.h"
#include "system/platform/macos/NSTaskSafeWait.h"
#include "text/CUTFConverter.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

namespace {

// As the system spells paths to itself.
NSURL* URLForFile(std::u16string const& path)
{
    std::string path8bit;
    CUTFConverter::ConvertUTF16toUTF8(path, path8bit, CUTFConverter::kLenientMode);
    return [NSURL fileURLWithFileSystemRepresentation:path8bit.c_str()
                                          isDirectory:NO
                                        relativeToURL:nil];
}

NSArray* ArrayOf(std::vector<std::u16string> const& texts)
{
    NSMutableArray* const array = [NSMutableArray arrayWithCapacity:texts.size()];
    for (std::u16string const& text : texts)
        [array addObject:StringOf(text)];
    return array;
}

std::string BytesOf(NSData* data)
{
    return std::string(static_cast<char const*>(data.bytes), data.length);
}

// UTF-8; empty where no path leads.
std::string RootPath(FSRef const& root)
{
    StReference<CFURLRef> const url(CFURLCreateFromFSRef(kCFAllocatorDefault, &root));
    if (!url.Get()) return {};
    StReference<CFStringRef> const text(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle));
    if (!text.Get()) return {};
    CFRange const whole = CFRangeMake(0, CFStringGetLength(text.Get()));
    CFIndex size = 0;
    CFStringGetBytes(text.Get(), whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size);
    std::string path(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(text.Get(), whole, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(path.data()), size, &size);
    return path;
}

class CAliasPlatformMacOSX final : public CBasicAliasPlatform
{
public:
    AliasWay GetAliasWay() const override
    {
        bool const hasURLs =
            [NSURL respondsToSelector:@selector(URLByResolvingAliasFileAtURL:options:error:)];
        return hasURLs ? kAliasesByURL : kAliasesByReference;
    }

    bool IsAliasFile(std::u16string const& path) const override
    {
        StAutoreleasePool const pool;
        id isAlias = nil;
        [CFileSpecMacOSX(path, false).GetNSURL() getResourceValue:&isAlias
                                                           forKey:NSURLIsAliasFileKey
                                                            error:nullptr];
        return [(NSNumber*)isAlias boolValue];
    }

    bool FollowURL(std::u16string const& path, FollowedURL& followed) const override
    {
        StAutoreleasePool const pool;
        NSURL* const asked = URLForFile(path);
        if (!asked) return false;
        NSURL* const found = [NSURL URLByResolvingAliasFileAtURL:asked
                                                         options:NSURLBookmarkResolutionWithoutUI
                                                           error:nullptr];
        if (!found) return false;
        StReference<CFStringRef> const target(
            CFURLCopyFileSystemPath((CFURLRef)found, kCFURLPOSIXPathStyle));
        if (!target.Get()) return false;
        followed.mAskedPath = TextOf(asked.path);
        followed.mFoundPath = TextOf(found.path);
        followed.mTarget = TextOf((NSString*)target.Get());
        return true;
    }

    bool FollowReference(std::u16string const& path,
                         bool& wasAlias,
                         std::u16string& target) const override
    {
        FSRef file;
        if (!CFileSpecMacOSX(path, false).GetFSRef(file)) return false;
        Boolean isFolder = false;
        Boolean isAlias = false;
        if (FSResolveAliasFile(&file, true, &isFolder, &isAlias) != noErr) return false;
        wasAlias = isAlias;
        return GetPathOf(file, target);
    }

    bool RunImageTool(std::vector<std::u16string> const& arguments,
                      double seconds,
                      std::string& output) const override
    {
        StAutoreleasePool const pool;
        // A tool that can't be launched raises an exception.
        @try {
            NSTask* const task = [[[NSTask alloc] init] autorelease];
            NSPipe* const pipe = [NSPipe pipe];
            [task setLaunchPath:@"/usr/bin/hdiutil"];
            [task setArguments:ArrayOf(arguments)];
            [task setStandardOutput:pipe];
            [task launch];
            // Kept on purpose: the answer is read behind the wait, so a tool that writes more than
            // the pipe holds is stopped by the time limit.
            [task waitUntilExitWithTimeout:static_cast<float>(seconds)];
            output = BytesOf([pipe.fileHandleForReading readDataToEndOfFile]);
        } @catch (NSException*) {
            return false;
        }
        return true;
    }

    std::vector<std::string> GetVolumeRoots() const override
    {
        std::vector<std::string> roots;
        FSRef root;
        for (ItemCount index = 1; FSGetVolumeInfo(kFSInvalidVolumeRefNum, index, nullptr,
                                                  kFSVolInfoNone, nullptr, nullptr, &root) == noErr;
             ++index) {
            roots.push_back(RootPath(root));
        }
        return roots;
    }
};

}  // namespace

CBasicAliasPlatform* NewAliasPlatform()
{
    return new CAliasPlatformMacOSX;
}
