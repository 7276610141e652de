// What process control needs of the system.
//
// Operations ask one question or give one order in plain types, never throw, decide nothing and may
// be called from any thread. Those that aren't pure have one body for all systems, which tests
// replace.
#pragma once

class CBasicProcessPlatform
{
public:
    CBasicProcessPlatform() = default;
    CBasicProcessPlatform(CBasicProcessPlatform const&) = delete;
    CBasicProcessPlatform& operator=(CBasicProcessPlatform const&) = delete;
    virtual ~CBasicProcessPlatform() = default;

    /// Sets the nice value of this process with all its threads, and answers 0, or -1 with `errno`.
    virtual int SetNice(int nice) = 0;

    /// The nice value of this process; -1 also if the system doesn't tell.
    virtual int GetNice() const;

    /// Whether there is such a process and it hasn't ended. 0 is this process.
    virtual bool IsRunning(int process) const = 0;

    /// Sends a signal, as `kill` does; whether it arrives isn't told.
    virtual void SendSignal(int process, int signal);

    /// Starts the program at `path`, with a null-terminated list of arguments (0 is the program),
    /// the environment of this process, and nothing else changed. 0 and the child's identifier in
    /// `process`, or an `errno` value and `process` as it was.
    virtual int Spawn(char const* path, char const* const* arguments, int& process) = 0;

    /// Microseconds of a clock that nobody sets and that never goes back.
    virtual long long GetMonotonicMicroSeconds() const;

    /// Blocks the calling thread.
    virtual void Sleep(double seconds);

    /// When the system was started, in seconds since 1970-01-01 00:00:00 UTC. False, and `seconds`
    /// as it was, if it doesn't tell.
    virtual bool GetBootTime(long& seconds) const = 0;
};

/// The platform in use. Any thread may call.
CBasicProcessPlatform& ProcessPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicProcessPlatform* NewProcessPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread controls processes.
class StProcessPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StProcessPlatform(CBasicProcessPlatform& platform);
    StProcessPlatform(StProcessPlatform const&) = delete;
    StProcessPlatform& operator=(StProcessPlatform const&) = delete;
    ~StProcessPlatform();

private:
    CBasicProcessPlatform* mFormer;  // not owned
};
