#include "files/CFileSpecIteratorImp.h"

#include "concurrency/StMutexLocker.h"
#include "files/CFileSpec.h"
#include "files/FileSpecConstants.h"
#include "foundation/FailureDomains.h"
#include "text/CUTFConverter.h"

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// False for a name that isn't UTF-8, or none.
bool AppendName(std::string_view name, std::u16string& path)
{
    if (name.empty()) return false;
    std::u16string::size_type const start = path.size();
    path.resize(start + name.size());
    unsigned char allBits = 0;
    for (std::string_view::size_type i = 0; i < name.size(); ++i) {
        auto const byte = static_cast<unsigned char>(name[i]);
        path[start + i] = byte;
        allBits = static_cast<unsigned char>(allBits | byte);
    }
    // Most names are ASCII, and a folder may have very many of them.
    if (allBits < 0x80) return true;

    // Strict: with a surrogate replaced it would be the name of another file.
    std::u16string name16;
    bool const isUTF8 = CUTFConverter::ConvertUTF8toUTF16(
        name.data(), static_cast<int>(name.size()), name16, CUTFConverter::kStrictMode);
    path.replace(start, path.size() - start, name16);
    return isUTF8;
}

}  // namespace

// A failure here leaves errno for the first Next.
CFileSpecIteratorImp::CFileSpecIteratorImp(CFileSpec const& folder)
{
    if (!folder.IsFolder()) return;
    folder.GetFullPath(&mFolderPath);
    mPrefix = mFolderPath;
    // Kept on purpose: the root alone is spared, any other path that ends with a "/" gets one more.
    if (mPrefix != s_rootPath) mPrefix += u'/';
    std::string path;
    folder.GetFullPath8bit(&path);
    // POSIX: the descriptor is closed on exec.
    mDirectory = opendir(path.c_str());
}

CFileSpecIteratorImp::~CFileSpecIteratorImp()
{
    if (mDirectory) closedir(mDirectory);
}

bool CFileSpecIteratorImp::Next(CFileSpec* result)
{
    if (!mDirectory) {
        // Kept on purpose: hosts clear errno to read a folder that may be none as an empty one.
        ThrowFileException(errno, kFileIterate, mFolderPath);
        return false;
    }
    StMutexLocker const locker(&mMutex);
    std::u16string path;
    if (!ReadPath(path)) return false;
    *result = CFileSpec(std::move(path), false);
    return true;
}

// Reads up to the next entry that a path can lead to, and gives that path.
bool CFileSpecIteratorImp::ReadPath(std::u16string& path)
{
    while ((mEntry = readdir(mDirectory))) {
        std::string_view const name(mEntry->d_name);
        if (name == "..") continue;
        if (name == ".") {
            // Kept on purpose: a folder that shows its own entry twice ends there.
            if (mSeenDot) {
                mEntry = nullptr;
                return false;
            }
            mSeenDot = true;
            continue;
        }
        path.reserve(mPrefix.size() + name.size());
        path = mPrefix;
        if (AppendName(name, path)) return true;
    }
    return false;
}
