// What running a helper program needs of the system.
//
// Operations ask one question or give one order in plain types, never throw and decide nothing, but
// `std::bad_alloc` may leave those that answer with text. Text is UTF-8. Any thread may call the
// platform; a child serves one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <vector>

/// A child process, with its two outputs captured. When the object goes, the outputs are closed,
/// and a child that has ended, or does so later, leaves nothing behind in the system.
class CBasicSubprocess
{
public:
    CBasicSubprocess() = default;
    CBasicSubprocess(CBasicSubprocess const&) = delete;
    CBasicSubprocess& operator=(CBasicSubprocess const&) = delete;
    virtual ~CBasicSubprocess() = default;

    virtual int GetProcessId() const = 0;
    /// False once the child has ended, also where this process ignores the end of its children or
    /// has collected it elsewhere.
    virtual bool IsRunning() = 0;
    /// Blocks until `IsRunning` is false.
    virtual void WaitUntilExit() = 0;
    /// Sleeps for so many microseconds, or for less: it may come back when the child ends or when a
    /// signal comes.
    virtual void Nap(int microSeconds) = 0;

    /// The polite signal, SIGINT, to the child alone. Nothing happens to one that has ended.
    virtual void Interrupt() = 0;
    /// The firm signal, SIGTERM, in the same way.
    virtual void Terminate() = 0;

    /// Reads an output to its end, however long nobody writes and nobody closes it. False if that
    /// fails.
    virtual bool ReadOutput(std::string& text) = 0;
    virtual bool ReadErrors(std::string& text) = 0;
};

class CBasicSubprocessPlatform
{
public:
    CBasicSubprocessPlatform() = default;
    CBasicSubprocessPlatform(CBasicSubprocessPlatform const&) = delete;
    CBasicSubprocessPlatform& operator=(CBasicSubprocessPlatform const&) = delete;
    virtual ~CBasicSubprocessPlatform() = default;

    /// Whether there is a file, or a folder, at the path, behind links.
    virtual bool FileExists(std::string const& path) const = 0;
    /// Starts the program at `path`, which is also its argument 0, with nothing of this process's
    /// descriptors but its standard input, and with the two outputs captured. Null if that fails.
    virtual std::unique_ptr<CBasicSubprocess> Launch(std::string const& path,
                                                     std::vector<std::string> const& arguments) = 0;

    // The same on all systems, and here for tests to stand in for.

    /// `safeWaitGetCurrentMicroTime`.
    virtual long long GetMicroTime() const;
    /// Whether the system knows such a process, which may have ended.
    virtual bool HasProcess(int process) const;
};

/// The platform in use. Any thread may call.
CBasicSubprocessPlatform& SubprocessPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicSubprocessPlatform* NewSubprocessPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread runs a program.
class StSubprocessPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StSubprocessPlatform(CBasicSubprocessPlatform& platform);
    StSubprocessPlatform(StSubprocessPlatform const&) = delete;
    StSubprocessPlatform& operator=(StSubprocessPlatform const&) = delete;
    ~StSubprocessPlatform();

private:
    CBasicSubprocessPlatform* mFormer;  // not owned
};
