// Processes and a clock that do what a test told them to, with a trace of what was asked.
#pragma once

#include "system/platform/CBasicProcessPlatform.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Answers are plain fields, set before the code under test runs. Nobody waits: sleeping moves the
/// clock.
class ScriptedProcessPlatform final : public CBasicProcessPlatform
{
public:
    int SetNice(int nice) override
    {
        Note("SetNice(" + std::to_string(nice) + ")");
        mNice = nice;
        return mSetNiceResult;
    }

    int GetNice() const override
    {
        Note("GetNice()");
        return mNice;
    }

    bool IsRunning(int process) const override
    {
        Note("IsRunning(" + std::to_string(process) + ")");
        return mNow < mEnd;
    }

    void SendSignal(int process, int signal) override
    {
        Note("SendSignal(" + std::to_string(process) + ", " + std::to_string(signal) + ")");
    }

    int Spawn(char const* path, char const* const* arguments, int& process) override
    {
        std::string call = std::string("Spawn(") + path;
        for (; *arguments; ++arguments)
            call.append(", ").append(*arguments);
        Note(call + ")");
        if (mSpawnError == 0) process = mChild;
        return mSpawnError;
    }

    long long GetMonotonicMicroSeconds() const override
    {
        Note("GetMonotonicMicroSeconds()");
        return mNow;
    }

    void Sleep(double seconds) override
    {
        auto const microSeconds = std::llround(seconds * 1000000);
        Note("Sleep(" + std::to_string(microSeconds) + ")");
        mNow += microSeconds;
    }

    bool GetBootTime(long& seconds) const override
    {
        Note("GetBootTime()");
        if (mBootTime) seconds = *mBootTime;
        return mBootTime.has_value();
    }

    int mNice = 0;
    int mSetNiceResult = 0;
    int mChild = 4711;
    int mSpawnError = 0;
    std::optional<long> mBootTime;
    /// Microseconds of the clock, and when the processes end.
    long long mNow = 0;
    long long mEnd = std::numeric_limits<long long>::max();

    /// The operations called so far, in their order, with their arguments: "Spawn(/bin/sh, sh,
    /// -c)", "Sleep(25000)" in microseconds.
    mutable std::vector<std::string> mCalls;

private:
    void Note(std::string call) const { mCalls.push_back(std::move(call)); }
};
