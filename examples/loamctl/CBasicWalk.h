// What a crew works through: the entries of folders or of a store, in an order that stays.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "files/CFileSpec.h"

struct TreeEntry
{
    enum class Kind
    {
        kFile,
        kFolder,
        kLink,     ///< a symbolic link that isn't followed
        kOther,    ///< a device, a pipe, a socket: never opened, since that might block
        kUnknown,  ///< gone, or out of reach
    };

    CFileSpec mSpec;         ///< none for an entry of a store
    std::size_t mIndex = 0;  ///< in the store, if it is an entry of one
    std::string mPath;       ///< as it was reached from the walk's start, UTF-8
    Kind mKind = Kind::kUnknown;
    bool mNamed = false;   ///< named by the caller, not found in a folder
    std::string mError;    ///< why it could not be looked at or listed; empty if it could
    std::string mSkipped;  ///< why it was passed over without an error; empty if it wasn't
};

class CBasicWalk
{
public:
    CBasicWalk() = default;
    CBasicWalk(CBasicWalk const&) = delete;
    CBasicWalk& operator=(CBasicWalk const&) = delete;
    virtual ~CBasicWalk() = default;

    /// Replaces `entries` by those that come next and that one thread had best work on. False, and
    /// none, at the end.
    virtual bool NextBatch(std::vector<TreeEntry>& entries) = 0;

    /// How much has been done when what came last is done, from 0 to 1.
    virtual double GetShare() const = 0;
};
