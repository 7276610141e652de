// The entries of a folder, or all volumes: what `CFileSpecIterator` is made with.
#pragma once

#include "files/CFileSpecIteratorImp.h"

#include <mutex>
#include <string>
#include <vector>

class CFileSpecIteratorMacOSX : public CFileSpecIteratorImp
{
public:
    /// For the specifier of all volumes, gives their root folders as they are at this moment; what
    /// is mounted later isn't seen. Where the system tells none, and for any other specifier, gives
    /// the entries of the folder.
    explicit CFileSpecIteratorMacOSX(CFileSpec const& folder);

    bool Next(CFileSpec* result) override;

private:
    std::vector<std::string> mVolumePaths;  // UTF-8; never changes
    int mIndex = 0;                         // of the next one; guarded by mIndexMutex
    std::mutex mIndexMutex;
};
