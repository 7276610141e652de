// Trimming when the process dies at any moment, and when there is no room.

#include "system/CLogFile.h"

#include "files/CFileSpec.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "testing/FailureOf.h"
#include "testing/OwnMount.h"
#include "testing/StChildProcess.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/ptrace.h>
#endif

namespace {

constexpr int kKept = 150000;  // more than one block of the copy

std::string OldLog()
{
    std::string log;
    for (int i = 0; log.size() < 200000; ++i)
        log += "line " + std::to_string(i) + "\n";
    return log;
}

// Runs `work` in a process of its own and answers what it returned, or -1.
int RunInChild(std::function<int()> const& work)
{
    pid_t const child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

#ifdef __linux__
enum class End
{
    kKilled,
    kCameThrough,
    kCantBeTraced
};

// Runs `work` in a process of its own and kills it at the `stop`-th time that it enters or leaves a
// call of the system.
End KillAt(int stop, std::function<void()> const& work)
{
    pid_t const child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) return End::kCantBeTraced;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (int seen = 0; seen < stop; ++seen) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
        if (WIFEXITED(status)) return End::kCameThrough;
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return End::kKilled;
}
#endif

}  // namespace

#ifdef __linux__
TEST(CLogFileCrash, TheLogIsWholeWhereverTheProcessDies)
{
    std::string const old = OldLog();
    std::string const trimmed = old.substr(old.size() - kKept);
    int wasOld = 0;
    int wasTrimmed = 0;
    for (int stop = 1;; ++stop) {
        SCOPED_TRACE("killed at stop " + std::to_string(stop));
        StTempDir const folder;
        folder.Write("log.txt", old);
        End const end = KillAt(stop, [&folder] {
            CLogFile log;
            log.OpenLogFile(CFileSpec(folder.Path("log.txt"), false), kKept);
        });
        if (end == End::kCantBeTraced) GTEST_SKIP() << "no process can be traced here";
        ASSERT_TRUE(folder.Has("log.txt"));
        std::string const found = folder.Read("log.txt");
        ASSERT_TRUE(found == old || found == trimmed);
        ++(found == old ? wasOld : wasTrimmed);
        if (end == End::kCameThrough) {
            EXPECT_EQ(found, trimmed);
            break;
        }
    }
    // Both sides of the one moment at which the log changes were seen.
    EXPECT_GT(wasOld, 0);
    EXPECT_GT(wasTrimmed, 1);
}
#endif

TEST(CLogFileCrash, NoRoomForTheCopyLeavesTheLogAsItWas)
{
    std::string const old = OldLog();
    StTempDir const folder;
    folder.Write("log.txt", old);
    int const context = RunInChild([&folder] {
        // The nearest thing to a full disk that needs no disk: files end at this size.
        signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{kKept / 2, kKept / 2};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 100;
        CLogFile log;
        try {
            log.OpenLogFile(CFileSpec(folder.Path("log.txt"), false), kKept);
        } catch (HierarchicalException const& e) {
            log.Log("closed, so this goes nowhere\n");
            return e.levels[0].signature == kFileDomain ? e.levels[0].context : 101;
        }
        return 0;
    });
    EXPECT_EQ(context, kFileWrite);
    EXPECT_EQ(folder.Read("log.txt"), old);
    EXPECT_FALSE(folder.Has("log 2.txt"));
}

TEST(CLogFileCrash, AFullDiskLeavesTheLogAsItWas)
{
    std::string const old = OldLog();
    StTempDir const folder;
    StChildProcess const child([&](CTestLink& parent) {
        if (!MountOwnFileSystem(folder.Path().c_str(), "size=256k")) return parent.Say("refused");
        folder.Write("log.txt", old);
        CLogFile log;
        CFileSpec const spec(folder.Path("log.txt"), false);
        Failure const failure = FailureOf([&] { log.OpenLogFile(spec, kKept); });
        parent.Say(failure == FileFailure(kOtherFailure, kFileWrite, ENOSPC) ? "full" : "other");
        parent.Say(folder.Read("log.txt") == old ? "as it was" : "changed");
        parent.Say(folder.Has("log 2.txt") ? "a part" : "nothing beside");
    });
    std::string const heard = child.Hear();
    if (heard == "refused") GTEST_SKIP() << "no file system of our own";
    EXPECT_EQ(heard, "full");
    EXPECT_EQ(child.Hear(), "as it was");
    EXPECT_EQ(child.Hear(), "nothing beside");
}

// The copy's name looks free, but a link that leads nowhere has it.
TEST(CLogFileCrash, WhatHasTheNameOfTheCopyIsLeftAlone)
{
    std::string const old = OldLog();
    StTempDir const folder;
    CFileSpec const spec(folder.Write("log.txt", old), false);
    ASSERT_EQ(symlink("nowhere", folder.Path("log 2.txt").c_str()), 0);
    CLogFile log;
    EXPECT_EQ(FailureOf([&] { log.OpenLogFile(spec, kKept); }),
              FileFailure(kFileExists, kFileCreate, EEXIST));
    char target[16] = "";
    EXPECT_EQ(readlink(folder.Path("log 2.txt").c_str(), target, sizeof target - 1), 7);
    EXPECT_EQ(folder.Read("log.txt"), old);
}
