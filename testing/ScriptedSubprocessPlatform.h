// Helper programs that go as a test told them to, on a clock that only naps move.
#pragma once

#include "system/platform/CBasicSubprocessPlatform.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// How one program goes. Times are microseconds since it was started.
struct ScriptedProgram
{
    std::string mOutput;
    std::string mErrors;
    /// When it ends by itself.
    std::optional<long long> mEnd = 0;
    /// From when on the system knows no such process.
    std::optional<long long> mIsUnknown;
    bool mEndsAtInterrupt = false;
    bool mEndsAtTerminate = false;
    bool mIsStarted = true;
    bool mIsOutputReadable = true;
    bool mAreErrorsReadable = true;
};

/// The answers are plain fields, set before the code under test runs. For one thread.
class ScriptedSubprocessPlatform final : public CBasicSubprocessPlatform
{
public:
    static constexpr int kProcessId = 4711;

    bool FileExists(std::string const& path) const override;
    std::unique_ptr<CBasicSubprocess> Launch(std::string const& path,
                                             std::vector<std::string> const& arguments) override;
    long long GetMicroTime() const override;
    bool HasProcess(int process) const override;

    /// What was asked of the platform and of its programs, in order. "FileExists(/bin/ls)",
    /// "Launch(/bin/ls, -l, /tmp)", "WaitUntilExit", "Interrupt(3100000)" with the time since the
    /// launch, "ReadOutput". Naps are counted, and what only looks isn't noted.
    mutable std::vector<std::string> mCalls;
    /// Of all programs together.
    int mNaps = 0;
    /// What the clock jumps by behind a nap, counted from 1.
    std::map<int, long long> mJumps;

    bool mIsThere = true;
    /// The program that stands at a path, asked at each launch.
    std::function<ScriptedProgram(std::string const& path,
                                  std::vector<std::string> const& arguments)>
        mProgram;

private:
    friend class ScriptedSubprocess;

    // A day of 2024: as large as the numbers of a real clock.
    static constexpr long long kStartTime = 1709644029250000;

    long long mTime = kStartTime;
    long long mElapsed = 0;                 // since the launch
    std::optional<long long> mUnknownFrom;  // of the last program
};
