// Each system call behind shared memory fails in its turn, with each error there is a category for.
#include "system/CSharedMemory.h"

#include "system/tests/SharedMemoryThrown.h"
#include "testing/StChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The next call of this name fails, and from then on none.
struct
{
    std::string mCall;
    int mError = 0;
} sFault;

int sInterruptions = 0;           // how often the reservation is interrupted before it succeeds
bool sAreSignalsBlocked = false;  // whether they were during the last reservation

bool Fails(char const* call)
{
    if (sFault.mCall != call) return false;
    sFault.mCall.clear();
    errno = sFault.mError;
    return true;
}

}  // namespace

extern "C" {

int __real_shm_open(char const* name, int flags, mode_t mode);
int __real_shm_unlink(char const* name);
int __real_ftruncate(int descriptor, off_t size);
int __real_posix_fallocate(int descriptor, off_t offset, off_t size);
int __real_fstat(int descriptor, struct stat* status);
void* __real_mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t at);
int __real_munmap(void* address, size_t size);
int __real_close(int descriptor);
int __wrap_shm_open(char const* name, int flags, mode_t mode);
int __wrap_shm_unlink(char const* name);
int __wrap_ftruncate(int descriptor, off_t size);
int __wrap_posix_fallocate(int descriptor, off_t offset, off_t size);
int __wrap_fstat(int descriptor, struct stat* status);
void* __wrap_mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t at);
int __wrap_munmap(void* address, size_t size);
int __wrap_close(int descriptor);

int __wrap_shm_open(char const* name, int flags, mode_t mode)
{
    return Fails("shm_open") ? -1 : __real_shm_open(name, flags, mode);
}

int __wrap_shm_unlink(char const* name)
{
    return Fails("shm_unlink") ? -1 : __real_shm_unlink(name);
}

int __wrap_ftruncate(int descriptor, off_t size)
{
    return Fails("ftruncate") ? -1 : __real_ftruncate(descriptor, size);
}

// Answers the error and leaves errno alone, as the real one may.
int __wrap_posix_fallocate(int descriptor, off_t offset, off_t size)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    sAreSignalsBlocked = sigismember(&blocked, SIGALRM) == 1 && sigismember(&blocked, SIGPROF) == 1;
    if (sInterruptions > 0) {
        --sInterruptions;
        return EINTR;
    }
    if (!Fails("posix_fallocate")) return __real_posix_fallocate(descriptor, offset, size);
    errno = 0;
    return sFault.mError;
}

int __wrap_fstat(int descriptor, struct stat* status)
{
    return Fails("fstat") ? -1 : __real_fstat(descriptor, status);
}

void* __wrap_mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t at)
{
    if (Fails("mmap")) return MAP_FAILED;
    return __real_mmap(address, size, protection, flags, descriptor, at);
}

int __wrap_munmap(void* address, size_t size)
{
    return Fails("munmap") ? -1 : __real_munmap(address, size);
}

// Gives the descriptor back also when it reports a failure, as the real one does.
int __wrap_close(int descriptor)
{
    bool const fails = Fails("close");
    int const error = errno;
    int const result = __real_close(descriptor);
    if (!fails) return result;
    errno = error;
    return -1;
}

}  // extern "C"

namespace {

constexpr struct
{
    char const* mWhat;
    int mError;
    int mCategory;
} kErrors[] = {
    {"EACCES", EACCES, kSharedMemoryAccessDenied},
    {"EROFS", EROFS, kSharedMemoryAccessDenied},
    {"EEXIST", EEXIST, kSharedMemoryExists},
    {"ENFILE", ENFILE, kSharedMemoryTooManyFiles},
    {"EMFILE", EMFILE, kSharedMemoryTooManyFiles},
    {"ENAMETOOLONG", ENAMETOOLONG, kSharedMemoryNameTooLong},
    {"ENOENT", ENOENT, kSharedMemoryNotFound},
    {"ENOSPC", ENOSPC, kSharedMemoryNoSpace},
    {"EIO", EIO, kSharedMemoryInputOutput},
    {"EINVAL", EINVAL, kOtherFailure},
    {"ENOMEM", ENOMEM, kOtherFailure},
    {"EPERM", EPERM, kOtherFailure},
};

class CSharedMemoryFaults : public testing::Test
{
protected:
    ~CSharedMemoryFaults() override
    {
        sFault = {};
        shm_unlink(Name());
    }

    char const* Name() const { return mName.c_str(); }

    bool Exists() const
    {
        int const descriptor = shm_open(Name(), O_RDONLY, 0);
        if (descriptor == -1) return false;
        close(descriptor);
        return true;
    }

private:
    std::string mName = "/loam-wrap-test-" + std::to_string(getpid());
};

int OpenDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        if (fcntl(descriptor, F_GETFD) != -1) ++count;
    return count;
}

}  // namespace

TEST_F(CSharedMemoryFaults, EachCallFailsWithItsNameAndTheCategoryOfItsError)
{
    auto const allocate = [this](CSharedMemory& block) { block.Allocate(16, Name(), false); };
    auto const open = [this](CSharedMemory& block) { block.OpenExisting(Name(), false); };
    auto const closeIt = [](CSharedMemory& block) { block.Close(); };
    auto const deallocate = [](CSharedMemory& block) { block.Deallocate(); };

    struct
    {
        char const* mCall;
        std::function<void(CSharedMemory&)> mAction;
        CSharedMemoryError mContext;
        char const* mText;
        bool mIsMadeBefore;
    } const cases[] = {
        {"shm_open", allocate, kSharedMemoryAllocate, "shm_open", false},
        {"ftruncate", allocate, kSharedMemoryAllocate, "ftruncate", false},
        {"posix_fallocate", allocate, kSharedMemoryAllocate, "ftruncate", false},
        {"mmap", allocate, kSharedMemoryAllocate, "mmap", false},
        {"shm_open", open, kSharedMemoryOpenExisting, "shm_open", true},
        {"fstat", open, kSharedMemoryOpenExisting, "fstat", true},
        {"mmap", open, kSharedMemoryOpenExisting, "mmap", true},
        {"munmap", closeIt, kSharedMemoryClose, "munmap", true},
        {"close", closeIt, kSharedMemoryClose, "close", true},
        {"shm_unlink", deallocate, kSharedMemoryDeallocate, "shm_unlink", true},
    };

    for (auto const& c : cases) {
        for (auto const& error : kErrors) {
            SCOPED_TRACE(testing::Message()
                         << c.mCall << " in " << c.mContext << ", " << error.mWhat);
            CSharedMemory block;
            if (c.mIsMadeBefore) {
                block.Allocate(16, Name(), false);
                if (c.mContext == kSharedMemoryOpenExisting) block.Close();
            }
            sFault = {c.mCall, error.mError};
            EXPECT_EQ(ThrownBy([&] { c.mAction(block); }),
                      Thrown(c.mText, error.mCategory, c.mContext, error.mError));
            EXPECT_EQ(sFault.mCall, "");
            if (c.mContext != kSharedMemoryClose && c.mContext != kSharedMemoryDeallocate) {
                EXPECT_EQ(block.GetAddress(), nullptr);
            }
            shm_unlink(Name());
        }
    }
}

TEST_F(CSharedMemoryFaults, KeepsTheNameAndTheDescriptorOfAFailureUntilTheObjectGoes)
{
    for (char const* const call : {"ftruncate", "posix_fallocate", "mmap"}) {
        SCOPED_TRACE(call);
        int const before = OpenDescriptors();
        {
            CSharedMemory block;
            sFault = {call, ENOSPC};
            EXPECT_NE(ThrownBy([&] { block.Allocate(16, Name(), true); }), "none");
            EXPECT_EQ(OpenDescriptors(), before + 1);
            EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
        }
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_TRUE(Exists());
        shm_unlink(Name());
    }
}

TEST_F(CSharedMemoryFaults, ReservationIsNeitherInterruptedNorGivenUp)
{
    CSharedMemory block;
    sInterruptions = 3;
    EXPECT_EQ(ThrownBy([&] { block.Allocate(16, Name(), true); }), "none");
    EXPECT_EQ(sInterruptions, 0);
    EXPECT_TRUE(sAreSignalsBlocked);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGALRM), 0);
}

TEST_F(CSharedMemoryFaults, UnmapThatFailedCanBeTriedAgain)
{
    CSharedMemory block;
    block.Allocate(16, Name(), true);
    sFault = {"munmap", EINVAL};
    EXPECT_EQ(ThrownBy([&] { block.Close(); }),
              Thrown("munmap", kOtherFailure, kSharedMemoryClose, EINVAL));
    EXPECT_TRUE(Exists());
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_FALSE(Exists());
}

// What has been unmapped is never unmapped again: something else may stand there by then.
TEST_F(CSharedMemoryFaults, CloseThatFailedGoesOnWithTheName)
{
    CSharedMemory block;
    int const before = OpenDescriptors();
    block.Allocate(16, Name(), true);
    sFault = {"close", EIO};
    EXPECT_EQ(ThrownBy([&] { block.Close(); }),
              Thrown("close", kSharedMemoryInputOutput, kSharedMemoryClose, EIO));
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_TRUE(Exists());
    sFault = {"munmap", EINVAL};
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_EQ(sFault.mCall, "munmap");
    EXPECT_FALSE(Exists());
}

TEST_F(CSharedMemoryFaults, RemovalThatFailedCanBeTriedAgain)
{
    CSharedMemory block;
    block.Allocate(16, Name(), true);
    sFault = {"shm_unlink", EACCES};
    EXPECT_EQ(ThrownBy([&] { block.Close(); }),
              Thrown("shm_unlink", kSharedMemoryAccessDenied, kSharedMemoryDeallocate, EACCES));
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_FALSE(Exists());
}

TEST_F(CSharedMemoryFaults, CountGoesUpThoughTheBlockCouldNotBeMade)
{
    CSharedMemory block;
    sFault = {"shm_open", EMFILE};
    EXPECT_NE(ThrownBy([&] { block.Allocate(16, true); }), "none");
    std::string const failed = block.GetFilename();
    block.Allocate(16, true);
    EXPECT_NE(block.GetFilename(), failed);
}

// In a process that looks for no leaks at its end.
TEST_F(CSharedMemoryFaults, KeepsWhatTheDestructorCouldNotClose)
{
    constexpr char kMark[] = "still here";
    for (char const* const call : {"munmap", "close", "shm_unlink"}) {
        SCOPED_TRACE(call);
        StChildProcess child([this, call, &kMark](CTestLink& parent) {
            void const* address = nullptr;
            {
                CSharedMemory block;
                block.Allocate(16, Name(), true);
                address = block.GetAddress();
                std::memcpy(block.GetAddress(), kMark, sizeof kMark);
                sFault = {call, EIO};
            }
            parent.Say("alive");
            parent.Say(Exists() ? "name" : "no name");
            // Something else may lie there by now.
            bool const isMapped = msync(const_cast<void*>(address), 16, MS_ASYNC) == 0 &&
                                  std::memcmp(address, kMark, sizeof kMark) == 0;
            parent.Say(isMapped ? "mapped" : "unmapped");
        });
        EXPECT_EQ(child.Hear(), "alive");
        EXPECT_EQ(child.Hear(), "name");
        EXPECT_EQ(child.Hear(), std::strcmp(call, "munmap") == 0 ? "mapped" : "unmapped");
        EXPECT_EQ(child.WaitForEnd(), 0);
        shm_unlink(Name());
    }
}
