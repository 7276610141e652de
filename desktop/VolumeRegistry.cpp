#include "desktop/VolumeRegistry.h"

#include "desktop/VolumeProperties.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeMappingTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr char kProtocol[] = "Protocol Characteristics";
constexpr char kDevice[] = "Device Characteristics";
constexpr char kInterconnect[] = "Physical Interconnect";

// Which classes say something of the volume's structure, where they do so, and what it is.
constexpr struct
{
    char const* mClass;
    char const* mDictionary;  // null: the entry's own level
    char const* mKey;
    bool mIsData;
    char const* mProperty;
} kStructures[] = {
    {"IOApplePartitionScheme", nullptr, "Content Mask", false, kVolumePartitionScheme},
    {"IOMedia", nullptr, "Content", false, kVolumePartitionScheme},
    {"IODiskImageBlockStorageDeviceOutKernel", kProtocol, "Virtual Interface Location Path", true,
     kVolumeImagePath},
    {"IOHDIXHDDriveInKernel", nullptr, "KDIURLPath", false, kVolumeImagePath},
};

// In the order in which they come into the device's text.
constexpr char const* kDeviceTexts[] = {"Product Name", "Product Revision Level", "Vendor Name"};
constexpr char const* kUSBTexts[] = {"USB Serial Number", "USB Vendor Name"};

// White space and line ends: the general category Zs of Unicode 13.0, tab, LF to CR, NEL, and the
// separators of lines and paragraphs.
constexpr std::string_view kSpaces[] = {
    " ",
    "\t",
    "\n",
    "\v",
    "\f",
    "\r",
    "\xC2\x85",
    "\xC2\xA0",
    "\xE1\x9A\x80",
    "\xE2\x80\x80",
    "\xE2\x80\x81",
    "\xE2\x80\x82",
    "\xE2\x80\x83",
    "\xE2\x80\x84",
    "\xE2\x80\x85",
    "\xE2\x80\x86",
    "\xE2\x80\x87",
    "\xE2\x80\x88",
    "\xE2\x80\x89",
    "\xE2\x80\x8A",
    "\xE2\x80\xA8",
    "\xE2\x80\xA9",
    "\xE2\x80\xAF",
    "\xE2\x81\x9F",
    "\xE3\x80\x80",
};

std::size_t SpaceAtStart(std::string_view text)
{
    for (std::string_view const space : kSpaces) {
        if (text.substr(0, space.size()) == space) return space.size();
    }
    return 0;
}

std::size_t SpaceAtEnd(std::string_view text)
{
    for (std::string_view const space : kSpaces) {
        if (text.size() >= space.size() && text.substr(text.size() - space.size()) == space)
            return space.size();
    }
    return 0;
}

std::string_view Trimmed(std::string_view text)
{
    while (std::size_t const length = SpaceAtStart(text))
        text.remove_prefix(length);
    while (std::size_t const length = SpaceAtEnd(text))
        text.remove_suffix(length);
    return text;
}

// False if the text isn't UTF-8.
bool Fold(std::string_view text, std::u16string& folded)
{
    if (!CUTFConverter::ConvertUTF8toUTF16(std::string(text), folded,
                                           CUTFConverter::kLenientMode)) {
        return false;
    }
    CUnicodeMappingTable::GetCaseFoldingTable()->MapText(folded, folded);
    return true;
}

bool HasText(std::map<std::string, std::string, std::less<>> const& texts,
             char const* key,
             std::string& text)
{
    auto const found = texts.find(key);
    if (found == texts.end()) return false;
    text = found->second;
    return true;
}

RegistryLevel const* FindDictionary(RegistryProperties const& all, char const* name)
{
    auto const found = all.mDictionaries.find(name);
    return found == all.mDictionaries.end() ? nullptr : &found->second;
}

// Bytes as text, up to their first null byte; false if they aren't UTF-8.
bool HasDataText(RegistryLevel const& level, char const* key, std::string& text)
{
    std::u16string units;
    if (!HasText(level.mData, key, text)) return false;
    text.resize(std::min(text.find('\0'), text.size()));
    return CUTFConverter::ConvertUTF8toUTF16(text, units, CUTFConverter::kStrictMode);
}

// One walk: the texts on its way and how much of it is left.
class CRegistryWalk
{
public:
    CRegistryWalk(std::optional<std::string> deviceInfo, VolumeProperties& properties)
        : mDeviceInfo(std::move(deviceInfo))
        , mProperties(properties)
    {
    }

    void WalkParents(CBasicRegistryEntry const& entry, int depth)
    {
        if (depth == 0) return;
        for (auto const& parent : entry.GetParents()) {
            if (mEntriesLeft-- <= 0) return;
            AddEntry(*parent);
            if (parent->GetClassName() != "IOPCIDevice") WalkParents(*parent, depth - 1);
        }
    }

    std::optional<std::string> TakeDeviceInfo() { return std::move(mDeviceInfo); }

private:
    void AddEntry(CBasicRegistryEntry const& entry)
    {
        RegistryProperties const all = entry.GetProperties();
        AddInterconnect(all);
        AddStructure(entry, all);
        if (RegistryLevel const* const device = FindDictionary(all, kDevice)) {
            for (char const* const key : kDeviceTexts)
                AddDeviceText(*device, key);
            std::string medium;
            if (HasText(device->mTexts, "Medium Type", medium))
                mProperties[kVolumeMedium] = std::move(medium);
        }
        for (char const* const key : kUSBTexts)
            AddDeviceText(all, key);
    }

    // Only the first class counts that the entry conforms to.
    void AddStructure(CBasicRegistryEntry const& entry, RegistryProperties const& all)
    {
        auto const* const row =
            std::find_if(std::begin(kStructures), std::end(kStructures),
                         [&](auto const& r) { return entry.ConformsTo(r.mClass); });
        if (row == std::end(kStructures)) return;
        RegistryLevel const* const level =
            row->mDictionary ? FindDictionary(all, row->mDictionary) : &all;
        std::string text;
        if (!level) return;
        bool const isThere = row->mIsData ? HasDataText(*level, row->mKey, text)
                                          : HasText(level->mTexts, row->mKey, text);
        if (isThere) mProperties[row->mProperty] = std::move(text);
    }

    void AddInterconnect(RegistryProperties const& all)
    {
        RegistryLevel const* const protocol = FindDictionary(all, kProtocol);
        std::string text;
        if (!HasText(protocol ? protocol->mTexts : all.mTexts, kInterconnect, text)) return;
        auto const former = mProperties.find(kVolumeConnection);
        mProperties[kVolumeConnection] = MergeTexts(
            former == mProperties.end() ? std::nullopt : std::optional(former->second), text);
    }

    void AddDeviceText(RegistryLevel const& level, char const* key)
    {
        std::string text;
        if (HasText(level.mTexts, key, text)) mDeviceInfo = MergeTexts(mDeviceInfo, text);
    }

    std::optional<std::string> mDeviceInfo;
    VolumeProperties& mProperties;
    int mEntriesLeft = 1024;
};

}  // namespace

std::string MergeTexts(std::optional<std::string> const& oldText, std::string_view newText)
{
    std::string added(Trimmed(newText));
    if (!oldText) return added;
    std::u16string oldFolded;
    std::u16string addedFolded;
    bool const isText = Fold(*oldText, oldFolded) && Fold(added, addedFolded);
    auto const contains = [](auto const& whole, auto const& part) {
        return whole.find(part) != whole.npos;
    };
    if (isText ? contains(oldFolded, addedFolded) : contains(*oldText, added)) return *oldText;
    if (isText ? contains(addedFolded, oldFolded) : contains(added, *oldText)) return added;
    return *oldText + "; " + added;
}

std::optional<std::string> CheckParents(CBasicRegistryEntry const& entry,
                                        std::optional<std::string> deviceInfo,
                                        VolumeProperties& properties)
{
    constexpr int kMostLevels = 64;
    CRegistryWalk walk(std::move(deviceInfo), properties);
    walk.WalkParents(entry, kMostLevels);
    return walk.TakeDeviceInfo();
}
