// How a path that need not exist yet comes to be: from a folder and a name that is made legal and
// unique.
#include "files/CFileSpec.h"
#include "files/CFileSpecImp.h"
#include "files/FileSpecConstants.h"
#include "foundation/FailureDomains.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

#include <unistd.h>

namespace {

struct StandardFolder
{
    CBasicFileSpec::StdContainerEnum mContainer;
    char16_t const* mPath;
};

constexpr StandardFolder kStandardFolders[] = {
    {CBasicFileSpec::cContainerTemporary, s_tmpPath},
    {CBasicFileSpec::cContainerSharedTemporary, s_tmpPath},
    {CBasicFileSpec::cContainerBootVolume, s_rootPath},
    {CBasicFileSpec::cContainerAllVolumes, s_rootPath},
    {CBasicFileSpec::cContainerMountedVolume, s_mountPoint},
};

// Kept on purpose: a "~" that stands for a missing HOME is a name like any other, which no call
// expands.
std::u16string HomeFolder()
{
    char const* const home = std::getenv("HOME");
    std::u16string path;
    if (!home ||
        !CUTFConverter::ConvertUTF8toUTF16(std::string(home), path, CUTFConverter::kLenientMode)) {
        return s_homePath;
    }
    return path;
}

std::u16string FolderOf(CBasicFileSpec::StdContainerEnum container)
{
    for (StandardFolder const& row : kStandardFolders) {
        if (row.mContainer == container) return row.mPath;
    }
    return HomeFolder();
}

// The longest name in a folder, by its file system; 255 where it says nothing.
long NameLimit(CFileSpecImp const* container)
{
    constexpr long kUsualLimit = 255;
    std::string path;
    container->GetFullPath8bit(&path);
    long const limit = pathconf(path.c_str(), _PC_NAME_MAX);
    return limit == -1 ? kUsualLimit : limit;
}

// Puts a blank and the digits in front of the last dot, wherever it stands, or at the end.
void InsertNumber(std::u16string& name, std::string const& digits)
{
    std::u16string number = u" ";
    number.append(digits.begin(), digits.end());
    name.insert(std::min(name.rfind(u'.'), name.size()), number);
}

}  // namespace

CFileSpecImp::CFileSpecImp(CBasicFileSpec::StdContainerEnum container,
                           std::u16string const& name,
                           bool unique)
    : CBasicFileSpecImp(true)
    , mPath(PathInContainer(CFileSpecImp(FolderOf(container), false), name, unique))
{
}

CFileSpecImp::CFileSpecImp(CFileSpec const& container, std::u16string const& name, bool unique)
    : CBasicFileSpecImp(true)
    , mPath(PathInContainer(*container.GetImp(), name, unique))
{
}

CFileSpecImp::CFileSpecImp(std::u16string path, bool unique)
    : CBasicFileSpecImp(true)
{
    if (!unique) {
        mPath = std::move(path);
        return;
    }
    // Kept on purpose: without a "/" the name is the whole path, and its folder the root.
    std::u16string::size_type const nameStart = path.rfind(u'/') + 1;
    CFileSpecImp const folder(
        nameStart <= 1 ? std::u16string(s_rootPath) : path.substr(0, nameStart - 1), false);
    mPath = PathInContainer(folder, path.substr(nameStart), true);
}

void CFileSpecImp::MakeFileSpecInContainer(CFileSpecImp* container,
                                           std::u16string const& name,
                                           bool unique)
{
    mPath = PathInContainer(*container, name, unique);
    mChanged = true;
    SetupFromFile();
}

void CFileSpecImp::ValidateFileName(CFileSpecImp const* container,
                                    std::u16string& name,
                                    short reserved)
{
    if (name == s_dot) {
        name = s_underscore;
    } else if (name == s_dotDot) {
        name = s_underscoreUnderscore;
    }
    std::replace(name.begin(), name.end(), u'/', u'_');

    // Kept on purpose: counted in UTF-16 units, although the limit is one of bytes. A cut may fall
    // between the two units of a pair.
    auto const allowed =
        static_cast<std::u16string::size_type>(std::max(NameLimit(container) - reserved, 0L));
    if (name.size() <= allowed) return;
    std::u16string::size_type const dot = std::min(name.rfind(u'.'), name.size());
    std::u16string::size_type const tailSize = name.size() - dot;
    if (tailSize >= allowed) {
        name.resize(allowed);
    } else {
        name.erase(allowed - tailSize, name.size() - allowed);
    }
}

std::u16string CFileSpecImp::PathInContainer(CFileSpecImp const& container,
                                             std::u16string const& name,
                                             bool unique) const
{
    std::u16string candidate = name;
    ValidateFileName(&container, candidate, 0);
    std::u16string folder;
    container.GetFullPath(&folder);
    // Kept on purpose: what is made beside a bare name, which is in no folder, is in the root.
    if (folder.empty() || folder.back() != u'/') folder += u'/';

    std::u16string path = folder + candidate;
    if (!unique) return path;
    // Kept on purpose: the number is one of 16 bits and signed. Once it has been all round, the
    // next name would be a second try.
    constexpr unsigned int kNumbers = 1U + std::numeric_limits<std::uint16_t>::max();
    std::uint16_t number = 1;
    for (unsigned int tried = 0; tried <= kNumbers; ++tried) {
        if (!IsTaken(path)) return path;
        ++number;
        std::string const digits = std::to_string(static_cast<std::int16_t>(number));
        candidate = name;
        ValidateFileName(&container, candidate, static_cast<short>(digits.size() + 1));
        InsertNumber(candidate, digits);
        path = folder + candidate;
    }
    // Not EEXIST: who makes a file of a free name would try that for ever.
    ThrowFileException(EOVERFLOW, kFileStat, path);
    return path;
}

// Throws what the system says instead of an answer; if it says nothing, the name counts as taken.
// Kept on purpose: links are followed, so that the name of a link to nothing counts as free.
bool CFileSpecImp::IsTaken(std::u16string const& path) const
{
    std::string path8bit;
    CUTFConverter::ConvertUTF16toUTF8(path, path8bit, CUTFConverter::kLenientMode);
    if (access(path8bit.c_str(), F_OK) == 0) return true;
    int const error = errno;
    if (error == ENOENT) return false;
    ThrowFileException(error, kFileStat, path);
    return true;
}
