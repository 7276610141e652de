#include "testing/ScriptedSubprocessPlatform.h"

#include <utility>

class ScriptedSubprocess final : public CBasicSubprocess
{
public:
    ScriptedSubprocess(ScriptedSubprocessPlatform& platform, ScriptedProgram program)
        : mPlatform(platform)
        , mProgram(std::move(program))
    {
    }

    int GetProcessId() const override { return ScriptedSubprocessPlatform::kProcessId; }

    bool IsRunning() override { return !mProgram.mEnd || mPlatform.mElapsed < *mProgram.mEnd; }

    void WaitUntilExit() override
    {
        Note("WaitUntilExit");
        mProgram.mEnd = 0;
    }

    void Nap(int microSeconds) override
    {
        mPlatform.mElapsed += microSeconds;
        mPlatform.mTime += microSeconds;
        auto const jump = mPlatform.mJumps.find(++mPlatform.mNaps);
        if (jump != mPlatform.mJumps.end()) mPlatform.mTime += jump->second;
    }

    void Interrupt() override
    {
        Note("Interrupt(" + std::to_string(mPlatform.mElapsed) + ")");
        if (mProgram.mEndsAtInterrupt) mProgram.mEnd = 0;
    }

    void Terminate() override
    {
        Note("Terminate(" + std::to_string(mPlatform.mElapsed) + ")");
        if (mProgram.mEndsAtTerminate) mProgram.mEnd = 0;
    }

    bool ReadOutput(std::string& text) override
    {
        Note("ReadOutput");
        text = mProgram.mOutput;
        return mProgram.mIsOutputReadable;
    }

    bool ReadErrors(std::string& text) override
    {
        Note("ReadErrors");
        text = mProgram.mErrors;
        return mProgram.mAreErrorsReadable;
    }

private:
    void Note(std::string const& call) { mPlatform.mCalls.push_back(call); }

    ScriptedSubprocessPlatform& mPlatform;
    ScriptedProgram mProgram;
};

bool ScriptedSubprocessPlatform::FileExists(std::string const& path) const
{
    mCalls.push_back("FileExists(" + path + ")");
    return mIsThere;
}

std::unique_ptr<CBasicSubprocess>
ScriptedSubprocessPlatform::Launch(std::string const& path,
                                   std::vector<std::string> const& arguments)
{
    std::string call = "Launch(" + path;
    for (std::string const& argument : arguments)
        call += ", " + argument;
    mCalls.push_back(call + ")");
    ScriptedProgram program = mProgram ? mProgram(path, arguments) : ScriptedProgram();
    if (!program.mIsStarted) return nullptr;
    mElapsed = 0;
    mUnknownFrom = program.mIsUnknown;
    return std::make_unique<ScriptedSubprocess>(*this, std::move(program));
}

long long ScriptedSubprocessPlatform::GetMicroTime() const
{
    return mTime;
}

bool ScriptedSubprocessPlatform::HasProcess(int process) const
{
    return process == kProcessId && (!mUnknownFrom || mElapsed < *mUnknownFrom);
}
