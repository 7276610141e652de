// A file that comes into being whole or not at all.
//
// It is written beside its place under a name of its own and put there at the end, in one step.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "files/CFile.h"

/// The specifier of a path from the command line. Throws `CUsageError` for one that can't be named.
CFileSpec SpecOfArgument(std::string const& path);

class CNewFile
{
public:
    /// `path` is UTF-8. Throws `CUsageError` if something stands there, unless `overwrite`, and
    /// what `CFile` throws.
    CNewFile(std::string const& path, bool overwrite);
    CNewFile(CNewFile const&) = delete;
    CNewFile& operator=(CNewFile const&) = delete;
    /// Removes what was written, unless it was kept.
    ~CNewFile();

    /// Lets nobody read more than may read `model`. Without a word where the system refuses.
    void TakeModeOf(std::string const& model);

    void Write(std::string_view bytes);
    /// Writes over the first bytes.
    void WriteAtStart(std::string_view bytes);

    /// Bytes written so far.
    long long GetSize() const { return mSize; }

    /// Puts the file in its place.
    void Keep();

private:
    void RefuseTaken(bool overwrite);
    void WriteAll(std::string_view bytes);

    std::string mPath;
    std::string mPartPath;
    CFileSpec mPlace;
    std::unique_ptr<CFile> mPart;
    bool mOverwrite;
    bool mKept = false;
    long long mSize = 0;
};
