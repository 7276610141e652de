// Shared memory on a file system that is full: the system's own, replaced by a small one for a
// process that may do so.
#include "system/CSharedMemory.h"

#include "system/tests/SharedMemoryThrown.h"
#include "testing/StChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned long kMegabyte = 1UL << 20;
constexpr char kRefused[] = "no file system of our own";

bool Write(char const* path, std::string const& text)
{
    int const descriptor = open(path, O_WRONLY);
    if (descriptor == -1) return false;
    bool const isWritten = write(descriptor, text.data(), text.size()) != -1;
    close(descriptor);
    return isWritten;
}

// Cuts this process off from the mounts of others. Without root, as root of a user namespace.
bool LeaveMounts()
{
    std::string const user = std::to_string(geteuid());
    std::string const group = std::to_string(getegid());
    if (user == "0") return unshare(CLONE_NEWNS) == 0;
    return unshare(CLONE_NEWNS | CLONE_NEWUSER) == 0 && Write("/proc/self/setgroups", "deny") &&
           Write("/proc/self/uid_map", "0 " + user + " 1") &&
           Write("/proc/self/gid_map", "0 " + group + " 1");
}

// Gives this process a shared-memory file system of its own; false if it may not have one.
bool MountSharedMemory(char const* options)
{
    return LeaveMounts() && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("loam-test", "/dev/shm", "tmpfs", 0, options) == 0;
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
