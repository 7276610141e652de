#include "desktop/platform/linux/BlockDevice.h"

#include "desktop/VolumeRegistry.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

namespace {

constexpr std::string_view kDeleted = " (deleted)";

// What disks call themselves, in the order in which it comes into the text: SCSI, ATA and USB;
// NVMe; memory cards.
constexpr char const* kDeviceTexts[] = {"model", "name", "rev", "firmware_rev", "vendor"};

// Mappings over mappings are few; a circle would be an error of the kernel.
constexpr int kMostLevels = 16;
constexpr int kMostDevices = 64;

// A small file without the line end that closes it; false where there is none. Sysfs gives a whole
// file in one read.
bool ReadText(std::string const& file, std::string& text)
{
    int const descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) return false;
    char buffer[PATH_MAX + 64];
    ssize_t const size = read(descriptor, buffer, sizeof buffer);
    close(descriptor);
    if (size < 0) return false;
    text.assign(buffer, static_cast<std::size_t>(size));
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return true;
}

// The names in a folder but "." and "..", sorted; none where there is no such folder.
std::vector<std::string> NamesIn(std::string const& folder)
{
    std::vector<std::string> names;
    DIR* const dir = opendir(folder.c_str());
    if (!dir) return names;
    while (dirent const* const entry = readdir(dir)) {
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

// Goes down from a device to all that it stands on.
class CDeviceWalk
{
public:
    void Visit(std::string const& folder, int levels)
    {
        if (levels == 0 || mDevicesLeft-- <= 0) return;
        // The folder of a partition lies in that of its disk.
        bool const isPartition = access((folder + "/partition").c_str(), F_OK) == 0;
        std::string const disk = isPartition ? folder + "/.." : folder;
        // A partition can't be mapped, but a disk of partitions can.
        std::string const slaves = disk + "/slaves/";
        std::vector<std::string> const parts = NamesIn(slaves);
        for (std::string const& part : parts)
            Visit(std::string(slaves).append(part), levels - 1);
        if (!parts.empty() && mIsMediumKnown) return;
        AddDisk(disk);
    }

    BlockDevice Result() const
    {
        BlockDevice device;
        if (mIsMediumKnown) device.mMedium = mIsRotational ? "Rotational" : "Solid State";
        device.mImagePath = mImagePath;
        device.mDeviceInfo = mDeviceInfo.value_or("");
        return device;
    }

private:
    void AddDisk(std::string const& disk)
    {
        std::string text;
        if (ReadText(disk + "/queue/rotational", text) && (text == "0" || text == "1")) {
            mIsMediumKnown = true;
            mIsRotational = mIsRotational || text == "1";
        }
        if (mImagePath.empty() && ReadText(disk + "/loop/backing_file", text)) TakeImage(text);
        for (char const* const name : kDeviceTexts) {
            if (ReadText(disk + "/device/" + name, text)) AddDeviceText(text);
        }
    }

    void TakeImage(std::string const& path)
    {
        mImagePath = path;
        bool const isDeleted =
            path.size() > kDeleted.size() &&
            std::string_view(path).substr(path.size() - kDeleted.size()) == kDeleted;
        if (isDeleted) mImagePath.resize(path.size() - kDeleted.size());
    }

    // Paravirtual disks have a number where others have their vendor's name.
    void AddDeviceText(std::string const& text)
    {
        if (text.compare(0, 2, "0x") == 0) return;
        std::string merged = MergeTexts(mDeviceInfo, text);
        if (!merged.empty()) mDeviceInfo = merged;
    }

    bool mIsMediumKnown = false;
    bool mIsRotational = false;
    std::string mImagePath;
    std::optional<std::string> mDeviceInfo;
    int mDevicesLeft = kMostDevices;
};

}  // namespace

BlockDevice
ReadBlockDevice(std::string const& root, unsigned int majorNumber, unsigned int minorNumber)
{
    CDeviceWalk walk;
    walk.Visit(root + "/dev/block/" + std::to_string(majorNumber) + ":" +
                   std::to_string(minorNumber),
               kMostLevels);
    return walk.Result();
}
