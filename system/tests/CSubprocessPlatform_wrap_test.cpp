// Helper programs on a system that has no more processes or descriptors, no process descriptors or
// small pipes.
#include "system/Subprocess.h"
#include "system/platform/CBasicSubprocessPlatform.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Which calls fail, while set.
struct
{
    bool mAreProcessDescriptorsRefused = false;
    bool mAreProcessesRefused = false;
    int mCallsUntilDescriptorsRunOut = -1;  // -1 for never
    int mLargestPipe = 0;                   // 0 for whatever the system allows
    bool mAreNoPipeSizesKnown = false;
} sFaults;

class StFaults
{
public:
    StFaults() = default;
    StFaults(StFaults const&) = delete;
    StFaults& operator=(StFaults const&) = delete;

    ~StFaults() { sFaults = {}; }
};

bool HaveDescriptorsRunOut()
{
    if (sFaults.mCallsUntilDescriptorsRunOut == -1) return false;
    if (sFaults.mCallsUntilDescriptorsRunOut-- > 0) return false;
    sFaults.mCallsUntilDescriptorsRunOut = 0;
    errno = EMFILE;
    return true;
}

}  // namespace

extern "C" {

int __real_pidfd_open(pid_t process, unsigned int flags);
int __real_pipe2(int* ends, int flags);
int __real_fcntl(int descriptor, int command, ...);
int __real_open(char const* path, int flags, ...);
int __real_posix_spawn(pid_t* process,
                       char const* path,
                       posix_spawn_file_actions_t const* actions,
                       posix_spawnattr_t const* attributes,
                       char* const* arguments,
                       char* const* environment);
int __wrap_pidfd_open(pid_t process, unsigned int flags);
int __wrap_pipe2(int* ends, int flags);
int __wrap_fcntl(int descriptor, int command, ...);
int __wrap_open(char const* path, int flags, ...);
int __wrap_posix_spawn(pid_t* process,
                       char const* path,
                       posix_spawn_file_actions_t const* actions,
                       posix_spawnattr_t const* attributes,
                       char* const* arguments,
                       char* const* environment);

int __wrap_pidfd_open(pid_t process, unsigned int flags)
{
    if (HaveDescriptorsRunOut()) return -1;
    if (!sFaults.mAreProcessDescriptorsRefused) return __real_pidfd_open(process, flags);
    errno = ENOSYS;
    return -1;
}

int __wrap_pipe2(int* ends, int flags)
{
    return HaveDescriptorsRunOut() ? -1 : __real_pipe2(ends, flags);
}

int __wrap_open(char const* path, int flags, ...)
{
    va_list list;
    va_start(list, flags);
    unsigned const mode = va_arg(list, unsigned);
    va_end(list);
    return HaveDescriptorsRunOut() ? -1 : __real_open(path, flags, mode);
}

int __wrap_posix_spawn(pid_t* process,
                       char const* path,
                       posix_spawn_file_actions_t const* actions,
                       posix_spawnattr_t const* attributes,
                       char* const* arguments,
                       char* const* environment)
{
    if (sFaults.mAreProcessesRefused) return EAGAIN;
    return __real_posix_spawn(process, path, actions, attributes, arguments, environment);
}

// A command takes an int, a pointer or nothing: handed on as whatever it was.
int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list list;
    va_start(list, command);
    long const argument = va_arg(list, long);
    va_end(list);
    if (sFaults.mAreNoPipeSizesKnown && (command == F_GETPIPE_SZ || command == F_SETPIPE_SZ)) {
        errno = EINVAL;
        return -1;
    }
    bool const isTooLarge = sFaults.mLargestPipe != 0 && argument > sFaults.mLargestPipe;
    if (command != F_SETPIPE_SZ || !isTooLarge) return __real_fcntl(descriptor, command, argument);
    errno = EPERM;
    return -1;
}

}  // extern "C"

namespace {

constexpr char const* kShell = "/bin/sh";

long OpenDescriptors()
{
    std::filesystem::directory_iterator const list("/proc/self/fd");
    return std::distance(begin(list), end(list));
}

std::unique_ptr<CBasicSubprocess> Launch(std::string const& script,
                                         std::vector<std::string> const& more = {})
{
    std::vector<std::string> arguments{"-c", script, "sh"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return SubprocessPlatform().Launch(kShell, arguments);
}

}  // namespace

TEST(CSubprocessPlatformCalls, GoByTheNumberOfTheChildWithoutProcessDescriptors)
{
    StFaults const faults;
    sFaults.mAreProcessDescriptorsRefused = true;
    StTempDir const folder;
    std::string const hold = folder.Path("hold");
    ASSERT_EQ(mkfifo(hold.c_str(), 0600), 0);
    long const descriptors = OpenDescriptors();

    for (auto* const action : {SIG_DFL, SIG_IGN}) {
        SCOPED_TRACE(action == SIG_IGN ? "the end is ignored" : "it isn't");
        auto* const former = signal(SIGCHLD, action);
        auto* const interrupt = signal(SIGINT, SIG_DFL);
        std::string text;
        EXPECT_TRUE(RunSubprocess(kShell, {"-c", "echo out"}, 0, text, nullptr));
        EXPECT_EQ(text, "out\n");

        auto child = Launch("exec cat $1", {hold});
        ASSERT_TRUE(child);
        EXPECT_TRUE(child->IsRunning());
        child->Interrupt();
        child->WaitUntilExit();
        EXPECT_FALSE(child->IsRunning());
        child->Terminate();

        // One that outlives its object.
        child = Launch("exec cat $1", {hold});
        ASSERT_TRUE(child);
        int const process = child->GetProcessId();
        child.reset();
        std::ofstream(hold).close();
        siginfo_t info;
        while (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) == 0) {}
        signal(SIGINT, interrupt);
        signal(SIGCHLD, former);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

// Not by a real limit: the sanitizers need descriptors of their own.
TEST(CSubprocessPlatformCalls, RunOrFailWhereDescriptorsRunOut)
{
    struct
    {
        char const* mWhat;
        int mCalls;
        bool mIsRun;
    } const cases[] = {
        {"none", 0, false},        {"one for the size of pipes", 1, false},
        {"one pipe", 2, false},    {"none left to name the child by", 3, true},
        {"all it takes", 4, true},
    };

    long const descriptors = OpenDescriptors();
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StFaults const faults;
        sFaults.mCallsUntilDescriptorsRunOut = c.mCalls;
        std::string text = "former";
        int status = 1;
        EXPECT_EQ(RunSubprocess(kShell, {"-c", "echo out"}, 0, text, &status), c.mIsRun);
        EXPECT_EQ(text, c.mIsRun ? "out\n" : "");
        EXPECT_EQ(status, 0);
        EXPECT_EQ(sFaults.mCallsUntilDescriptorsRunOut, 0);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(CSubprocessPlatformCalls, FailWhereProcessesRunOut)
{
    long const descriptors = OpenDescriptors();
    StFaults const faults;
    sFaults.mAreProcessesRefused = true;
    std::string text = "former";
    int status = 1;
    EXPECT_FALSE(RunSubprocess(kShell, {"-c", "echo out"}, 0, text, &status));
    EXPECT_EQ(text, "");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(CSubprocessPlatformCalls, TakeThePipeTheyGet)
{
    struct
    {
        char const* mWhat;
        int mLargest;
        size_t mSize;
    } const cases[] = {
        {"a quarter of a megabyte", 1 << 18, 1 << 18},
        {"just below that", (1 << 18) - 1, 1 << 17},
        {"no larger one", 1, 1 << 16},
    };

    int ends[2];
    ASSERT_EQ(__real_pipe2(ends, O_CLOEXEC), 0);
    bool const isUsual = __real_fcntl(ends[0], F_GETPIPE_SZ) == 1 << 16;
    close(ends[0]);
    close(ends[1]);
    if (!isUsual) GTEST_SKIP() << "this user has too many pipes";
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StFaults const faults;
        sFaults.mLargestPipe = c.mLargest;
        std::string text;
        EXPECT_TRUE(RunSubprocess(
            kShell, {"-c", "head -c $1 /dev/zero | tr '\\0' x", "sh", std::to_string(c.mSize)}, 0,
            text, nullptr));
        EXPECT_EQ(text.size(), c.mSize);
    }
}

TEST(CSubprocessPlatformCalls, DoWithoutASystemThatKnowsSizesOfPipes)
{
    StFaults const faults;
    sFaults.mAreNoPipeSizesKnown = true;
    std::string text;
    EXPECT_TRUE(RunSubprocess(kShell, {"-c", "echo out"}, 0, text, nullptr));
    EXPECT_EQ(text, "out\n");
}
