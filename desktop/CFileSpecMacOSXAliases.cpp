// What stands for something else: aliases, location files and disk images, told apart and opened.
#include "desktop/CFileSpecMacOSX.h"
#include "desktop/platform/CBasicAliasPlatform.h"
#include "foundation/FourCharacterCode.h"
#include "marl/stringhelpers.h"
#include "system/CPropertyList.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr unsigned int kRootFolder = FourCharacterCode("root");

/// Property lists that hold the URL of a server.
struct LocationKind
{
    std::u16string_view mExtension;
    unsigned int mType;
};

constexpr LocationKind kLocationKinds[] = {
    {u".afploc", FourCharacterCode("ilaf")},
    {u".inetloc", FourCharacterCode("ilge")},
};

/// In capitals, as they are compared.
constexpr std::u16string_view kImageExtensions[] = {
    u".NDIF",  u".IMGPART", u".SMI",          u".DMG",         u".UDIF", u".IMG",
    u".TOAST", u".DVDR",    u".CDR",          u".DMGPART",     u".DC42", u".DISKCOPY42",
    u".DART",  u".ISO",     u".SPARSEBUNDLE", u".SPARSEIMAGE",
};

constexpr unsigned int kImageTypes[] = {
    FourCharacterCode("hdro"), FourCharacterCode("rohd"), FourCharacterCode("dimg"),
    FourCharacterCode("hdcm"), FourCharacterCode("dseg"), FourCharacterCode("oneb"),
    FourCharacterCode("devi"), FourCharacterCode("devr"), FourCharacterCode("GImg"),
    FourCharacterCode("PImg"), FourCharacterCode("devs"), FourCharacterCode("dImg"),
    FourCharacterCode("DMd0"), FourCharacterCode("DMd1"), FourCharacterCode("DMd2"),
    FourCharacterCode("DMd3"), FourCharacterCode("DMd4"), FourCharacterCode("DMd5"),
    FourCharacterCode("DMd6"), FourCharacterCode("DMd7"), FourCharacterCode("DMdf"),
    FourCharacterCode("DDim"), FourCharacterCode("OPCD"), FourCharacterCode("hdrv"),
};

constexpr double kAttachSeconds = 60.0;

unsigned int TypeOf(CFileSpecMacOSX const& spec)
{
    unsigned int type = 0;
    spec.GetFileTypeCreator(&type, nullptr);
    return type;
}

bool IsLocationFile(std::u16string_view path, CFileSpecMacOSX const& spec)
{
    auto const hasName = [path](LocationKind const& kind) {
        return path.ends_with(kind.mExtension);
    };
    if (std::any_of(std::begin(kLocationKinds), std::end(kLocationKinds), hasName)) return true;
    auto const hasType = [type = TypeOf(spec)](LocationKind const& kind) {
        return type == kind.mType;
    };
    return std::any_of(std::begin(kLocationKinds), std::end(kLocationKinds), hasType);
}

// As `HasCaseUnsensitiveExtension` for each of the extensions, in one go: the part behind the last
// dot is all that can be one.
bool HasImageExtension(std::u16string const& path)
{
    std::u16string::size_type const dot = path.rfind(u'.');
    // A path that is nothing but an extension hasn't got it.
    if (dot == path.npos || dot == 0) return false;
    constexpr std::u16string::size_type kLongest = std::u16string_view(u".SPARSEBUNDLE").size();
    if (path.size() - dot > kLongest) return false;
    std::u16string extension = path.substr(dot);
    ConvToUpper(extension);
    auto const* const end = std::end(kImageExtensions);
    return std::find(std::begin(kImageExtensions), end, extension) != end;
}

std::optional<CPropertyList> ReadList(std::u16string const& path)
{
    // The end of what isn't a file may never come.
    CFileSpecImp const file(path, false);
    if (!file.IsRealFile(true)) return std::nullopt;
    std::string path8bit;
    file.GetFullPath8bit(&path8bit);
    std::ifstream stream(path8bit, std::ios::binary);
    // Room for a byte more than a list may have.
    std::string bytes(CPropertyList::kMaxBytes + 1, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return CPropertyList::Read(bytes);
}

// Where the alias that `path` may be leads; false for what is none.
bool FollowAlias(AliasWay way, std::u16string const& path, std::u16string& target)
{
    if (way == kAliasesByURL) {
        FollowedURL followed;
        if (!AliasPlatform().FollowURL(path, followed)) return false;
        target = std::move(followed.mTarget);
        return followed.mFoundPath != followed.mAskedPath;
    }
    bool wasAlias = false;
    return AliasPlatform().FollowReference(path, wasAlias, target) && wasAlias;
}

// Mounts the volume that a location file names, and gives its root. The rest of the URL is dropped.
bool MountLocation(std::u16string const& path, std::u16string& root)
{
    std::optional<CPropertyList> const list = ReadList(path);
    std::string const* const url = list ? list->FindAs<std::string>("URL") : nullptr;
    short volume = 0;
    return url && DesktopPlatform().MountServerVolume(*url, volume) &&
           DesktopPlatform().FindFolder(volume, kRootFolder, root) == kFolderFound;
}

// Where the first volume of an image was mounted, by what the tool says of the image's parts.
bool FindMountPoint(std::string const& answer, std::u16string& mountPoint)
{
    std::optional<CPropertyList> const list = CPropertyList::Read(answer);
    auto const* const parts =
        list ? list->FindAs<CPropertyList::Array>("system-entities") : nullptr;
    if (!parts) return false;
    for (CPropertyList const& part : *parts) {
        CPropertyList const* const point = part.Find("mount-point");
        if (!point) continue;
        // The first one counts, whatever it is.
        auto const* const text = point->As<std::string>();
        return text &&
               CUTFConverter::ConvertUTF8toUTF16(*text, mountPoint, CUTFConverter::kLenientMode);
    }
    return false;
}

}  // namespace

bool CFileSpecMacOSX::IsAlias() const
{
    // What is known of symbolic links need not be asked for.
    return CFileSpecImp::IsAlias() || AliasPlatform().IsAliasFile(mPath) ||
           IsLocationFile(mPath, *this);
}

bool CFileSpecMacOSX::IsDiskImage() const
{
    if (HasImageExtension(mPath)) return true;
    auto const* const end = std::end(kImageTypes);
    return std::find(std::begin(kImageTypes), end, TypeOf(*this)) != end;
}

void CFileSpecMacOSX::MountDiskImage()
{
    std::string answer;
    if (!AliasPlatform().RunImageTool({u"attach", mPath, u"-plist"}, kAttachSeconds, answer))
        return;
    // How the tool ended doesn't matter: the specifier leads to a volume, or is as it was.
    try {
        std::u16string mountPoint;
        if (FindMountPoint(answer, mountPoint)) Assign(mountPoint);
    } catch (...) {
    }
}

// Each link that the portable layer finds is led through all stages again.
bool CFileSpecMacOSX::ResolveAliasStep(std::u16string& path) const
{
    AliasWay const way = AliasPlatform().GetAliasWay();
    if (way != kAliasesAreLinks) {
        std::u16string target;
        if (FollowAlias(way, path, target)) path = target;
        if (IsLocationFile(path, CFileSpecMacOSX(path, false)) && MountLocation(path, target))
            path = target;
    }
    return CFileSpecImp::ResolveAliasStep(path);
}
