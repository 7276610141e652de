#include "desktop/platform/CBasicVolumePlatform.h"

#include "desktop/platform/macos/StAutoreleasePool.h"
#include "foundation/platform/macos/StReference.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>
#import <IOKit/IOBSD.h>
#import <IOKit/IOKitLib.h>

#include <utility>

#include <mach/mach.h>
#include <sys/mount.h>

namespace {

// One reference to an object of the registry.
class StRegistryObject
{
public:
    explicit StRegistryObject(io_object_t object)
        : mObject(object)
    {
    }

    StRegistryObject(StRegistryObject const&) = delete;
    StRegistryObject& operator=(StRegistryObject const&) = delete;

    ~StRegistryObject()
    {
        if (mObject != IO_OBJECT_NULL) IOObjectRelease(mObject);
    }

    io_object_t Get() const { return mObject; }

private:
    io_object_t mObject;  // owned
};

// The right to talk to the registry.
class StRegistryPort
{
public:
    StRegistryPort()
    {
        if (IOMasterPort(bootstrap_port, &mPort) != KERN_SUCCESS) mPort = MACH_PORT_NULL;
    }

    StRegistryPort(StRegistryPort const&) = delete;
    StRegistryPort& operator=(StRegistryPort const&) = delete;

    ~StRegistryPort()
    {
        if (IsThere()) mach_port_deallocate(mach_task_self(), mPort);
    }

    bool IsThere() const { return mPort != MACH_PORT_NULL; }

    mach_port_t Get() const { return mPort; }

private:
    mach_port_t mPort = MACH_PORT_NULL;  // owned
};

RegistryEntries TakeAll(io_iterator_t iterator);

// Empty for nil, and for what has no UTF-8, such as half a surrogate pair.
std::string TextOf(NSString* string)
{
    char const* const text = string.UTF8String;
    return text ? text : std::string();
}

// A device chooses what it calls itself: a text that has no UTF-8 is left out.
void AddValue(NSString* key, id value, RegistryLevel& level)
{
    if ([value isKindOfClass:[NSString class]]) {
        if (char const* const text = ((NSString*)value).UTF8String)
            level.mTexts[TextOf(key)] = text;
    } else if ([value isKindOfClass:[NSData class]]) {
        auto* const data = (NSData*)value;
        level.mData[TextOf(key)].assign(static_cast<char const*>(data.bytes), data.length);
    }
}

class CRegistryEntryMacOSX final : public CBasicRegistryEntry
{
public:
    /// Takes over the reference.
    explicit CRegistryEntryMacOSX(io_registry_entry_t entry)
        : mEntry(entry)
    {
    }

    RegistryEntries GetParents() const override
    {
        io_iterator_t parents = IO_OBJECT_NULL;
        kern_return_t const result =
            IORegistryEntryGetParentIterator(mEntry.Get(), kIOServicePlane, &parents);
        return result == KERN_SUCCESS ? TakeAll(parents) : RegistryEntries();
    }

    RegistryProperties GetProperties() const override
    {
        StAutoreleasePool const pool;
        CFMutableDictionaryRef all = nullptr;
        RegistryProperties properties;
        kern_return_t const result =
            IORegistryEntryCreateCFProperties(mEntry.Get(), &all, kCFAllocatorDefault, 0);
        if (result != KERN_SUCCESS || !all) return properties;
        StReference<CFMutableDictionaryRef> const owner(all);
        auto* const dictionary = (NSDictionary*)all;
        for (NSString* key in dictionary) {
            id const value = [dictionary objectForKey:key];
            AddValue(key, value, properties);
            if (![value isKindOfClass:[NSDictionary class]]) continue;
            RegistryLevel& level = properties.mDictionaries[TextOf(key)];
            auto* const inner = (NSDictionary*)value;
            for (NSString* innerKey in inner)
                AddValue(innerKey, [inner objectForKey:innerKey], level);
        }
        return properties;
    }

    bool ConformsTo(char const* className) const override
    {
        return IOObjectConformsTo(mEntry.Get(), className) != 0;
    }

    std::string GetClassName() const override
    {
        StAutoreleasePool const pool;
        StReference<CFStringRef> const name(IOObjectCopyClass(mEntry.Get()));
        return TextOf((NSString*)name.Get());
    }

private:
    StRegistryObject mEntry;
};

// Takes over the iterator.
RegistryEntries TakeAll(io_iterator_t iterator)
{
    StRegistryObject const owner(iterator);
    RegistryEntries entries;
    if (iterator == IO_OBJECT_NULL) return entries;
    while (io_object_t const entry = IOIteratorNext(iterator))
        entries.push_back(std::make_unique<CRegistryEntryMacOSX>(entry));
    return entries;
}

bool GetVolumeOf(char const* path, FSVolumeRefNum& volume)
{
    FSRef file;
    FSCatalogInfo info;
    if (FSPathMakeRef(reinterpret_cast<UInt8 const*>(path), &file, nullptr) != noErr ||
        FSGetCatalogInfo(&file, kFSCatInfoVolume, &info, nullptr, nullptr, nullptr) != noErr) {
        return false;
    }
    volume = info.volume;
    return true;
}

class CVolumePlatformMacOSX final : public CBasicVolumePlatform
{
public:
    bool GetMount(std::string const& path, VolumeMount& mount) override
    {
        struct statfs info;
        if (statfs(path.c_str(), &info) != 0) return false;
        mount = {info.f_fstypename, info.f_mntonname, info.f_mntfromname, {}, 0, 0};
        return true;
    }

    RegistryEntries FindDevice(std::string const& name) override
    {
        StRegistryPort const port;
        if (!port.IsThere()) return {};
        CFMutableDictionaryRef const matching = IOBSDNameMatching(port.Get(), 0, name.c_str());
        if (!matching) return {};
        // The look-up takes the dictionary over.
        io_iterator_t found = IO_OBJECT_NULL;
        kern_return_t const result = IOServiceGetMatchingServices(port.Get(), matching, &found);
        return result == KERN_SUCCESS ? TakeAll(found) : RegistryEntries();
    }

    bool GetMountRecord(std::string const& path, std::string& record) override
    {
        FSVolumeRefNum volume = kFSInvalidVolumeRefNum;
        ByteCount size = 0;
        if (!GetVolumeOf(path.c_str(), volume) || FSGetVolumeMountInfoSize(volume, &size) != noErr)
            return false;
        record.assign(size, '\0');
        ByteCount filled = 0;
        OSStatus const result =
            FSGetVolumeMountInfo(volume, reinterpret_cast<BytePtr>(record.data()), size, &filled);
        return result == noErr;
    }

    // The registry and the record are all there is.
    void AddProperties(VolumeMount const&, VolumeProperties&) override {}
};

}  // namespace

CBasicVolumePlatform* NewVolumePlatform()
{
    return new CVolumePlatformMacOSX;
}
