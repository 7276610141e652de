// Shared memory on a file system that is full: the system's own, replaced by a small one for a
// process that may do so.
#include "system/CSharedMemory.h"

#include "system/tests/SharedMemoryThrown.h"
#include "testing/OwnMount.h"
#include "testing/StChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned long kMegabyte = 1UL << 20;
constexpr char kRefused[] = "no file system of our own";

bool MountSharedMemory(char const* options)
{
    return MountOwnFileSystem("/dev/shm", options);
}

long BytesInUse(char const* name)
{
    int const descriptor = shm_open(name, O_RDONLY, 0);

    struct stat status
    {
    };

    fstat(descriptor, &status);
    close(descriptor);
    return status.st_blocks * 512;
}

}  // namespace

TEST(CSharedMemoryFull, BlockThatDoesNotFitFailsWhenItIsMadeAndTakesNothing)
{
    StChildProcess child([](CTestLink& parent) {
        if (!MountSharedMemory("size=1m")) return parent.Say(kRefused);
        CSharedMemory block;
        parent.Say(ThrownBy([&] { block.Allocate(2 * kMegabyte, "/loam-test", false); }));
        parent.Say(std::to_string(BytesInUse("/loam-test")));
        CSharedMemory fits;
        parent.Say(ThrownBy([&] { fits.Allocate(kMegabyte / 2, false); }));
    });
    std::string const failure = child.Hear();
    if (failure == kRefused) GTEST_SKIP() << kRefused;
    EXPECT_EQ(failure, Thrown("ftruncate", kSharedMemoryNoSpace, kSharedMemoryAllocate, ENOSPC));
    EXPECT_EQ(child.Hear(), "0");
    EXPECT_EQ(child.Hear(), "none");
}

TEST(CSharedMemoryFull, BlockThatWasMadeCanBeWrittenThoughNothingIsLeft)
{
    StChildProcess child([](CTestLink& parent) {
        if (!MountSharedMemory("size=1m")) return parent.Say(kRefused);
        std::signal(SIGBUS, SIG_DFL);
        CSharedMemory block;
        block.Allocate(kMegabyte / 2, false);
        CSharedMemory rest;
        rest.Allocate(kMegabyte / 2, false);
        CSharedMemory none;
        parent.Say(ThrownBy([&] { none.Allocate(1, false); }));
        std::memset(block.GetAddress(), 'x', block.GetSize());
        std::memset(rest.GetAddress(), 'y', rest.GetSize());
        CSharedMemory opened;
        opened.OpenExisting(block.GetFilename(), false);
        parent.Say(std::string(1, static_cast<char*>(opened.GetAddress())[kMegabyte / 2 - 1]));
    });
    std::string const failure = child.Hear();
    if (failure == kRefused) GTEST_SKIP() << kRefused;
    EXPECT_EQ(failure, Thrown("ftruncate", kSharedMemoryNoSpace, kSharedMemoryAllocate, ENOSPC));
    EXPECT_EQ(child.Hear(), "x");
    EXPECT_EQ(child.WaitForEnd(), 0);
}

TEST(CSharedMemoryFull, NoRoomForANameFailsAsTheOpen)
{
    StChildProcess child([](CTestLink& parent) {
        if (!MountSharedMemory("nr_inodes=2")) return parent.Say(kRefused);
        CSharedMemory first;
        parent.Say(ThrownBy([&] { first.Allocate(16, false); }));
        CSharedMemory second;
        parent.Say(ThrownBy([&] { second.Allocate(16, false); }));
    });
    std::string const first = child.Hear();
    if (first == kRefused) GTEST_SKIP() << kRefused;
    EXPECT_EQ(first, "none");
    EXPECT_EQ(child.Hear(),
              Thrown("shm_open", kSharedMemoryNoSpace, kSharedMemoryAllocate, ENOSPC));
}

TEST(CSharedMemoryFull, FileSystemThatMayOnlyBeReadDeniesAccess)
{
    StChildProcess child([](CTestLink& parent) {
        if (!MountSharedMemory("size=1m") ||
            mount(nullptr, "/dev/shm", nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return parent.Say(kRefused);
        CSharedMemory block;
        parent.Say(ThrownBy([&] { block.Allocate(16, false); }));
    });
    std::string const failure = child.Hear();
    if (failure == kRefused) GTEST_SKIP() << kRefused;
    EXPECT_EQ(failure, Thrown("shm_open", kSharedMemoryAccessDenied, kSharedMemoryAllocate, EROFS));
}
