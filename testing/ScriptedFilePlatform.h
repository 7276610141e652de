// A file platform that passes calls on to the system's own, unless a test told it what to answer.
#pragma once

#include "files/platform/CBasicFilePlatform.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// The answers are plain fields, set before the code under test runs; the trace may grow from many
/// threads.
class ScriptedFilePlatform final : public CBasicFilePlatform
{
public:
    /// For `Fail`: every call.
    static constexpr int kAlways = 0;

    ScriptedFilePlatform();
    ~ScriptedFilePlatform() override;

    int OpenLocked(char const* path, int flags, int& error) override;
    int MakeWatch() override;
    FileChange WaitOnWatch(int watch, int descriptor, char const* path) override;
    void CloseWatch(int watch) override;
    bool GetPhysicalPosition(int descriptor, long long offset, long long& position) override;
    FileReplacement ReplaceObject(char const* target,
                                  char const* replacement,
                                  char const* backupName,
                                  char const* workFolder) override;
    void SetBackupExclusion(char const* path, bool exclude) override;
    bool GetBackupExclusion(char const* path) override;
    void SetQuarantine(char const* path) override;
    void
    SetAttribute(char const* path, char const* name, void const* value, std::size_t size) override;
    long GetAttribute(char const* path, char const* name, void* buffer, std::size_t size) override;
    long ListAttributes(char const* path, char* buffer, std::size_t size) override;

    /// Makes the `nth` call of `operation` from now on fail, counted from 1, or with `kAlways`
    /// each. `error` is for operations that tell an `errno` value. What fails isn't passed on.
    void Fail(std::string const& operation, int nth, int error = 0);

    /// The operations called so far, in their order, with their arguments, failed ones too:
    /// "GetPhysicalPosition(4096)", "ReplaceObject(/a/b, /a/c, b.old, /a)". Descriptors, watches
    /// and buffers are left out, a null string is "null", and an attribute's value is shown.
    std::vector<std::string> Calls() const;

    /// Where given, these answer.
    std::optional<long long> mPhysicalPosition;
    /// The size that `GetAttribute` and `ListAttributes` tell when they are called without a
    /// buffer.
    std::optional<long> mAttributeSize;
    std::function<FileChange()> mWaitOnWatch;
    /// With the arguments of `ReplaceObject`; a null backup name is an empty one.
    std::function<FileReplacement(
        std::string const&, std::string const&, std::string const&, std::string const&)>
        mReplaceObject;
    /// By path: what `SetBackupExclusion` sets and `GetBackupExclusion` answers.
    std::map<std::string, bool> mBackupExclusions;

private:
    struct Fault
    {
        int mCallsLeft;  // until the one that fails; `kAlways`
        int mError;
    };

    /// Notes a call, and answers its fault if it is to fail.
    std::optional<Fault> Note(std::string const& operation, std::string const& arguments);

    std::unique_ptr<CBasicFilePlatform> mSystem;  // owned
    mutable std::mutex mMutex;
    std::vector<std::string> mCalls;       // guarded by mMutex
    std::map<std::string, Fault> mFaults;  // by operation; guarded by mMutex
};
