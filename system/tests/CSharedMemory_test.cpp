#include "system/CSharedMemory.h"

#include "system/tests/SharedMemoryThrown.h"
#include "testing/StChildProcess.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A name for one test, which is free again after it.
class StName
{
public:
    StName()
        : mName("/loam-test-" + std::to_string(getpid()))
    {
        shm_unlink(mName.c_str());
    }

    StName(StName const&) = delete;
    StName& operator=(StName const&) = delete;

    ~StName() { shm_unlink(mName.c_str()); }

    operator char const*() const { return mName.c_str(); }

private:
    std::string mName;
};

bool Exists(char const* name)
{
    int const descriptor = shm_open(name, O_RDONLY, 0);
    if (descriptor == -1) return false;
    close(descriptor);
    return true;
}

// An object without bytes, made past the library. Also for the destructor of a block whose name
// was missing at Close, which tries once more.
void MakeEmpty(char const* name)
{
    close(shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0600));
}

char* TextOf(CSharedMemory const& block)
{
    return static_cast<char*>(block.GetAddress());
}

int OpenDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        if (fcntl(descriptor, F_GETFD) != -1) ++count;
    return count;
}

// The number that a name made here ends in; -1 for a name of another process.
long CountIn(CSharedMemory const& block)
{
    std::string const start = "/CSharedMemory_" + std::to_string(getpid()) + "_";
    std::string const name = block.GetFilename();
    return name.compare(0, start.size(), start) == 0 ? std::stol(name.substr(start.size())) : -1;
}

}  // namespace

TEST(CSharedMemory, BeginsWithoutABlock)
{
    CSharedMemory block;
    EXPECT_EQ(block.GetSize(), 0u);
    EXPECT_EQ(block.GetAddress(), nullptr);
    EXPECT_STREQ(block.GetFilename(), "");
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
}

TEST(CSharedMemory, BlockOfNothingIsNoObjectOfTheSystem)
{
    CSharedMemory block;
    block.Allocate(0, false);
    EXPECT_EQ(block.GetSize(), 0u);
    EXPECT_EQ(block.GetAddress(), nullptr);
    EXPECT_STREQ(block.GetFilename(), "/CSharedMemory_NULL");
    EXPECT_FALSE(Exists("/CSharedMemory_NULL"));
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_EQ(ThrownBy([&] { block.Deallocate(); }), "none");
}

TEST(CSharedMemory, BlockOfNothingClosesAndDeallocatesWithoutFailure)
{
    CSharedMemory block;
    block.Allocate(0, true);
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
}

TEST(CSharedMemory, BlockOfNothingCanBeOpened)
{
    CSharedMemory block;
    block.OpenExisting("/CSharedMemory_NULL", false);
    EXPECT_EQ(block.GetSize(), 0u);
    EXPECT_EQ(block.GetAddress(), nullptr);
    EXPECT_STREQ(block.GetFilename(), "/CSharedMemory_NULL");
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_EQ(ThrownBy([&] { block.Deallocate(); }), "none");
}

TEST(CSharedMemory, NameOfTheBlockOfNothingIsForNoOther)
{
    CSharedMemory block;
    EXPECT_EQ(ThrownBy([&] { block.Allocate(16, "/CSharedMemory_NULL", true); }),
              Thrown("shm_open", 100, kSharedMemoryAllocate, EINVAL));
    EXPECT_FALSE(Exists("/CSharedMemory_NULL"));
}

TEST(CSharedMemory, NamesAreOfTheProcessAndCounted)
{
    CSharedMemory first;
    CSharedMemory second;
    first.Allocate(16, true);
    second.Allocate(16, true);
    EXPECT_GE(CountIn(first), 0);
    EXPECT_EQ(CountIn(second), CountIn(first) + 1);
}

// In a process that runs nothing else and so has counted nothing yet.
TEST(CSharedMemoryDeathTest, FirstNamesOfAProcessCountFromZero)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const nameTwo = [] {
        CSharedMemory first;
        CSharedMemory second;
        first.Allocate(16, true);
        second.Allocate(16, true);
        bool const areFirst = CountIn(first) == 0 && CountIn(second) == 1;
        first.Close();
        second.Close();
        _exit(areFirst ? 0 : 1);
    };
    EXPECT_EXIT(nameTwo(), testing::ExitedWithCode(0), "");
}

TEST(CSharedMemory, NothingIsCountedForABlockOfNothing)
{
    CSharedMemory first;
    CSharedMemory nothing;
    CSharedMemory second;
    first.Allocate(16, true);
    nothing.Allocate(0, true);
    second.Allocate(16, true);
    EXPECT_EQ(CountIn(second), CountIn(first) + 1);
}

TEST(CSharedMemory, ThreadsNeverShareAName)
{
    constexpr int kThreads = 4;
    constexpr int kBlocks = 50;
    std::vector<std::string> names[kThreads];
    std::vector<std::thread> threads;
    for (auto& own : names) {
        threads.emplace_back([&own] {
            for (int i = 0; i < kBlocks; ++i) {
                CSharedMemory block;
                block.Allocate(16, true);
                own.emplace_back(block.GetFilename());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    std::set<std::string> all;
    for (auto const& own : names)
        all.insert(own.begin(), own.end());
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kBlocks));
}

TEST(CSharedMemory, BlockIsZeroAndCanBeWritten)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(100000, name, true);
    EXPECT_EQ(block.GetSize(), 100000u);
    EXPECT_STREQ(block.GetFilename(), name);
    ASSERT_NE(block.GetAddress(), nullptr);
    EXPECT_EQ(std::string(TextOf(block), 100000), std::string(100000, '\0'));
    std::memset(block.GetAddress(), 'x', 100000);
    EXPECT_EQ(std::string(TextOf(block), 100000), std::string(100000, 'x'));
}

TEST(CSharedMemory, OnlyTheUserMayOpenABlock)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    int const descriptor = shm_open(name, O_RDONLY, 0);

    struct stat status
    {
    };

    ASSERT_EQ(fstat(descriptor, &status), 0);
    close(descriptor);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(status.st_size, 16);
}

TEST(CSharedMemory, DescriptorIsClosedOnExec)
{
    StName const name;
    int const before = OpenDescriptors();
    CSharedMemory block;
    block.Allocate(16, name, true);
    CSharedMemory opened;
    opened.OpenExisting(name, false);
    EXPECT_EQ(OpenDescriptors(), before + 2);
    int inherited = 0;
    for (int descriptor = 3; descriptor < 256; ++descriptor) {
        std::string const link = "/proc/self/fd/" + std::to_string(descriptor);
        char target[PATH_MAX] = "";
        if (readlink(link.c_str(), target, sizeof target - 1) == -1) continue;
        if (!std::strstr(target, name)) continue;
        if (!(fcntl(descriptor, F_GETFD) & FD_CLOEXEC)) ++inherited;
    }
    EXPECT_EQ(inherited, 0);
}

TEST(CSharedMemory, NameThatIsTakenFails)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, false);
    CSharedMemory other;
    EXPECT_EQ(ThrownBy([&] { other.Allocate(16, name, false); }),
              Thrown("shm_open", kSharedMemoryExists, kSharedMemoryAllocate, EEXIST));
    EXPECT_EQ(ThrownBy([&] { block.Allocate(16, name, false); }),
              Thrown("shm_open", kSharedMemoryExists, kSharedMemoryAllocate, EEXIST));
}

TEST(CSharedMemory, NameIsFreeAgainAfterDeallocate)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, false);
    block.Deallocate();
    CSharedMemory other;
    EXPECT_EQ(ThrownBy([&] { other.Allocate(16, name, true); }), "none");
}

TEST(CSharedMemory, BadNamesAndSizesFail)
{
    StName const name;
    std::string const longName = "/" + std::string(NAME_MAX + 1, 'x');

    struct
    {
        char const* mWhat;
        char const* mName;
        unsigned long mSize;
        std::string mFailure;
    } const cases[] = {
        {"a slash within", "/loam/test", 16,
         Thrown("shm_open", 100, kSharedMemoryAllocate, EINVAL)},
        {"a slash alone", "/", 16, Thrown("shm_open", 100, kSharedMemoryAllocate, EINVAL)},
        {"empty", "", 16, Thrown("shm_open", 100, kSharedMemoryAllocate, EINVAL)},
        {"null", nullptr, 16, Thrown("shm_open", 100, kSharedMemoryAllocate, EINVAL)},
        {"too long", longName.c_str(), 16,
         Thrown("shm_open", kSharedMemoryNameTooLong, kSharedMemoryAllocate, ENAMETOOLONG)},
        {"more than a file can hold", name, ULONG_MAX,
         Thrown("ftruncate", 100, kSharedMemoryAllocate, EINVAL)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CSharedMemory block;
        EXPECT_EQ(ThrownBy([&] { block.Allocate(c.mSize, c.mName, false); }), c.mFailure);
        EXPECT_EQ(block.GetAddress(), nullptr);
        EXPECT_STREQ(block.GetFilename(), c.mName ? c.mName : "");
    }
}

TEST(CSharedMemory, KeepsTheNameOfABlockThatCouldNotBeMade)
{
    StName const name;
    {
        CSharedMemory block;
        EXPECT_NE(ThrownBy([&] { block.Allocate(ULONG_MAX, name, true); }), "none");
        EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    }
    EXPECT_TRUE(Exists(name));

    CSharedMemory again;
    EXPECT_EQ(ThrownBy([&] { again.Allocate(16, name, false); }),
              Thrown("shm_open", kSharedMemoryExists, kSharedMemoryAllocate, EEXIST));
    again.Deallocate();
    EXPECT_EQ(ThrownBy([&] { again.Allocate(16, name, true); }), "none");
}

TEST(CSharedMemory, FailureLeavesNoDescriptorBehindTheObject)
{
    StName const name;
    int const before = OpenDescriptors();
    {
        CSharedMemory block;
        EXPECT_NE(ThrownBy([&] { block.Allocate(ULONG_MAX, name, false); }), "none");
        EXPECT_EQ(OpenDescriptors(), before + 1);
        block.Deallocate();
        block.Allocate(16, name, true);
        EXPECT_EQ(OpenDescriptors(), before + 1);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(CSharedMemory, ObjectCanBeUsedAgainAfterAFailureAndAfterClose)
{
    StName const name;
    CSharedMemory block;
    EXPECT_NE(ThrownBy([&] { block.OpenExisting(name, false); }), "none");
    for (unsigned long const size : {16UL, 5000UL, 1UL}) {
        SCOPED_TRACE(size);
        block.Allocate(size, name, true);
        EXPECT_EQ(block.GetSize(), size);
        TextOf(block)[size - 1] = 'x';
        block.Close();
        EXPECT_FALSE(Exists(name));
    }
}

TEST(CSharedMemory, OpensWhatAnotherMadeInItsSize)
{
    StName const name;
    CSharedMemory made;
    made.Allocate(12345, name, true);
    std::strcpy(TextOf(made), "hello");

    CSharedMemory opened;
    opened.OpenExisting(name, false);
    EXPECT_EQ(opened.GetSize(), 12345u);
    EXPECT_STREQ(opened.GetFilename(), name);
    EXPECT_STREQ(TextOf(opened), "hello");
    EXPECT_NE(opened.GetAddress(), made.GetAddress());
    std::strcpy(TextOf(made), "changed");
    EXPECT_STREQ(TextOf(opened), "changed");
}

TEST(CSharedMemory, OpensByTheNameThatItHolds)
{
    CSharedMemory made;
    made.Allocate(16, false);
    std::strcpy(TextOf(made), "hello");
    made.Close();
    made.OpenExisting(made.GetFilename(), true);
    EXPECT_STREQ(TextOf(made), "hello");
}

TEST(CSharedMemory, NameThatIsNotThereCannotBeOpened)
{
    StName const name;
    CSharedMemory block;
    EXPECT_EQ(ThrownBy([&] { block.OpenExisting(name, false); }),
              Thrown("shm_open", kSharedMemoryNotFound, kSharedMemoryOpenExisting, ENOENT));
    EXPECT_EQ(block.GetAddress(), nullptr);
    EXPECT_EQ(block.GetSize(), 0u);
    EXPECT_EQ(ThrownBy([&] { block.OpenExisting(nullptr, false); }),
              Thrown("shm_open", 100, kSharedMemoryOpenExisting, EINVAL));
}

TEST(CSharedMemory, ObjectWithoutBytesCannotBeOpened)
{
    StName const name;
    MakeEmpty(name);
    CSharedMemory block;
    EXPECT_EQ(ThrownBy([&] { block.OpenExisting(name, false); }),
              Thrown("mmap", 100, kSharedMemoryOpenExisting, EINVAL));
}

TEST(CSharedMemory, BlockOfAnotherUserCannotBeOpened)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    StChildProcess child([&name](CTestLink& parent) {
        if (setegid(65534) != 0 || seteuid(65534) != 0) parent.Say("still root");
        CSharedMemory other;
        parent.Say(ThrownBy([&] { other.OpenExisting(name, false); }));
    });
    EXPECT_EQ(child.Hear(),
              Thrown("shm_open", kSharedMemoryAccessDenied, kSharedMemoryOpenExisting, EACCES));
}

TEST(CSharedMemory, CloseRemovesTheNameOnlyIfAsked)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, false);
    block.Close();
    EXPECT_TRUE(Exists(name));
    block.Deallocate();
    EXPECT_FALSE(Exists(name));

    block.Allocate(16, name, true);
    block.Close();
    EXPECT_FALSE(Exists(name));
}

TEST(CSharedMemory, OpenerCanRemoveTheName)
{
    StName const name;
    CSharedMemory made;
    made.Allocate(16, name, false);
    CSharedMemory opened;
    opened.OpenExisting(name, true);
    opened.Close();
    EXPECT_FALSE(Exists(name));
}

TEST(CSharedMemory, SecondToRemoveTheNameFails)
{
    StName const name;
    CSharedMemory made;
    made.Allocate(16, name, true);
    CSharedMemory opened;
    opened.OpenExisting(name, true);
    opened.Close();
    EXPECT_EQ(ThrownBy([&] { made.Close(); }),
              Thrown("shm_unlink", kSharedMemoryNotFound, kSharedMemoryDeallocate, ENOENT));
    MakeEmpty(name);
}

TEST(CSharedMemory, DeallocateThenCloseRemovesTheNameOnce)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    block.Deallocate();
    EXPECT_FALSE(Exists(name));
    CSharedMemory other;
    other.Allocate(16, name, true);
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
    EXPECT_TRUE(Exists(name));
}

TEST(CSharedMemory, DeallocateDoesNotUnmap)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    block.Deallocate();
    std::strcpy(TextOf(block), "still here");
    EXPECT_STREQ(TextOf(block), "still here");
}

TEST(CSharedMemory, CloseKeepsTheValuesAndHappensOnce)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    void const* const address = block.GetAddress();
    block.Close();
    EXPECT_EQ(block.GetAddress(), address);
    EXPECT_EQ(block.GetSize(), 16u);
    EXPECT_STREQ(block.GetFilename(), name);
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
}

TEST(CSharedMemory, DestructorClosesAndRemovesTheNameIfAsked)
{
    StName const name;
    int const before = OpenDescriptors();
    for (bool const deallocates : {false, true}) {
        SCOPED_TRACE(deallocates);
        {
            CSharedMemory block;
            block.Allocate(16, name, deallocates);
        }
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_EQ(Exists(name), !deallocates);
        shm_unlink(name);
    }
}

TEST(CSharedMemory, DestructorAfterCloseDoesNothing)
{
    StName const name;
    CSharedMemory other;
    {
        CSharedMemory block;
        block.Allocate(16, name, true);
        block.Close();
        other.Allocate(16, name, true);
    }
    EXPECT_TRUE(Exists(name));
}

// A block of 0 bytes under a name of its own looks like any other, but nothing is there.
TEST(CSharedMemory, KeepsTheNameOfABlockOfNothingWithoutAnObject)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(0, name, true);
    EXPECT_STREQ(block.GetFilename(), name);
    EXPECT_EQ(block.GetAddress(), nullptr);
    EXPECT_FALSE(Exists(name));
    EXPECT_EQ(ThrownBy([&] { block.Close(); }),
              Thrown("shm_unlink", kSharedMemoryNotFound, kSharedMemoryDeallocate, ENOENT));
    MakeEmpty(name);
}

TEST(CSharedMemory, KeepsTheFormerBlockMappedWhenTheNextIsMade)
{
    StName const name;
    CSharedMemory block;
    int const before = OpenDescriptors();
    block.Allocate(16, name, true);
    char* const former = TextOf(block);
    block.Deallocate();
    block.Allocate(16, name, true);
    EXPECT_EQ(OpenDescriptors(), before + 1);
    std::strcpy(former, "old");
    std::strcpy(TextOf(block), "new");
    EXPECT_STREQ(former, "old");
    munmap(former, 16);
}

TEST(CSharedMemory, WriteToAnOpenedBlockEndsTheProcess)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    StChildProcess child([&name](CTestLink& parent) {
        // A sanitizer's handler would turn the signal into an exit.
        std::signal(SIGSEGV, SIG_DFL);
        std::signal(SIGBUS, SIG_DFL);
        CSharedMemory opened;
        opened.OpenExisting(name, false);
        parent.Say(std::to_string(*static_cast<char volatile*>(opened.GetAddress())));
        *static_cast<char volatile*>(opened.GetAddress()) = 'x';
        parent.Say("written");
    });
    EXPECT_EQ(child.Hear(), "0");
    EXPECT_EQ(child.Hear(), "(gone)");
    int const signal = child.WaitForEnd();
    EXPECT_TRUE(signal == SIGSEGV || signal == SIGBUS) << signal;
    EXPECT_EQ(TextOf(block)[0], '\0');
}

TEST(CSharedMemory, ReaderThatIsKilledDisturbsNobody)
{
    StName const name;
    CSharedMemory block;
    block.Allocate(16, name, true);
    auto const read = [&name](CTestLink& parent) {
        CSharedMemory opened;
        opened.OpenExisting(name, false);
        do
            parent.Say(TextOf(opened));
        while (parent.Hear() == "again");
    };
    StChildProcess first(read);
    EXPECT_EQ(first.Hear(), "");
    std::strcpy(TextOf(block), "one");
    first.Say("again");
    EXPECT_EQ(first.Hear(), "one");
    first.Kill();

    EXPECT_TRUE(Exists(name));
    std::strcpy(TextOf(block), "two");
    StChildProcess second(read);
    EXPECT_EQ(second.Hear(), "two");
    second.Say("enough");
    EXPECT_EQ(second.WaitForEnd(), 0);
    EXPECT_EQ(ThrownBy([&] { block.Close(); }), "none");
}

TEST(CSharedMemory, BlockOutlivesAMakerThatIsKilled)
{
    StName const name;
    StChildProcess child([&name](CTestLink& parent) {
        CSharedMemory block;
        block.Allocate(16, name, true);
        std::strcpy(TextOf(block), "legacy");
        parent.Say("made");
        parent.Hear();
    });
    ASSERT_EQ(child.Hear(), "made");
    CSharedMemory opened;
    opened.OpenExisting(name, false);
    child.Kill();
    EXPECT_STREQ(TextOf(opened), "legacy");
    EXPECT_TRUE(Exists(name));
}

TEST(CSharedMemory, NameLeftBehindByADeadProcessIsTakenUntilItIsRemoved)
{
    StName const name;
    StChildProcess child([&name](CTestLink& parent) {
        CSharedMemory block;
        block.Allocate(16, name, true);
        std::strcpy(TextOf(block), "legacy");
        parent.Say("made");
        parent.Hear();
    });
    ASSERT_EQ(child.Hear(), "made");
    child.Kill();

    CSharedMemory block;
    EXPECT_EQ(ThrownBy([&] { block.Allocate(32, name, true); }),
              Thrown("shm_open", kSharedMemoryExists, kSharedMemoryAllocate, EEXIST));
    CSharedMemory left;
    left.OpenExisting(name, true);
    EXPECT_EQ(left.GetSize(), 16u);
    EXPECT_STREQ(TextOf(left), "legacy");
    left.Close();
    EXPECT_EQ(ThrownBy([&] { block.Allocate(32, name, true); }), "none");
    EXPECT_STREQ(TextOf(block), "");
}

// A process number comes round again, and with it the names that its former owner left.
TEST(CSharedMemory, NameLeftBehindUnderTheSameNumberIsInTheWayOnce)
{
    CSharedMemory first;
    first.Allocate(16, true);
    std::string const start = "/CSharedMemory_" + std::to_string(getpid()) + "_";
    std::string const next = start + std::to_string(CountIn(first) + 1);
    CSharedMemory left;
    left.Allocate(16, next.c_str(), true);

    CSharedMemory block;
    EXPECT_EQ(ThrownBy([&] { block.Allocate(16, true); }),
              Thrown("shm_open", kSharedMemoryExists, kSharedMemoryAllocate, EEXIST));
    EXPECT_EQ(ThrownBy([&] { block.Allocate(16, true); }), "none");
    EXPECT_EQ(CountIn(block), CountIn(first) + 2);
}
