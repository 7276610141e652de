// Linux has no desktop of its own: no standard folders, no types, no labels. What remains is what
// the kernel knows, and what names say.
#include "desktop/platform/CBasicDesktopPlatform.h"
#include "desktop/platform/linux/MountTable.h"
#include "text/CUTFConverter.h"

#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

std::u16string_view FileName(std::u16string const& path)
{
    // Without a "/" the sum is 0.
    return std::u16string_view(path).substr(path.rfind(u'/') + 1);
}

class CDesktopPlatformLinux final : public CBasicDesktopPlatform
{
public:
    FolderLookup FindFolder(short, unsigned int, std::u16string&) override
    {
        return kFolderUnknown;
    }

    bool GetVolumeOfFolder(short, unsigned int, short&) override { return false; }

    bool MountServerVolume(std::string const&, short&) override { return false; }

    std::vector<std::string> GetMountPoints() override { return CMountTable::Read().VolumePaths(); }

    bool HasFileTypes() const override { return false; }

    bool GetAttributes(std::u16string const& path, DesktopAttributes& attributes) override
    {
        std::string path8bit;
        CUTFConverter::ConvertUTF16toUTF8(path, path8bit, CUTFConverter::kLenientMode);
        struct statx found = {};
        if (statx(AT_FDCWD, path8bit.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME, &found) != 0)
            return false;
        if (found.stx_mask & STATX_BTIME)
            attributes.mCreationDate = static_cast<double>(found.stx_btime.tv_sec);
        return true;
    }

    void SetTypeCreator(std::u16string const&, unsigned int, unsigned int) override {}

    std::u16string GetDisplayName(std::u16string const& path) override
    {
        return std::u16string(FileName(path));
    }

    // Told by the name alone, whether or not there is such a file.
    bool GetResourceValues(std::u16string const& path, DesktopResourceValues& values) override
    {
        std::u16string_view const name = FileName(path);
        values.mIsHidden = !name.empty() && name.front() == u'.';
        values.mIsPackage = false;
        return true;
    }

    void SetLabel(std::u16string const&, unsigned int) override {}

    bool MakeReplacementFolder(std::u16string const&, std::u16string&) override { return false; }
};

}  // namespace

CBasicDesktopPlatform* NewDesktopPlatform()
{
    return new CDesktopPlatformLinux;
}
