// The entries of a folder by `readdir`.
#pragma once

#include <string>

#include <dirent.h>

#include "concurrency/CMutex.h"
#include "files/CBasicFileSpecIteratorImp.h"
#include "foundation/CFileExceptionHandler.h"

class CFileSpecIteratorImp : public CFileExceptionHandler, public CBasicFileSpecIteratorImp
{
public:
    explicit CFileSpecIteratorImp(CFileSpec const& folder);
    ~CFileSpecIteratorImp() override;

    bool Next(CFileSpec* result) override;

private:
    bool ReadEntry_();

    std::u16string mFolderPath;
    DIR* mDirectory =
        nullptr;  // owned, null if the folder couldn't be opened; its state is guarded by mMutex
    dirent* mEntry = nullptr;  // belongs to mDirectory; guarded by mMutex
    CMutex mMutex;
    bool mSeenDot = false;   // guarded by mMutex
    std::u16string mName;    // of mEntry; guarded by mMutex
    std::u16string mPrefix;  // of all paths; never changes
};
