// The mapped words of a text, one at a time, each with the raw units that it came from.
#pragma once

#include <string_view>

#include "loamctl/CBasicFinder.h"
#include "marl/amortizedmemblock.h"

/// The library's word delimiter with its default table, and the variables that such a walk needs.
class CWordWalk
{
public:
    /// `block` is scratch space, which another walk may use when this one is over.
    CWordWalk(std::u16string_view text, amortizedmemblock& block);

    bool Next();

    /// The mapped word; holds until the next call.
    std::u16string_view GetWord() const;
    /// The raw units. A later word of one expansion has those of the character that it came from.
    Span GetSpan() const;

private:
    std::u16string_view mText;
    amortizedmemblock& mBlock;
    unsigned int mStart = 0;
    unsigned int mRawLength = 0;
    unsigned int mMappedLength = 0;
};
