// The entries of a folder by `readdir`.
#pragma once

#include "concurrency/CMutex.h"
#include "files/CBasicFileSpecIteratorImp.h"
#include "foundation/CFileExceptionHandler.h"

#include <string>

#include <dirent.h>

class CFileSpecIteratorImp : public CFileExceptionHandler, public CBasicFileSpecIteratorImp
{
public:
    explicit CFileSpecIteratorImp(CFileSpec const& folder);
    ~CFileSpecIteratorImp() override;

    bool Next(CFileSpec* result) override;

private:
    bool ReadPath(std::u16string& path);

    std::u16string mFolderPath;
    // Owned, null if the folder couldn't be opened. What it points to is guarded by mMutex.
    DIR* mDirectory = nullptr;
    dirent* mEntry = nullptr;  // belongs to mDirectory; guarded by mMutex
    CMutex mMutex;
    bool mSeenDot = false;   // guarded by mMutex
    std::u16string mPrefix;  // of all paths; never changes
};
