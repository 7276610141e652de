// What registering a startup process needs of the system.
//
// Operations answer one question in plain types, never throw, decide nothing and may be called from
// any thread. Texts are UTF-8. `/bin/launchctl` is run by way of `SubprocessPlatform`.
#pragma once

#include <string>

class CBasicStartupPlatform
{
public:
    CBasicStartupPlatform() = default;
    CBasicStartupPlatform(CBasicStartupPlatform const&) = delete;
    CBasicStartupPlatform& operator=(CBasicStartupPlatform const&) = delete;
    virtual ~CBasicStartupPlatform() = default;

    /// The path of the program in the bundle that is the folder at `path`, of any length. False,
    /// and `executable` as it was, if there is none.
    virtual bool GetBundleExecutable(std::string const& path, std::string& executable) const = 0;

    /// The folder "Library" of this user, without a "/" at its end. Empty if there is none.
    virtual std::string GetUserLibrary() const = 0;

    /// Whether the system is of this version, as 10 and 11, or a later one.
    virtual bool IsSystemAtLeast(int major, int minor) const = 0;
};

/// The platform in use. Any thread may call.
CBasicStartupPlatform& StartupPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicStartupPlatform* NewStartupPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread registers anything.
class StStartupPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StStartupPlatform(CBasicStartupPlatform& platform);
    StStartupPlatform(StStartupPlatform const&) = delete;
    StStartupPlatform& operator=(StStartupPlatform const&) = delete;
    ~StStartupPlatform();

private:
    CBasicStartupPlatform* mFormer;  // not owned
};
