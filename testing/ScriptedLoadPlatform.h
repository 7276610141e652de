// Processors whose ticks a test wrote down, with a trace of what was asked.
#pragma once

#include "system/platform/CBasicLoadPlatform.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Answers are plain fields, set before the code under test runs.
class ScriptedLoadPlatform final : public CBasicLoadPlatform
{
public:
    unsigned int GetHostPort() override
    {
        Note("GetHostPort()");
        return mHostPort;
    }

    bool TakeSnapshot(unsigned int hostPort, ProcessorSnapshot& snapshot) override
    {
        Note("TakeSnapshot(" + std::to_string(hostPort) + ")");
        if (!mTicks) return false;
        snapshot.mProcessorCount = static_cast<unsigned int>(mTicks->size());
        snapshot.mInfoCount = snapshot.mProcessorCount * 4;
        snapshot.mTicks = new ProcessorTicks[mTicks->size()];
        std::copy(mTicks->begin(), mTicks->end(), snapshot.mTicks);
        ++mHeldSnapshots;
        return true;
    }

    void ReleaseSnapshot(ProcessorTicks* ticks, unsigned long size) override
    {
        Note("ReleaseSnapshot(" + std::to_string(size) + ")");
        delete[] ticks;
        --mHeldSnapshots;
    }

    bool GetProcessTime(long long& microSeconds) const override
    {
        Note("GetProcessTime()");
        if (mProcessTime) microSeconds = *mProcessTime;
        return mProcessTime.has_value();
    }

    bool CountCores(int& count) const override
    {
        Note("CountCores()");
        if (mCores) count = *mCores;
        return mCores.has_value();
    }

    bool CountProcessors(int& count) const override
    {
        Note("CountProcessors()");
        if (mProcessors) count = *mProcessors;
        return mProcessors.has_value();
    }

    unsigned int mHostPort = 7;
    /// What is empty isn't told.
    std::optional<std::vector<ProcessorTicks>> mTicks;
    std::optional<long long> mProcessTime = 0;
    std::optional<int> mCores;
    std::optional<int> mProcessors;

    /// Snapshots that weren't given back.
    int mHeldSnapshots = 0;
    /// The operations called so far, in their order, with their arguments.
    mutable std::vector<std::string> mCalls;

private:
    void Note(std::string call) const { mCalls.push_back(std::move(call)); }
};
