// Linux has symbolic links and nothing else that the portable layer doesn't know of.
#include "desktop/platform/CBasicAliasPlatform.h"
#include "desktop/platform/linux/MountTable.h"

namespace {

class CAliasPlatformLinux final : public CBasicAliasPlatform
{
public:
    AliasWay GetAliasWay() const override { return kAliasesAreLinks; }

    bool IsAliasFile(std::u16string const&) const override { return false; }

    bool FollowURL(std::u16string const&, FollowedURL&) const override { return false; }

    bool FollowReference(std::u16string const&, bool&, std::u16string&) const override
    {
        return false;
    }

    bool RunImageTool(std::vector<std::u16string> const&, double, std::string&) const override
    {
        return false;
    }

    std::vector<std::string> GetVolumeRoots() const override
    {
        return CMountTable::Read().VolumePaths();
    }
};

}  // namespace

CBasicAliasPlatform* NewAliasPlatform()
{
    return new CAliasPlatformLinux;
}
