// The kernel's table of mounts, as proc_pid_mountinfo(5) tells its form: one line for each mount
// that the process can reach from its root folder, the mounts that others lie upon included.
//
// What is read never touches the file systems themselves, so a server that doesn't answer holds
// nothing up. A table only gets read once it is made, by any number of threads. Text is in the
// bytes that the kernel keeps, UTF-8 by custom, with the octal escapes of the table undone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// One mount; the texts belong to the table.
struct MountEntry
{
    unsigned long long mId = 0;
    /// The mount that this one is mounted on. One that isn't in the table lies outside the root.
    unsigned long long mParentId = 0;
    /// The device behind the files, as stat(2) tells it; major 0 for one that is no block device.
    unsigned int mMajor = 0;
    unsigned int mMinor = 0;
    std::string_view mMountPoint;
    std::string_view mType;
    std::string_view mSource;   ///< may be empty
    std::string_view mOptions;  ///< those of the file system, split by commas
    /// Another mount lies over its mount point or over a folder on the way there, so that no path
    /// leads to it.
    bool mIsHidden = false;
};

class CMountTable
{
public:
    /// The table in `file`. Empty where that can't be read; after an error on the way, what came
    /// before it. A mount that comes or goes meanwhile may be in it or not; before Linux 5.8 its
    /// neighbour could be missing then.
    static CMountTable Read(char const* file = "/proc/thread-self/mountinfo");

    /// The same from a descriptor, which stays the caller's.
    static CMountTable Read(int descriptor);

    /// Takes the text of a table. A line that isn't one of a mount is passed over.
    explicit CMountTable(std::vector<char> text);
    CMountTable(CMountTable&&) = default;
    CMountTable& operator=(CMountTable&&) = default;
    CMountTable(CMountTable const&) = delete;
    CMountTable& operator=(CMountTable const&) = delete;

    /// In the kernel's order.
    std::vector<MountEntry> const& Entries() const { return mEntries; }

    /// The mount of that number, null if there is none.
    MountEntry const* FindId(unsigned long long id) const;
    /// The mount that shows at exactly this path, null if there is none.
    MountEntry const* FindMountPoint(std::string_view path) const;
    /// The mount points of all volumes, in the kernel's order: of what isn't hidden and can hold a
    /// user's files (`IsPseudoFileSystem`). Each comes once.
    std::vector<std::string> VolumePaths() const;

private:
    void FindHidden();

    std::vector<char> mText;
    std::vector<MountEntry> mEntries;  // views of mText
    std::unordered_map<unsigned long long, std::size_t> mById;
    std::unordered_map<std::string_view, std::size_t> mByMountPoint;  // of those not hidden
};

/// Whether a file system of this type shows the kernel's own state, or what other mounts hold, and
/// never files of a user: "proc", "cgroup2", "fuse.portal". Those in memory that have no size of
/// their own, "ramfs" and "rootfs", count as such; "tmpfs" and "overlay" don't.
bool IsPseudoFileSystem(std::string_view type);
