// Finds folded text in raw text: "cafe" in Café, CAFÉ, cafe + accent and full-width ｃａｆｅ.
//
// Both sides are folded by the library's default mapping table. Most of a text is never mapped,
// though: the table is turned round once, into the question which raw units can begin a hit and
// which can follow, and only where two neighbours pass is the text mapped, for the length of a hit.
// The question never says no to a hit, so nothing is missed.
//
// A hit covers whole characters: marks on its last letter belong to it, and one that begins or ends
// inside an expansion (the s in ß, the f in ﬁ) takes in the whole character.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "loamctl/CASCIIFinder.h"
#include "loamctl/CBasicFinder.h"

class CUnicodeMappingTable;

class CFoldedFinder : public CBasicFinder
{
public:
    /// `folded` is what `FoldNeedle` gave: already mapped, and not empty.
    explicit CFoldedFinder(std::u16string folded);

    void SetText(std::u16string_view text) override;
    void SetDocument(CDocument const& document) override;
    bool Next(Span& hit) override;

    /// Goes on looking from `unit`, which lies behind the last hit.
    void SkipTo(std::size_t unit) { mAt = unit; }

private:
    void FillTraits();
    bool NextInASCII(Span& hit);
    bool FindCandidate();
    bool MatchHere(Span& hit);

    CUnicodeMappingTable const& mTable;
    std::u16string mNeedle;
    CASCIIFinder mASCIIFinder;
    bool mHasTraits = false;
    std::array<unsigned char, 65536> mTraits;  // by raw unit
    std::u16string_view mText;
    std::string_view mASCII;  // in the place of mText, if that isn't empty
    std::size_t mAt = 0;
    std::u16string mMapped;     // of one candidate
    std::vector<int> mOffsets;  // back into mText, one more than mMapped has units
};

/// What to look for, mapped by the default table. The blanks that the table puts around characters
/// such as ① are left out at both ends, so that they are found inside words too; blanks of the
/// caller's own stay. Empty if nothing is left, as of a mark alone.
std::u16string FoldNeedle(std::u16string const& raw);
