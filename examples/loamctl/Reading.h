// Reading what a walk came upon, and why something could not be read.
#pragma once

#include <map>
#include <string>

#include "loamctl/CBasicWalk.h"
#include "loamctl/CDocument.h"

class COutput;

/// What came of one entry.
struct Reading
{
    std::string mKind;     ///< "UTF-8", "binary", "folder", "unreadable"
    std::string mReason;   ///< why it was passed over; empty if it wasn't
    long long mSize = -1;  ///< bytes; -1 for what is no file
    bool mError = false;   ///< passed over by an error: what was asked for isn't complete
    bool mText = false;    ///< the document holds its text
};

/// Reads the entry into `document` if it is a file. Throws `CInterrupted`.
Reading ReadEntry(TreeEntry const& entry, CDocument& document);

/// Says why an entry was passed over, if it was: errors always, what there is a good reason for on
/// demand and in JSON.
void TellSkipped(TreeEntry const& entry, Reading const& reading, COutput& output);

/// Sums over a walk.
struct Totals
{
    long long mFiles = 0;  ///< all but folders, links and the like
    long long mFolders = 0;
    long long mBytes = 0;
    long long mErrors = 0;
    std::map<std::string, long long> mRead;     ///< by kind
    std::map<std::string, long long> mSkipped;  ///< by kind

    void Add(TreeEntry const& entry, Reading const& reading);
};

/// "2 binary, 1 link"; empty for none.
std::string Listed(std::map<std::string, long long> const& counts);
