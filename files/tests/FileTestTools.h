// Small tools that the tests of files share.
#pragma once

#include "files/CFile.h"
#include "files/tests/FileTesting.h"

#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

inline std::string PathOf(CFile& file)
{
    return PathOf(*file.GetFileSpec());
}

/// The descriptors of this process that are open on `path`, as Linux shows them.
inline std::vector<int> DescriptorsOf(std::string const& path)
{
    std::vector<int> found;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path) {
            found.push_back(std::stoi(entry.path().filename()));
        }
    }
    return found;
}

/// Acts as a user whom permissions hold back, for a scope; as root only, and else it does nothing.
class StUnprivileged
{
public:
    StUnprivileged()
        : mUser(geteuid())
    {
        if (mUser == 0) mIsChanged = seteuid(65534) == 0;
    }

    StUnprivileged(StUnprivileged const&) = delete;
    StUnprivileged& operator=(StUnprivileged const&) = delete;

    ~StUnprivileged()
    {
        if (mIsChanged && seteuid(mUser) != 0) std::terminate();
    }

private:
    uid_t mUser;
    bool mIsChanged = false;
};
