// The table of mounts, read again only when the kernel says that it has changed: reading it takes
// the kernel about half a microsecond for each mount, which adds up where all volumes are asked
// for.
//
// One descriptor of the table stays open meanwhile, since that is how the kernel tells
// (proc_pid_mountinfo(5)). A forked child, another mount namespace and another root folder are
// noticed, and so is a descriptor that somebody else has closed. Any thread may call.
#pragma once

#include "desktop/platform/linux/MountTable.h"

#include <memory>
#include <mutex>

#include <sys/types.h>

class CMountTableCache
{
public:
    CMountTableCache() = default;
    CMountTableCache(CMountTableCache const&) = delete;
    CMountTableCache& operator=(CMountTableCache const&) = delete;
    ~CMountTableCache();

    /// The table as it is now, never null; empty if there is none to read.
    std::shared_ptr<CMountTable const> Get();

private:
    /// For whom a table holds: one and the same process, namespace and root folder.
    struct Viewer
    {
        pid_t mProcess = 0;
        unsigned long long mRootMount = 0;
        unsigned long long mRootFile = 0;

        bool operator==(Viewer const&) const = default;
    };

    static bool GetViewer(Viewer& viewer);
    bool IsDescriptorOurs() const;
    bool IsCurrent(Viewer const& viewer) const;
    void Drop();

    std::mutex mMutex;
    std::shared_ptr<CMountTable const> mTable;  // guarded by mMutex
    Viewer mViewer;                             // guarded by mMutex
    int mDescriptor = -1;                       // guarded by mMutex
    dev_t mDevice = 0;                          // of the descriptor's file; guarded by mMutex
    ino_t mFile = 0;                            // guarded by mMutex
};
