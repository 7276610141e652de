#include "system/CSharedMemoryImpl.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "system/platform/SharedMemorySpace.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The name of a block of 0 bytes. There never is such a block in the system.
constexpr char kEmptyBlock[] = "/CSharedMemory_NULL";

// Two numbers of up to 11 characters each.
constexpr unsigned long kNameLimit = sizeof "/CSharedMemory__" + 2UL * 11;

}  // namespace

unsigned int CSharedMemoryImpl::sNameCount = 0;
std::mutex CSharedMemoryImpl::sNameCountMutex;

CSharedMemoryImpl::~CSharedMemoryImpl()
{
    CloseDescriptor();
}

void CSharedMemoryImpl::Allocate(unsigned long size)
{
    std::lock_guard const lock(sNameCountMutex);
    if (size == 0) {
        Allocate(0, kEmptyBlock);
        return;
    }
    // Counts on also if the block can't be made, so that a name left behind by a dead process,
    // whose number has come round again, is in the way only once.
    char name[kNameLimit];
    std::snprintf(name, sizeof name, "/CSharedMemory_%d_%d", getpid(),
                  static_cast<int>(sNameCount++));
    Allocate(size, name);
}

void CSharedMemoryImpl::Allocate(unsigned long size, char const* name)
{
    StartOver(size, name);
    if (size == 0) return;
    if (mName == kEmptyBlock) {
        // It couldn't be opened or removed by anybody.
        errno = EINVAL;
        ThrowException(kSharedMemoryAllocate, "shm_open");
    }
    Open(O_RDWR | O_CREAT | O_EXCL, kSharedMemoryAllocate);
    if (ftruncate(mFileDescriptor, static_cast<off_t>(size)) == -1)
        ThrowException(kSharedMemoryAllocate, "ftruncate");
    if (int const error = ReserveSharedMemory(mFileDescriptor, size)) {
        errno = error;
        ThrowException(kSharedMemoryAllocate, "ftruncate");
    }
    Map(PROT_WRITE, kSharedMemoryAllocate);
}

void CSharedMemoryImpl::OpenExisting(char const* name)
{
    StartOver(0, name);
    if (mName == kEmptyBlock) return;
    Open(O_RDONLY, kSharedMemoryOpenExisting);

    struct stat status
    {
    };

    if (fstat(mFileDescriptor, &status) == -1) ThrowException(kSharedMemoryOpenExisting, "fstat");
    mSize = static_cast<unsigned long>(status.st_size);
    Map(PROT_READ, kSharedMemoryOpenExisting);
}

void CSharedMemoryImpl::Close()
{
    if (!mAddress || !mIsDescriptorOpen) return;
    if (munmap(mAddress, mSize) == -1) ThrowException(kSharedMemoryClose, "munmap");
    if (CloseDescriptor() == -1) ThrowException(kSharedMemoryClose, "close");
}

void CSharedMemoryImpl::Deallocate()
{
    if (mName == kEmptyBlock) return;
    if (shm_unlink(mName.c_str()) == -1) ThrowException(kSharedMemoryDeallocate, "shm_unlink");
}

void CSharedMemoryImpl::ThrowException(CSharedMemoryError error, char const* operation)
{
    int const osError = errno;
    throw HierarchicalException(kSharedMemoryDomain, SharedMemoryCategoryOf(osError), error,
                                osError, std::string(operation));
}

// Kept on purpose: a block that is still mapped stays so, since somebody may go on using its
// address. Its descriptor is of no use to anyone.
void CSharedMemoryImpl::StartOver(unsigned long size, char const* name)
{
    CloseDescriptor();
    mFileDescriptor = -1;
    mName = name ? name : "";
    mSize = size;
    mAddress = nullptr;
}

void CSharedMemoryImpl::Open(int flags, CSharedMemoryError error)
{
    mFileDescriptor = shm_open(mName.c_str(), flags, S_IRUSR | S_IWUSR);
    if (mFileDescriptor == -1) ThrowException(error, "shm_open");
    mIsDescriptorOpen = true;
}

void CSharedMemoryImpl::Map(int protection, CSharedMemoryError error)
{
    void* const address = mmap(nullptr, mSize, protection, MAP_SHARED, mFileDescriptor, 0);
    if (address == MAP_FAILED) ThrowException(error, "mmap");
    mAddress = address;
}

// Called once for each descriptor: a failed close has given it back all the same.
int CSharedMemoryImpl::CloseDescriptor()
{
    if (!mIsDescriptorOpen) return 0;
    mIsDescriptorOpen = false;
    return close(mFileDescriptor);
}
