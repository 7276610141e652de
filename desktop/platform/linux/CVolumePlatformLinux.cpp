#include "desktop/platform/CBasicVolumePlatform.h"

#include "desktop/VolumeProperties.h"
#include "desktop/platform/linux/BlockDevice.h"
#include "desktop/platform/linux/CMountTableCache.h"
#include "desktop/platform/linux/ServerURL.h"

#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

std::string_view WithoutSlashesAtEnd(std::string_view path)
{
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

// The number of the mount that a path is on; false if the path isn't there, or before Linux 5.8.
bool GetMountId(char const* path, unsigned long long& id)
{
    struct statx file;
    // Neither asks a server for what is known here, nor mounts what would be mounted on demand.
    int const flags = AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT;
    if (statx(AT_FDCWD, path, flags, STATX_MNT_ID, &file) != 0) return false;
    id = file.stx_mnt_id;
    return (file.stx_mask & STATX_MNT_ID) != 0;
}

// The table tells the device, but for file systems on several of them: those have a number of their
// own, and one of their devices as the source.
bool GetDevice(VolumeMount const& mount, unsigned int& majorNumber, unsigned int& minorNumber)
{
    majorNumber = mount.mMajor;
    minorNumber = mount.mMinor;
    if (majorNumber != 0) return true;
    struct stat node;
    if (stat(mount.mSource.c_str(), &node) != 0 || !S_ISBLK(node.st_mode)) return false;
    majorNumber = major(node.st_rdev);
    minorNumber = minor(node.st_rdev);
    return true;
}

void AddText(char const* key, std::string&& text, VolumeProperties& properties)
{
    if (!text.empty()) properties[key] = std::move(text);
}

class CVolumePlatformLinux final : public CBasicVolumePlatform
{
public:
    // Nothing but the table is looked at for a mount point: it needs no answer from its server.
    bool GetMount(std::string const& path, VolumeMount& mount) override
    {
        auto table = mTables.Get();
        MountEntry const* entry = table->FindMountPoint(WithoutSlashesAtEnd(path.c_str()));
        unsigned long long id = 0;
        if (!entry && GetMountId(path.c_str(), id)) {
            entry = table->FindId(id);
            if (!entry) {
                // Mounted since.
                table = mTables.Get();
                entry = table->FindId(id);
            }
        }
        if (!entry) return false;
        mount = {std::string(entry->mType),
                 std::string(entry->mMountPoint),
                 std::string(entry->mSource),
                 std::string(entry->mOptions),
                 entry->mMajor,
                 entry->mMinor};
        return true;
    }

    // There is neither a registry nor a record.
    RegistryEntries FindDevice(std::string const&) override { return {}; }

    bool GetMountRecord(std::string const&, std::string&) override { return false; }

    void AddProperties(VolumeMount const& mount, VolumeProperties& properties) override
    {
        AddText(kVolumeServerURL, ServerURLOf(mount.mType, mount.mSource, mount.mOptions),
                properties);
        unsigned int majorNumber = 0;
        unsigned int minorNumber = 0;
        if (mount.mSource.compare(0, 5, "/dev/") != 0) return;
        if (!GetDevice(mount, majorNumber, minorNumber)) return;
        BlockDevice device = ReadBlockDevice("/sys", majorNumber, minorNumber);
        AddText(kVolumeMedium, std::move(device.mMedium), properties);
        AddText(kVolumeImagePath, std::move(device.mImagePath), properties);
        AddText(kVolumeDeviceInfo, std::move(device.mDeviceInfo), properties);
    }

private:
    CMountTableCache mTables;
};

}  // namespace

CBasicVolumePlatform* NewVolumePlatform()
{
    return new CVolumePlatformLinux;
}
