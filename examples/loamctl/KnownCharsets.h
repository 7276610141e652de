// The charsets that bytes are told to be in by their letters, each made once for all documents.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "loamctl/CByteTable.h"
#include "loamctl/CCharset.h"
#include "loamctl/CLetterFit.h"

struct KnownCharset
{
    CCharset mCharset;
    /// The library's test of bytes, each of which is looked at by itself; null if there is none.
    bool (*mCanHold)(char const*, long long);
    long mCost;  ///< the rarer, the higher
    /// Null where a byte means one thing or another by its neighbours.
    std::unique_ptr<CByteTable const> mTable;
    std::unique_ptr<CByteLetters const> mLetters;  ///< of the table
};

/// In the order in which they are tried. Made at first use; any thread may call.
std::vector<KnownCharset> const& KnownCharsets();

/// Null if it is none of them.
KnownCharset const* FindKnownCharset(std::string_view name);
