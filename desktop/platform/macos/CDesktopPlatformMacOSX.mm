#include "desktop/platform/CBasicDesktopPlatform.h"
#include "desktop/platform/macos/FileObjects.h"
#include "desktop/platform/macos/StAutoreleasePool.h"
#include "foundation/platform/macos/StReference.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

#include <cstdlib>
#include <memory>

#include <sys/mount.h>

namespace {

// Absent where the dictionary has no such key.
std::optional<long> IntegerIn(NSDictionary* values, NSURLResourceKey key)
{
    auto* const number = (NSNumber*)[values objectForKey:key];
    return number ? std::optional<long>(number.integerValue) : std::nullopt;
}

std::optional<bool> TruthIn(NSDictionary* values, NSURLResourceKey key)
{
    auto* const number = (NSNumber*)[values objectForKey:key];
    return number ? std::optional<bool>(number.boolValue) : std::nullopt;
}

class CDesktopPlatformMacOSX final : public CBasicDesktopPlatform
{
public:
    FolderLookup FindFolder(short domain, unsigned int type, std::u16string& path) override
    {
        StAutoreleasePool const pool;
        FSRef folder;
        if (FSFindFolder(domain, type, kCreateFolder, &folder) != noErr) return kFolderUnknown;
        return GetPathOf(folder, path) ? kFolderFound : kFolderPathless;
    }

    bool GetVolumeOfFolder(short domain, unsigned int type, short& volume) override
    {
        FSRef folder;
        FSCatalogInfo info;
        if (FSFindFolder(domain, type, kCreateFolder, &folder) != noErr ||
            FSGetCatalogInfo(&folder, kFSCatInfoVolume, &info, nullptr, nullptr, nullptr) !=
                noErr) {
            return false;
        }
        volume = info.volume;
        return true;
    }

    bool MountServerVolume(std::string const& url, short& volume) override
    {
        StReference<CFStringRef> const text(
            CFStringCreateWithCString(kCFAllocatorDefault, url.c_str(), kCFStringEncodingUTF8));
        if (!text.Get()) return false;
        StReference<CFURLRef> const server(
            CFURLCreateWithString(kCFAllocatorDefault, text.Get(), nullptr));
        return server.Get() && FSMountServerVolumeSync(server.Get(), nullptr, nullptr, nullptr,
                                                       &volume, 0) == noErr;
    }

    std::vector<std::string> GetMountPoints() override
    {
        // Not getmntinfo, whose list all threads share.
        struct statfs* list = nullptr;
        int const count = getmntinfo_r_np(&list, MNT_NOWAIT);
        std::unique_ptr<struct statfs, void (*)(void*)> const owner(list, std::free);
        std::vector<std::string> points;
        for (int i = 0; i < count; ++i)
            points.emplace_back(list[i].f_mntonname);
        return points;
    }

    bool HasFileTypes() const override { return true; }

    bool GetAttributes(std::u16string const& path, DesktopAttributes& attributes) override
    {
        StAutoreleasePool const pool;
        NSDictionary* const found =
            [[NSFileManager defaultManager] attributesOfItemAtPath:StringOf(path) error:nullptr];
        if (!found) return false;
        attributes.mType = [(NSNumber*)[found objectForKey:NSFileHFSTypeCode] longValue];
        attributes.mCreator = [(NSNumber*)[found objectForKey:NSFileHFSCreatorCode] longValue];
        auto* const date = (NSDate*)[found objectForKey:NSFileCreationDate];
        if (date) attributes.mCreationDate = date.timeIntervalSince1970;
        return true;
    }

    void
    SetTypeCreator(std::u16string const& path, unsigned int type, unsigned int creator) override
    {
        StAutoreleasePool const pool;
        NSDictionary* const codes = [NSDictionary
            dictionaryWithObjectsAndKeys:[NSNumber numberWithLong:type], NSFileHFSTypeCode,
                                         [NSNumber numberWithLong:creator], NSFileHFSCreatorCode,
                                         nil];
        [[NSFileManager defaultManager] setAttributes:codes
                                         ofItemAtPath:StringOf(path)
                                                error:nullptr];
    }

    std::u16string GetDisplayName(std::u16string const& path) override
    {
        StAutoreleasePool const pool;
        return TextOf([[NSFileManager defaultManager] displayNameAtPath:StringOf(path)]);
    }

    bool GetResourceValues(std::u16string const& path, DesktopResourceValues& values) override
    {
        StAutoreleasePool const pool;
        NSArray* const keys = [NSArray
            arrayWithObjects:NSURLLabelNumberKey, NSURLIsHiddenKey, NSURLIsPackageKey, nil];
        NSDictionary* const found = [FileURL(path) resourceValuesForKeys:keys error:nullptr];
        if (!found) return false;
        values.mLabel = IntegerIn(found, NSURLLabelNumberKey);
        values.mIsHidden = TruthIn(found, NSURLIsHiddenKey);
        values.mIsPackage = TruthIn(found, NSURLIsPackageKey);
        return true;
    }

    void SetLabel(std::u16string const& path, unsigned int label) override
    {
        StAutoreleasePool const pool;
        StReference<CFURLRef> const url(CreateFileURL(path));
        if (!url.Get()) return;
        CFURLSetResourcePropertyForKey(url.Get(), (CFStringRef)NSURLLabelNumberKey,
                                       [NSNumber numberWithUnsignedInt:label], nullptr);
    }

    bool MakeReplacementFolder(std::u16string const& path, std::u16string& folder) override
    {
        StAutoreleasePool const pool;
        NSURL* const file = FileURL(path);
        if (!file) return false;
        NSURL* const made =
            [[NSFileManager defaultManager] URLForDirectory:NSItemReplacementDirectory
                                                   inDomain:NSUserDomainMask
                                          appropriateForURL:file
                                                     create:YES
                                                      error:nullptr];
        if (!made) return false;
        folder = TextOf(made.path);
        return true;
    }
};

}  // namespace

CBasicDesktopPlatform* NewDesktopPlatform()
{
    return new CDesktopPlatformMacOSX;
}
