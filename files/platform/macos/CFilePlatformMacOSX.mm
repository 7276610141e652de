#include "files/CFURLCreateFromFileSpec.h"
#include "files/CFileSpec.h"
#include "files/platform/CBasicFilePlatform.h"
#include "foundation/platform/macos/StReference.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/event.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

CFURLRef CreateURL(char const* path)
{
    return CFURLCreateFromFileSpec(CFileSpec(std::string(path), false));
}

class CFilePlatformMacOSX final : public CBasicFilePlatform
{
public:
    int OpenLocked(char const* path, int flags, int& error) override
    {
        int const descriptor = open(path, flags | O_EXLOCK | O_NONBLOCK);
        error = descriptor == -1 ? errno : 0;
        return descriptor;
    }

    int MakeWatch() override { return kqueue(); }

    FileChange WaitOnWatch(int watch, int descriptor, char const*) override
    {
        struct kevent change;
        struct kevent event;
        EV_SET(&change, static_cast<uintptr_t>(descriptor), EVFILT_VNODE, EV_ADD | EV_ONESHOT,
               NOTE_DELETE | NOTE_WRITE, 0, nullptr);
        if (kevent(watch, &change, 1, &event, 1, nullptr) < 1) return kFileWatchFailed;
        // A change that is refused comes back as an event, with the notes that it asked for.
        if (event.flags & EV_ERROR) return kFileWatchFailed;
        return event.fflags & NOTE_DELETE ? kFileDeleted : kFileWritten;
    }

    // Kept on purpose: the queue's descriptor stays open until the process ends.
    void CloseWatch(int) override {}

    bool GetPhysicalPosition(int descriptor, long long offset, long long& position) override
    {
        log2phys place = {};
        place.l2p_contigbytes = 1;
        place.l2p_devoffset = offset;
        if (fcntl(descriptor, F_LOG2PHYS_EXT, &place) == -1) return false;
        position = place.l2p_devoffset;
        return true;
    }

    FileReplacement ReplaceObject(char const* target,
                                  char const* replacement,
                                  char const* backupName,
                                  char const* workFolder) override
    {
        StReference<CFStringRef> const temporaryName(
            backupName
                ? CFStringCreateWithCString(kCFAllocatorDefault, backupName, kCFStringEncodingUTF8)
                : nullptr);
        OptionBits const options =
            backupName ? kFSReplaceObjectSaveOriginalAsABackup : kFSReplaceObjectDefaultOptions;
        OSStatus const status = FSPathReplaceObject(target, replacement, nullptr,
                                                    temporaryName.Get(), workFolder, options);
        return status == noErr ? kFileReplacedByBackup : kFileNotReplaced;
    }

    void SetBackupExclusion(char const* path, bool exclude) override
    {
        StReference<CFURLRef> const url(CreateURL(path));
        if (url.Get()) CSBackupSetItemExcluded(url.Get(), exclude, false);
    }

    bool GetBackupExclusion(char const* path) override
    {
        StReference<CFURLRef> const url(CreateURL(path));
        Boolean isByPath = false;
        return url.Get() && CSBackupIsItemExcluded(url.Get(), &isByPath);
    }

    void SetQuarantine(char const* path) override
    {
        StReference<CFURLRef> const url(CreateURL(path));
        void const* key = kLSQuarantineTypeKey;
        void const* value = kLSQuarantineTypeEmailAttachment;
        StReference<CFDictionaryRef> const properties(
            CFDictionaryCreate(kCFAllocatorDefault, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks));
        if (!url.Get() || !properties.Get()) return;
        CFURLSetResourcePropertyForKey(url.Get(), kCFURLQuarantinePropertiesKey, properties.Get(),
                                       nullptr);
    }

    void
    SetAttribute(char const* path, char const* name, void const* value, std::size_t size) override
    {
        if (value) {
            setxattr(path, name, value, size, 0, 0);
        } else {
            removexattr(path, name, 0);
        }
    }

    long GetAttribute(char const* path, char const* name, void* buffer, std::size_t size) override
    {
        return getxattr(path, name, buffer, size, 0, 0);
    }

    long ListAttributes(char const* path, char* buffer, std::size_t size) override
    {
        return listxattr(path, buffer, size, 0);
    }
};

}  // namespace

CBasicFilePlatform* NewFilePlatform()
{
    return new CFilePlatformMacOSX;
}
