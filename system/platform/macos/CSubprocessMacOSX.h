// A helper program by `NSTask`.
#pragma once

#include "system/platform/CBasicSubprocessPlatform.h"

#import <Foundation/Foundation.h>

/// Takes an exception of the platform, wherever it comes from, for a failure: from then on the
/// child isn't running and has no output.
class CSubprocessMacOSX final : public CBasicSubprocess
{
public:
    /// Keeps `task`, with the outputs as they are set.
    explicit CSubprocessMacOSX(NSTask* task);
    ~CSubprocessMacOSX() override;

    /// Captures the outputs and starts the task. False if it can't be started.
    bool Launch(std::string const& path, std::vector<std::string> const& arguments);

    int GetProcessId() const override;
    bool IsRunning() override;
    void WaitUntilExit() override;
    void Nap(int microSeconds) override;
    void Interrupt() override;
    void Terminate() override;
    bool ReadOutput(std::string& text) override;
    bool ReadErrors(std::string& text) override;

private:
    template <typename Order>
    void Try(Order const& order);
    bool ReadToEnd(NSFileHandle* pipe, std::string& text);

    NSTask* mTask;                    // owned
    NSFileHandle* mOutput = nullptr;  // owned
    NSFileHandle* mErrors = nullptr;  // owned
    bool mHasFailed = false;
};
