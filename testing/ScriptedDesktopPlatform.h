// A desktop that knows what a test told it, and nothing else.
#pragma once

#include "desktop/platform/CBasicDesktopPlatform.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The answers are plain fields, which may be changed between two calls. For one thread.
class ScriptedDesktopPlatform final : public CBasicDesktopPlatform
{
public:
    /// A domain or a volume, and a folder's four characters.
    using FolderKey = std::pair<short, std::string>;

    FolderLookup FindFolder(short domain, unsigned int type, std::u16string& path) override;
    bool GetVolumeOfFolder(short domain, unsigned int type, short& volume) override;
    bool MountServerVolume(std::string const& url, short& volume) override;
    std::vector<std::string> GetMountPoints() override;

    bool HasFileTypes() const override { return mHasFileTypes; }

    bool GetAttributes(std::u16string const& path, DesktopAttributes& attributes) override;
    void
    SetTypeCreator(std::u16string const& path, unsigned int type, unsigned int creator) override;
    std::u16string GetDisplayName(std::u16string const& path) override;
    bool GetResourceValues(std::u16string const& path, DesktopResourceValues& values) override;
    void SetLabel(std::u16string const& path, unsigned int label) override;
    bool MakeReplacementFolder(std::u16string const& path, std::u16string& folder) override;

    /// The calls since the last time, in their order, with their arguments:
    /// "FindFolder(-32763, dtop) SetLabel(/a, 7)".
    std::string TakeCalls();

    /// The paths of folders; none for a folder that no path leads to.
    std::map<FolderKey, std::optional<std::u16string>> mFolders;
    /// The volumes that folders are on.
    std::map<FolderKey, short> mVolumes;
    /// By URL: the volumes that come of mounting it.
    std::map<std::string, short> mServers;
    std::vector<std::string> mMountPoints;
    bool mHasFileTypes = true;
    /// By path. What `SetTypeCreator` and `SetLabel` set is found here too.
    std::map<std::u16string, DesktopAttributes> mAttributes;
    std::map<std::u16string, DesktopResourceValues> mResourceValues;
    /// By path; a file without one shows its file name.
    std::map<std::u16string, std::u16string> mDisplayNames;
    std::optional<std::u16string> mReplacementFolder;

private:
    void Note(std::string const& call);

    std::string mCalls;
};
