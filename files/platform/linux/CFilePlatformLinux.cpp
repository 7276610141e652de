#include "files/platform/CBasicFilePlatform.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

// ---- Watching

// A removed name shows only as IN_ATTRIB, with a falling link count: IN_DELETE_SELF waits for the
// last descriptor, and that one is ours. IN_MODIFY also comes when the modification date alone is
// set.
constexpr unsigned int kWatchedEvents = IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF;

// A file under watch; ends with the scope, so that the watch is free for the next file.
class StWatchedFile
{
public:
    // Goes through the descriptor: what is watched is the open file, whatever its name is by now.
    StWatchedFile(int watch, int descriptor)
        : mWatch(watch)
        , mNumber(inotify_add_watch(
              watch, ("/proc/self/fd/" + std::to_string(descriptor)).c_str(), kWatchedEvents))
    {
    }

    StWatchedFile(StWatchedFile const&) = delete;
    StWatchedFile& operator=(StWatchedFile const&) = delete;

    ~StWatchedFile()
    {
        if (IsWatched()) inotify_rm_watch(mWatch, mNumber);
    }

    bool IsWatched() const { return mNumber >= 0; }

    // Blocks for the next events and answers all of them in one mask; 0 after a failure. Events
    // that an earlier file left in the queue don't count.
    unsigned int NextEvents() const
    {
        alignas(inotify_event) char buffer[4096];
        for (;;) {
            ssize_t const count = read(mWatch, buffer, sizeof buffer);
            if (count <= 0) return 0;
            unsigned int mask = 0;
            for (ssize_t at = 0; at < count;) {
                inotify_event event;
                std::memcpy(&event, buffer + at, sizeof event);
                if (event.wd == mNumber) mask |= event.mask;
                at += static_cast<ssize_t>(sizeof event + event.len);
            }
            if (mask != 0) return mask;
        }
    }

private:
    int mWatch;   // not owned
    int mNumber;  // what inotify calls a watch descriptor; unique to this file's turn
};

// Whether `path` has been taken from the open file, which had `links` names before: it has fewer
// now, or none at all, or another file has the path (where the old one was kept under a second
// name).
bool HasLostName(int descriptor, char const* path, nlink_t links)
{
    struct stat opened;
    struct stat named;
    if (fstat(descriptor, &opened) != 0) return false;
    if (opened.st_nlink == 0 || opened.st_nlink < links) return true;
    return stat(path, &named) == 0 &&
           (named.st_ino != opened.st_ino || named.st_dev != opened.st_dev);
}

// ---- Replacing

// A rename that reaches the disk before the content does would leave an empty file after a crash.
void FlushFile(char const* path)
{
    int const descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1) return;
    fsync(descriptor);
    close(descriptor);
}

// ---- Extended attributes

// Every name belongs to one of these (xattr(7)); a name without any gets the first.
constexpr std::string_view kNamespaces[] = {"user.", "trusted.", "security.", "system."};
constexpr std::string_view kOwnNamespace = kNamespaces[0];

std::string StoredName(std::string_view name)
{
    bool const isQualified =
        std::any_of(std::begin(kNamespaces), std::end(kNamespaces), [&](std::string_view prefix) {
            return name.substr(0, prefix.size()) == prefix;
        });
    return isQualified ? std::string(name) : std::string(kOwnNamespace) + std::string(name);
}

// Leaves the names of the own namespace in the list, without the prefix; answers its new length.
std::size_t KeepOwnNames(char* list, std::size_t length)
{
    char* end = list;
    for (char const* at = list; at < list + length;) {
        std::string_view const name(at);
        at += name.size() + 1;
        if (name.substr(0, kOwnNamespace.size()) != kOwnNamespace) continue;
        std::size_t const kept = name.size() - kOwnNamespace.size() + 1;
        std::memmove(end, name.data() + kOwnNamespace.size(), kept);
        end += kept;
    }
    return static_cast<std::size_t>(end - list);
}

class CFilePlatformLinux final : public CBasicFilePlatform
{
public:
    int OpenLocked(char const* path, int flags, int& error) override
    {
        int const descriptor = open(path, flags, 0);
        bool const isLocked = descriptor != -1 && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        error = isLocked ? 0 : errno;
        if (isLocked) return descriptor;
        if (descriptor != -1) close(descriptor);
        return -1;
    }

    int MakeWatch() override { return inotify_init1(IN_CLOEXEC); }

    // The count is taken before the watch begins and compared after it: nothing slips in between.
    FileChange WaitOnWatch(int watch, int descriptor, char const* path) override
    {
        struct stat before;
        if (fstat(descriptor, &before) != 0) return kFileWatchFailed;
        StWatchedFile const file(watch, descriptor);
        if (!file.IsWatched()) return kFileWatchFailed;

        while (!HasLostName(descriptor, path, before.st_nlink)) {
            unsigned int const events = file.NextEvents();
            if (events & IN_MODIFY) return kFileWritten;
            if (events == 0 || (events & IN_IGNORED)) return kFileWatchFailed;
        }
        return kFileDeleted;
    }

    void CloseWatch(int watch) override { close(watch); }

    bool GetPhysicalPosition(int descriptor, long long offset, long long& position) override
    {
        constexpr unsigned int kNoPlace =
            FIEMAP_EXTENT_UNKNOWN | FIEMAP_EXTENT_DELALLOC | FIEMAP_EXTENT_ENCODED;
        alignas(fiemap) unsigned char buffer[sizeof(fiemap) + sizeof(fiemap_extent)] = {};
        auto* const map = reinterpret_cast<fiemap*>(buffer);
        map->fm_start = static_cast<__u64>(offset);
        map->fm_length = 1;
        map->fm_extent_count = 1;
        if (ioctl(descriptor, FS_IOC_FIEMAP, map) != 0 || map->fm_mapped_extents == 0) return false;

        fiemap_extent const& extent = map->fm_extents[0];
        position = static_cast<long long>(extent.fe_physical + (map->fm_start - extent.fe_logical));
        return (extent.fe_flags & kNoPlace) == 0;
    }

    // An exchange keeps the replaced object. `backupName` says only whether it is wanted.
    FileReplacement ReplaceObject(char const* target,
                                  char const* replacement,
                                  char const* backupName,
                                  char const*) override
    {
        FlushFile(replacement);
        unsigned int const flags = backupName ? RENAME_EXCHANGE : 0;
        int const result = renameat2(AT_FDCWD, replacement, AT_FDCWD, target, flags);
        return result == 0 ? kFileReplacedByMove : kFileNotReplaced;
    }

    // The system has neither flag.
    void SetBackupExclusion(char const*, bool) override {}

    bool GetBackupExclusion(char const*) override { return false; }

    void SetQuarantine(char const*) override {}

    void
    SetAttribute(char const* path, char const* name, void const* value, std::size_t size) override
    {
        std::string const stored = StoredName(name);
        if (value) {
            setxattr(path, stored.c_str(), value, size, 0);
        } else {
            removexattr(path, stored.c_str());
        }
    }

    long GetAttribute(char const* path, char const* name, void* buffer, std::size_t size) override
    {
        return getxattr(path, StoredName(name).c_str(), buffer, size);
    }

    long ListAttributes(char const* path, char* buffer, std::size_t size) override
    {
        long const length = listxattr(path, buffer, size);
        if (!buffer || length < 0) return length;
        return static_cast<long>(KeepOwnNames(buffer, static_cast<std::size_t>(length)));
    }
};

}  // namespace

CBasicFilePlatform* NewFilePlatform()
{
    return new CFilePlatformLinux;
}
