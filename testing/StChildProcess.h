// A second process for a test, with a line each way to keep in step.
//
//     StChildProcess child([](CTestLink& parent) { parent.Say(parent.Hear() + " too"); });
//     child.Say("me");
//     EXPECT_EQ(child.Hear(), "me too");
#pragma once

#include <functional>
#include <string>

#include <sys/types.h>

/// One end of the line between two processes.
class CTestLink
{
public:
    /// Takes over `descriptor`, a stream socket.
    explicit CTestLink(int descriptor);
    CTestLink(CTestLink const&) = delete;
    CTestLink& operator=(CTestLink const&) = delete;
    ~CTestLink();

    /// Sends `line`, which holds no newline. Lost if the other end has gone.
    void Say(std::string const& line) const;
    /// Blocks for the next line of the other end; "(gone)" if that has gone.
    std::string Hear() const;

private:
    int mDescriptor;
};

/// Forks: only for tests that run no thread beside. The child sees the test's memory as it was.
class StChildProcess
{
public:
    /// The child runs `body` and leaves, without the test's own ends and without the checks for
    /// leaks. It says what goes wrong, an exception too, and checks nothing by itself.
    explicit StChildProcess(std::function<void(CTestLink& parent)> const& body);
    StChildProcess(StChildProcess const&) = delete;
    StChildProcess& operator=(StChildProcess const&) = delete;
    /// Kills the child if it still runs.
    ~StChildProcess();

    pid_t Id() const { return mId; }

    void Say(std::string const& line) const { mLink->Say(line); }

    std::string Hear() const { return mLink->Hear(); }

    /// Kills the child, which has no chance to tidy up, and waits until it is gone.
    void Kill();
    /// Waits until the child has ended. The signal that ended it; 0 if it left by itself.
    int WaitForEnd();

private:
    pid_t mId = -1;
    CTestLink* mLink = nullptr;  // owned
    bool mIsRunning = true;
};
