// Aliases, disk images and volumes as a test told them.
#pragma once

#include "desktop/platform/CBasicAliasPlatform.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

/// The answers are plain fields, set before the code under test runs. For one thread.
class ScriptedAliasPlatform final : public CBasicAliasPlatform
{
public:
    AliasWay GetAliasWay() const override { return mWay; }

    bool IsAliasFile(std::u16string const& path) const override
    {
        mAsked.push_back(path);
        return mAliasFiles.count(path) != 0;
    }

    bool FollowURL(std::u16string const& path, FollowedURL& followed) const override
    {
        auto const found = mURLs.find(path);
        if (found == mURLs.end()) return false;
        followed = found->second;
        return true;
    }

    bool FollowReference(std::u16string const& path,
                         bool& wasAlias,
                         std::u16string& target) const override
    {
        auto const found = mReferences.find(path);
        if (found == mReferences.end()) return false;
        std::tie(wasAlias, target) = found->second;
        return true;
    }

    bool RunImageTool(std::vector<std::u16string> const& arguments,
                      double seconds,
                      std::string& output) const override
    {
        mToolArguments = arguments;
        mToolSeconds = seconds;
        if (mToolOutput) output = *mToolOutput;
        return mToolOutput.has_value();
    }

    std::vector<std::string> GetVolumeRoots() const override
    {
        ++mListed;
        return mVolumeRoots;
    }

    AliasWay mWay = kAliasesByURL;
    std::set<std::u16string> mAliasFiles;
    /// By path; where there is none the system has no answer.
    std::map<std::u16string, FollowedURL> mURLs;
    /// By path: whether it was an alias, and the target. Where there is none the system fails.
    std::map<std::u16string, std::pair<bool, std::u16string>> mReferences;
    /// What the tool for images writes; there is no such tool without.
    std::optional<std::string> mToolOutput;
    std::vector<std::string> mVolumeRoots;

    /// The paths that `IsAliasFile` was called with.
    mutable std::vector<std::u16string> mAsked;
    mutable std::vector<std::u16string> mToolArguments;
    mutable double mToolSeconds = 0;
    /// How often the volumes were listed.
    mutable int mListed = 0;
};
