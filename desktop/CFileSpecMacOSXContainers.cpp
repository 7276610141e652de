// How a specifier comes to be from one of the well-known folders: the desktop's if it knows the
// folder, the portable one otherwise.
#include "desktop/CFileSpecMacOSX.h"
#include "desktop/StandardFolderConstants.h"
#include "foundation/FourCharacterCode.h"
#include "text/CUTFConverter.h"

#include <string>

#include <sys/stat.h>

namespace {

constexpr unsigned int kRootFolder = FourCharacterCode("root");

using Spec = CBasicFileSpec;

/// Where a container is looked for. Of several rows the first that leads anywhere counts.
struct FolderRow
{
    Spec::StdContainerEnum mContainer;
    short mDomain;
    char mType[5];
    char16_t const* mSuffix;  // added to the path that was found
};

constexpr FolderRow kFolderRows[] = {
    {Spec::cContainerTemporary, kDesktopUserDomain, "flnt", u""},
    {Spec::cContainerDesktop, kDesktopUserDomain, "dtop", u""},
    {Spec::cContainerLogs, kDesktopUserDomain, "logs", u""},
    {Spec::cContainerLogs, kDesktopUserDomain, "dlib", logs},
    {Spec::cContainerUserAppSupport, kDesktopUserDomain, "asup", u""},
    {Spec::cContainerUserLibrary, kDesktopUserDomain, "dlib", u""},
    {Spec::cContainerPreferences, kDesktopUserDomain, "pref", u""},
    {Spec::cContainerMachineLibrary, kDesktopLocalDomain, "dlib", u""},
    {Spec::cContainerSharedTemporary, kDesktopLocalDomain, "cach", temporaryPublicItems},
    {Spec::cContainerMachineAppSupport, kDesktopLocalDomain, "asup", u""},
};

std::string ToUTF8(std::u16string const& text)
{
    std::string result;
    CUTFConverter::ConvertUTF16toUTF8(text, result, CUTFConverter::kLenientMode);
    return result;
}

/// Makes a folder that everybody may use. Setting its mode opens it whatever the process's mask,
/// and also if it has been there before.
void MakePublicFolder(std::u16string const& path)
{
    constexpr mode_t kForAll = 0777;
    std::string const path8bit = ToUTF8(path);
    mkdir(path8bit.c_str(), kForAll);
    chmod(path8bit.c_str(), kForAll);
}

bool IsVolumeFolder(std::string const& point)
{
    struct stat found;
    return stat(point.c_str(), &found) == 0 && S_ISDIR(found.st_mode) && point != "/";
}

FolderLookup FindBootVolume(std::u16string& path)
{
    short volume = 0;
    if (!DesktopPlatform().GetVolumeOfFolder(kDesktopSystemDisk, kRootFolder, volume))
        return kFolderUnknown;
    return DesktopPlatform().FindFolder(volume, kRootFolder, path);
}

FolderLookup FindFolder(Spec::StdContainerEnum container, std::u16string& path)
{
    if (container == Spec::cContainerBootVolume) return FindBootVolume(path);
    if (container > Spec::cContainerMachineAppSupport) container = Spec::cContainerDesktop;
    for (FolderRow const& row : kFolderRows) {
        if (row.mContainer != container) continue;
        FolderLookup const result =
            DesktopPlatform().FindFolder(row.mDomain, FourCharacterCode(row.mType), path);
        if (result == kFolderFound) path += row.mSuffix;
        // The next row isn't for a folder that is there and has no path.
        if (result != kFolderUnknown) return result;
    }
    return kFolderUnknown;
}

// The first mounted volume, in the system's order, whose folder or whose name on the desktop is
// `name`.
bool FindMountedVolume(std::u16string const& name, std::u16string& path)
{
    std::string const name8bit = ToUTF8(name);
    for (std::string const& point : DesktopPlatform().GetMountPoints()) {
        if (!IsVolumeFolder(point)) continue;
        if (!CUTFConverter::ConvertUTF8toUTF16(point, path, CUTFConverter::kLenientMode)) continue;
        if (point.compare(point.rfind('/') + 1, std::string::npos, name8bit) == 0 ||
            DesktopPlatform().GetDisplayName(path) == name) {
            return true;
        }
    }
    return false;
}

}  // namespace

CFileSpecMacOSX::CFileSpecMacOSX(Spec::StdContainerEnum container,
                                 std::u16string const& name,
                                 bool unique)
    : mIsVolumesEnumerator(container == Spec::cContainerAllVolumes)
{
    switch (container) {
    case Spec::cContainerMountedVolume:
        TakeMountedVolume(name);
        break;
    case Spec::cContainerNetworkVolume:
        TakeNetworkVolume(name, unique);
        break;
    default:
        TakeStandardFolder(container, name, unique);
        break;
    }
    mReserved = false;
}

void CFileSpecMacOSX::TakeStandardFolder(Spec::StdContainerEnum container,
                                         std::u16string const& name,
                                         bool unique)
{
    std::u16string folder;
    if (FindFolder(container, folder) != kFolderFound) {
        TakePortableFolder(container, name, unique);
        return;
    }
    if (container == Spec::cContainerSharedTemporary) MakePublicFolder(folder);
    MakeInFolder(folder, name, unique);
}

void CFileSpecMacOSX::TakeMountedVolume(std::u16string const& name)
{
    std::u16string path;
    if (FindMountedVolume(name, path)) {
        CFileSpecImp::Assign(path);
    } else {
        // Kept on purpose: the name of a volume that is missing is numbered, asked for or not.
        TakePortableFolder(Spec::cContainerMountedVolume, name, true);
    }
}

void CFileSpecMacOSX::TakeNetworkVolume(std::u16string const& url, bool unique)
{
    short volume = 0;
    std::u16string root;
    FolderLookup const result = DesktopPlatform().MountServerVolume(ToUTF8(url), volume)
                                    ? DesktopPlatform().FindFolder(volume, kRootFolder, root)
                                    : kFolderUnknown;
    if (result == kFolderUnknown) {
        TakePortableFolder(Spec::cContainerMountedVolume, url, true);
    } else if (result == kFolderFound) {
        // Kept on purpose: where a unique name is asked for, the root's missing name is numbered.
        MakeInFolder(root, std::u16string(), unique);
    }
    // Kept on purpose: a volume that is mounted, but where no path leads, leaves an empty
    // specifier.
}

void CFileSpecMacOSX::TakePortableFolder(Spec::StdContainerEnum container,
                                         std::u16string const& name,
                                         bool unique)
{
    std::u16string path;
    CFileSpecImp(container, name, unique).GetFullPath(&path);
    CFileSpecImp::Assign(path);
}

void CFileSpecMacOSX::MakeInFolder(std::u16string const& folder,
                                   std::u16string const& name,
                                   bool unique)
{
    CFileSpecMacOSX container(folder, false);
    MakeFileSpecInContainer(&container, name, unique);
}
