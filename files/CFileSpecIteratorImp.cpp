#include "files/CFileSpecIteratorImp.h"

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "concurrency/StMutexLocker.h"
#include "files/CFileSpec.h"
#include "files/FileSpecConstants.h"
#include "foundation/FailureDomains.h"
#include "text/CUTFConverter.h"

// A failure here leaves errno for the first Next.
CFileSpecIteratorImp::CFileSpecIteratorImp(CFileSpec const& folder)
{
    if (!folder.IsFolder()) return;
    folder.GetFullPath(&mFolderPath);
    mPrefix = mFolderPath;
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
    if (!ReadEntry_()) return false;

    std::u16string path;
    path.reserve(mPrefix.size() + mName.size());
    path.append(mPrefix).append(mName);
    *result = CFileSpec(std::move(path), false);
    return true;
}

// Reads up to the next entry that a path can lead to, into mEntry and mName.
bool CFileSpecIteratorImp::ReadEntry_()
{
    while ((mEntry = readdir(mDirectory))) {
        std::string_view const name(mEntry->d_name);
        if (name == "..") continue;
        if (name == ".") {
            // A folder that comes to its own entry again would never end.
            if (mSeenDot) {
                mEntry = nullptr;
                return false;
            }
            mSeenDot = true;
            continue;
        }
        // Strict: a replaced surrogate would make it the name of another file. An empty name would
        // be the folder.
        if (!name.empty() &&
            CUTFConverter::ConvertUTF8toUTF16(name.data(), static_cast<int>(name.size()), mName,
                                              CUTFConverter::kStrictMode)) {
            return true;
        }
    }
    return false;
}
