// What is asked of the system about its processors.
//
// Operations answer one question in plain types, never throw, decide nothing and may be called from
// any thread.
#pragma once

/// One processor's ticks since the system was started, by what it was doing. They wrap.
struct ProcessorTicks
{
    unsigned int mUser;
    unsigned int mSystem;
    unsigned int mIdle;
    unsigned int mNice;
};

/// All processors at one moment. The array belongs to whoever asked, who gives it back with
/// `ReleaseSnapshot`.
struct ProcessorSnapshot
{
    unsigned int mProcessorCount = 0;
    ProcessorTicks* mTicks = nullptr;
    unsigned int mInfoCount = 0;  ///< numbers in the array: four a processor
};

class CBasicLoadPlatform
{
public:
    CBasicLoadPlatform() = default;
    CBasicLoadPlatform(CBasicLoadPlatform const&) = delete;
    CBasicLoadPlatform& operator=(CBasicLoadPlatform const&) = delete;
    virtual ~CBasicLoadPlatform() = default;

    /// The handle by which snapshots are asked for; 0 where none is needed.
    virtual unsigned int GetHostPort() = 0;

    /// The ticks now. Processors keep their places from one snapshot to the next. False, and
    /// `snapshot` as it was, if the system doesn't tell.
    virtual bool TakeSnapshot(unsigned int hostPort, ProcessorSnapshot& snapshot) = 0;

    /// Gives the memory of a snapshot back; `size` is in bytes.
    virtual void ReleaseSnapshot(ProcessorTicks* ticks, unsigned long size) = 0;

    /// The processor time that this process has used, by itself and in the system, in microseconds.
    /// False, and `microSeconds` as it was, if the system doesn't tell.
    virtual bool GetProcessTime(long long& microSeconds) const;

    /// How many cores the machine has, as far as the system knows those that are switched off.
    /// False, and `count` as it was, if it doesn't tell.
    virtual bool CountCores(int& count) const = 0;

    /// The same of processors, of which a core may have several.
    virtual bool CountProcessors(int& count) const = 0;
};

/// The platform in use. Any thread may call.
CBasicLoadPlatform& LoadPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicLoadPlatform* NewLoadPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for the load.
class StLoadPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StLoadPlatform(CBasicLoadPlatform& platform);
    StLoadPlatform(StLoadPlatform const&) = delete;
    StLoadPlatform& operator=(StLoadPlatform const&) = delete;
    ~StLoadPlatform();

private:
    CBasicLoadPlatform* mFormer;  // not owned
};
