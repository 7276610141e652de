#include "desktop/platform/linux/CMountTableCache.h"

#include "foundation/StNotCancelled.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kTable[] = "/proc/thread-self/mountinfo";

}  // namespace

CMountTableCache::~CMountTableCache()
{
    Drop();
}

std::shared_ptr<CMountTable const> CMountTableCache::Get()
{
    std::lock_guard const lock(mMutex);
    Viewer viewer;
    bool const isKnown = GetViewer(viewer);
    if (isKnown && IsCurrent(viewer)) return mTable;

    Drop();
    // Opened before the reading: what changes from here on shows as a change.
    mDescriptor = isKnown ? open(kTable, O_RDONLY | O_CLOEXEC) : -1;
    struct stat file;
    if (mDescriptor == -1 || fstat(mDescriptor, &file) != 0) {
        Drop();
        return std::make_shared<CMountTable const>(CMountTable::Read(kTable));
    }
    mDevice = file.st_dev;
    mFile = file.st_ino;
    mViewer = viewer;
    mTable = std::make_shared<CMountTable const>(CMountTable::Read(mDescriptor));
    return mTable;
}

// A namespace has copies of its mounts, with numbers of their own; those of the table's namespace
// aren't used again as long as its descriptor is open. False before Linux 5.8, which doesn't tell
// the numbers.
bool CMountTableCache::GetViewer(Viewer& viewer)
{
    struct statx root;
    if (statx(AT_FDCWD, "/", AT_STATX_DONT_SYNC, STATX_INO | STATX_MNT_ID, &root) != 0)
        return false;
    viewer = {getpid(), root.stx_mnt_id, root.stx_ino};
    return (root.stx_mask & STATX_MNT_ID) != 0;
}

bool CMountTableCache::IsDescriptorOurs() const
{
    struct stat file;
    return mDescriptor != -1 && fstat(mDescriptor, &file) == 0 && file.st_dev == mDevice &&
           file.st_ino == mFile;
}

bool CMountTableCache::IsCurrent(Viewer const& viewer) const
{
    if (!mTable || !(viewer == mViewer) || !IsDescriptorOurs()) return false;
    pollfd changes = {mDescriptor, POLLPRI, 0};
    return poll(&changes, 1, 0) == 0;
}

// A number that stands for another file by now isn't ours to close.
void CMountTableCache::Drop()
{
    StNotCancelled const notCancelled;
    if (IsDescriptorOurs()) close(mDescriptor);
    mDescriptor = -1;
    mTable.reset();
}
