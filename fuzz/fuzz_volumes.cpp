// Any bytes as the record of a mounted server volume, as a table of mounts, as a mount's source and
// as entries of the registry of devices: nothing reads outside them, what comes out holds together,
// and each walk comes to an end. The record gets memory of its exact size, so that the address
// sanitizer sees the end.
#include "desktop/VolumeMountRecord.h"
#include "desktop/VolumeRegistry.h"
#include "desktop/platform/linux/MountTable.h"
#include "desktop/platform/linux/ServerURL.h"
#include "testing/ScriptedVolumePlatform.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

// Mostly of a type that has something to read behind it.
void CheckRecord(std::string_view bytes)
{
    constexpr char const* kTypes[] = {"mpfa", "sfic", "ptth", "_sfn"};  // least byte first
    std::size_t const size = bytes.size();
    auto const memory = std::make_unique<char[]>(size);
    bytes.copy(memory.get(), size);
    for (std::size_t type = 0; type <= std::size(kTypes); ++type) {
        if (type > 0 && size >= 6) std::string_view(kTypes[type - 1], 4).copy(memory.get() + 2, 4);
        ServerVolume const server = ReadMountRecord({memory.get(), size}, "source");
        Require(!server.mURL || server.mURL->find('\0') == std::string::npos);
        Require(!server.mName || server.mName->size() <= 255);
    }
}

void CheckTable(std::string_view bytes)
{
    CMountTable const table(std::vector<char>(bytes.begin(), bytes.end()));
    for (MountEntry const& entry : table.Entries()) {
        Require(!entry.mMountPoint.empty());
        Require(table.FindId(entry.mId) != nullptr);
        MountEntry const* const shown = table.FindMountPoint(entry.mMountPoint);
        Require(entry.mIsHidden || (shown && shown->mMountPoint == entry.mMountPoint));
        ServerURLOf(entry.mType, entry.mSource, entry.mOptions);
    }
    Require(table.VolumePaths().size() <= table.Entries().size());
}

// What comes out is ASCII without blanks, but for a URL that is taken as it is.
void CheckSource(std::string_view bytes)
{
    std::size_t const half = bytes.size() / 2;
    for (char const* const type : {"nfs", "cifs", "fuse.sshfs", "9p"}) {
        for (char const c : ServerURLOf(type, bytes.substr(0, half), bytes.substr(half)))
            Require(c > ' ' && c < '\x7F');
    }
}

// Eight bytes for each entry: its class, the two that it is attached to, where its text stands and
// under which key, and three of text. Entries in circles are frequent.
void CheckWalk(std::string_view bytes)
{
    constexpr std::size_t kMostEntries = 16;
    constexpr std::size_t kBytes = 8;
    constexpr char const* kClasses[] = {
        "IOService",
        "IOApplePartitionScheme",
        "IOMedia",
        "IODiskImageBlockStorageDeviceOutKernel",
        "IOHDIXHDDriveInKernel",
        "IOPCIDevice",
    };
    constexpr char const* kDictionaries[] = {"Protocol Characteristics", "Device Characteristics"};
    constexpr char const* kKeys[] = {
        "Content Mask",
        "Content",
        "Virtual Interface Location Path",
        "KDIURLPath",
        "Product Name",
        "Physical Interconnect",
        "Product Revision Level",
        "Vendor Name",
        "Medium Type",
        "USB Serial Number",
        "USB Vendor Name",
    };

    std::size_t const count = std::min(bytes.size() / kBytes, kMostEntries);
    if (count == 0) return;
    std::vector<ScriptedDevice> devices(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::string_view const entry = bytes.substr(i * kBytes, kBytes);
        auto const number = [entry](std::size_t at) {
            return static_cast<std::uint8_t>(entry[at]);
        };
        ScriptedDevice& device = devices[i];
        device.mClass = kClasses[number(0) % std::size(kClasses)];
        for (std::size_t const parent : {number(1), number(2)}) {
            if (parent < 0x80) device.mParents.push_back(&devices[parent % count]);
        }
        RegistryProperties& all = device.mProperties;
        std::size_t const place = number(3) % (std::size(kDictionaries) + 1);
        RegistryLevel& level = place == 0 ? all : all.mDictionaries[kDictionaries[place - 1]];
        std::string const key = kKeys[number(4) % std::size(kKeys)];
        level.mTexts[key] = entry.substr(5);
        level.mData[key] = entry.substr(5);
    }

    VolumeProperties found;
    std::vector<std::string> read;
    CheckParents(ScriptedRegistryEntry(devices[0], &read), std::nullopt, found);
    Require(read.size() <= 1024);
}

// What has been said once isn't said again.
void CheckMerge(std::string_view bytes)
{
    std::string const oldText(bytes.substr(0, bytes.size() / 2));
    std::string_view const newText = bytes.substr(bytes.size() / 2);
    std::string const merged = MergeTexts(oldText, newText);
    Require(MergeTexts(merged, newText) == merged);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    CheckRecord(bytes);
    CheckTable(bytes);
    CheckSource(bytes);
    CheckWalk(bytes);
    CheckMerge(bytes);
    return 0;
}
