// A desktop's answers for startup processes, made up by a test.
#pragma once

#include "system/platform/CBasicStartupPlatform.h"

#include <map>
#include <string>
#include <utility>

/// Answers are plain fields, set before the code under test runs.
class ScriptedStartupPlatform final : public CBasicStartupPlatform
{
public:
    bool GetBundleExecutable(std::string const& path, std::string& executable) const override
    {
        auto const found = mExecutables.find(path);
        if (found == mExecutables.end()) return false;
        executable = found->second;
        return true;
    }

    std::string GetUserLibrary() const override { return mUserLibrary; }

    bool IsSystemAtLeast(int major, int minor) const override
    {
        return mVersion >= std::pair(major, minor);
    }

    std::map<std::string, std::string> mExecutables;  ///< by the path of the bundle
    std::string mUserLibrary = "/Users/ann/Library";
    std::pair<int, int> mVersion{10, 11};
};
