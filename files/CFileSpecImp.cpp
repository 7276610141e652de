#include "files/CFileSpecImp.h"

#include "files/CFileSpec.h"
#include "files/CFolder.h"
#include "files/FileSpecConstants.h"
#include "foundation/FailureDomains.h"
#include "marl/stringhelpers.h"
#include "system/CDateTimeServices.h"
#include "text/CUTFConverter.h"

#include <cerrno>
#include <utility>

#include <sys/statvfs.h>
#include <unistd.h>

namespace {

long FromPlatform(time_t time)
{
    return CDateTimeServices::GetDateTimeServices()->ConvertTimeFromPlatform(
        static_cast<unsigned long>(time));
}

// 0, or the errno of the failure.
int LookAtDisk(std::string const& path, struct statvfs& disk)
{
    return statvfs(path.c_str(), &disk) == 0 ? 0 : errno;
}

// In 64 bits, since the counts of blocks have 32 on some systems.
long long Bytes(unsigned long blockSize, unsigned long long blocks)
{
    return static_cast<long long>(blockSize * blocks);
}

}  // namespace

CFileSpecImp::CFileSpecImp(CFileSpec const& other)
    : CFileSpecImp(*other.GetImp())
{
}

CFileSpecImp::CFileSpecImp(CFileSpecImp const& other)
    : CFileExceptionHandler(other)
    , CBasicFileSpecImp(true)
    , mPath(other.mPath)
{
}

void CFileSpecImp::SetupFromFile()
{
    mFollowedStatValid = false;
    mLinkStatValid = false;
    mSizeRead = false;
    mModifDateRead = false;
    mAccessDateRead = false;
    mAttrDateRead = false;
}

bool CFileSpecImp::IsEqualTo(CFileSpec const& other) const
{
    return mPath == other.GetImp()->mPath;
}

void CFileSpecImp::GetFullPath(std::u16string* path) const
{
    *path = mPath;
}

void CFileSpecImp::GetFullPath8bit(std::string* path) const
{
    CUTFConverter::ConvertUTF16toUTF8(mPath, *path, CUTFConverter::kLenientMode);
}

void CFileSpecImp::GetFileName(std::u16string* name) const
{
    // Without a "/" the sum is 0.
    name->assign(mPath, mPath.rfind(u'/') + 1);
}

void CFileSpecImp::GetFileName8bit(std::string* name) const
{
    std::u16string name16;
    GetFileName(&name16);
    CUTFConverter::ConvertUTF16toUTF8(name16, *name, CUTFConverter::kLenientMode);
}

void CFileSpecImp::GetDisplayFileName(std::u16string* name) const
{
    GetFileName(name);
}

bool CFileSpecImp::GetContainer(CFileSpecImp* container) const
{
    // `container` may be this object, so its path is set last.
    std::u16string::size_type const slash = mPath.rfind(u'/');
    bool const hasContainer = mPath != s_rootPath && slash != std::u16string::npos;
    std::u16string path;
    if (hasContainer) path = slash == 0 ? std::u16string(s_rootPath) : mPath.substr(0, slash);
    container->mPath = std::move(path);
    container->SetupFromFile();
    return hasContainer;
}

void CFileSpecImp::GetVolume(CFileSpecImp* volume) const
{
    std::u16string mountPoint;
    GetVolumesMountPoint(&mountPoint);
    std::u16string path = s_rootPath;
    if (mPath.size() > mountPoint.size() && mPath.compare(0, mountPoint.size(), mountPoint) == 0) {
        path = mPath.substr(0, mPath.find(u'/', mountPoint.size()));
    }
    volume->mPath = std::move(path);
    volume->SetupFromFile();
}

void CFileSpecImp::GetNewTempFolderInSameVolume(CFileSpecImp* folder) const
{
    std::u16string name;
    GetFileName(&name);
    CFileSpec const spec(CBasicFileSpec::cContainerTemporary, name, true);
    CFolder(spec).Create(false);

    std::u16string path;
    spec.GetFullPath(&path);
    folder->Assign(path);
}

bool CFileSpecImp::Exist() const
{
    return CanAccess(F_OK);
}

bool CFileSpecImp::Readable() const
{
    return CanAccess(R_OK);
}

bool CFileSpecImp::Writeable() const
{
    return CanAccess(W_OK);
}

long long CFileSpecImp::GetFileSize() const
{
    return StatFor(mSizeRead)->st_size;
}

long long CFileSpecImp::GetDiskCapacity() const
{
    struct statvfs disk = {};
    ThrowFileException(LookAtDisk(Path8bit(), disk), kFileDiskSpace, mPath);
    return Bytes(disk.f_frsize, disk.f_blocks);
}

long long CFileSpecImp::GetAvailableDiskSpace() const
{
    CFileSpecImp place(*this);
    while (!place.CanAccess(F_OK) && place.GetContainer(&place)) {}
    struct statvfs disk = {};
    ThrowFileException(LookAtDisk(place.Path8bit(), disk), kFileDiskSpace, mPath);
    return Bytes(disk.f_frsize, disk.f_bavail);
}

long CFileSpecImp::GetFileModifDateUTC() const
{
    return FromPlatform(StatFor(mModifDateRead)->st_mtime);
}

long CFileSpecImp::GetFileAccessDateUTC() const
{
    return FromPlatform(StatFor(mAccessDateRead)->st_atime);
}

long CFileSpecImp::GetFileAttributesModifDateUTC() const
{
    return FromPlatform(StatFor(mAttrDateRead)->st_ctime);
}

long CFileSpecImp::GetFileCreationDateUTC() const
{
    return GetFileModifDateUTC();
}

// Kept on purpose: the kinds are answered from what was last read, until the object is set up anew.
bool CFileSpecImp::IsFolder(bool followLinks) const
{
    return HasFileType(followLinks, S_IFDIR);
}

bool CFileSpecImp::IsRealFile(bool followLinks) const
{
    return HasFileType(followLinks, S_IFREG);
}

bool CFileSpecImp::IsAlias() const
{
    return HasFileType(false, S_IFLNK);
}

bool CFileSpecImp::IsDiskImage() const
{
    return false;
}

bool CFileSpecImp::IsVisible() const
{
    std::u16string name;
    GetFileName(&name);
    return name.empty() || name.front() != u'.';
}

void CFileSpecImp::MountDiskImage() {}

void CFileSpecImp::GetVolumeInfo(std::string& mountPoint,
                                 std::string& imagePath,
                                 std::string& serverURL,
                                 std::string& fileSystem,
                                 bool& isNetwork,
                                 CBasicFileSpec::VolumeType& type) const
{
    mountPoint.clear();
    imagePath.clear();
    serverURL.clear();
    fileSystem.clear();
    isNetwork = false;
    type = CBasicFileSpec::cVolumeUnknown;
}

void CFileSpecImp::Assign(std::u16string const& path)
{
    mPath = path;
    mChanged = true;
    SetupFromFile();
}

void CFileSpecImp::GetVolumesMountPoint(std::u16string* path) const
{
    *path = s_mountPoint;
}

bool CFileSpecImp::HasCaseUnsensitiveExtension(char const* extension) const
{
    std::u16string end;
    CUTFConverter::ConvertUTF8toUTF16(std::string(extension), end, CUTFConverter::kLenientMode);
    if (end.empty()) return false;
    if (end.front() != u'.') end.insert(0, 1, u'.');
    if (mPath.size() <= end.size()) return false;

    // Upper-casing goes unit by unit, so the rest of the path can stay out of it.
    std::u16string pathEnd = mPath.substr(mPath.size() - end.size());
    ConvToUpper(pathEnd);
    ConvToUpper(end);
    return pathEnd == end;
}

struct stat const* CFileSpecImp::GetStat(bool followLinks) const
{
    ThrowFileException(TryStat(followLinks), kFileStat, mPath);
    return followLinks ? &mFollowedStat : &mLinkStat;
}

std::string CFileSpecImp::Path8bit() const
{
    std::string path;
    GetFullPath8bit(&path);
    return path;
}

bool CFileSpecImp::CanAccess(int mode) const
{
    return access(Path8bit().c_str(), mode) == 0;
}

// 0, or the errno of the failure; the stat that was asked for is valid in the first case alone.
int CFileSpecImp::TryStat(bool followLinks) const
{
    bool& isValid = followLinks ? mFollowedStatValid : mLinkStatValid;
    if (isValid) return 0;
    std::string const path = Path8bit();
    int const result =
        followLinks ? stat(path.c_str(), &mFollowedStat) : lstat(path.c_str(), &mLinkStat);
    if (result != 0) return errno;
    isValid = true;
    return 0;
}

bool CFileSpecImp::HasFileType(bool followLinks, mode_t type) const
{
    // A question gets an answer, whatever went wrong.
    try {
        if (TryStat(followLinks) != 0) return false;
        return ((followLinks ? mFollowedStat : mLinkStat).st_mode & S_IFMT) == type;
    } catch (...) {
        return false;
    }
}

// What the attribute accessors look at: each one's second question looks anew, for all of them.
struct stat const* CFileSpecImp::StatFor(bool& attributeRead) const
{
    if (attributeRead) {
        mFollowedStatValid = false;
        mLinkStatValid = false;
    }
    attributeRead = true;
    return GetStat(true);
}
