// What compression needs to know of the machine: how many threads it can keep busy.
//
// Operations answer one question in plain types, never throw, decide nothing and may be called from
// any thread.
#pragma once

class CBasicProcessorPlatform
{
public:
    CBasicProcessorPlatform() = default;
    CBasicProcessorPlatform(CBasicProcessorPlatform const&) = delete;
    CBasicProcessorPlatform& operator=(CBasicProcessorPlatform const&) = delete;
    virtual ~CBasicProcessorPlatform() = default;

    /// The processors that run now. 0 only where the system doesn't say.
    virtual int CountRunningProcessors() const = 0;
};

/// The platform in use. Any thread may call.
CBasicProcessorPlatform& ProcessorPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicProcessorPlatform* NewProcessorPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread makes a compressor.
class StProcessorPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StProcessorPlatform(CBasicProcessorPlatform& platform);
    StProcessorPlatform(StProcessorPlatform const&) = delete;
    StProcessorPlatform& operator=(StProcessorPlatform const&) = delete;
    ~StProcessorPlatform();

private:
    CBasicProcessorPlatform* mFormer;  // not owned
};
