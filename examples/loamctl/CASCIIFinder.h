// Finds a folded needle in bytes of ASCII, without turning them into UTF-16.
//
// Of a text of ASCII the library's tables keep every character, or make small letters of it, and
// that is all: nothing is left out, nothing becomes several. So a folded needle is in the folded
// text where its bytes are in the text's, case aside.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class CUnicodeMappingTable;

class CASCIIFinder
{
public:
    /// `folded` is a needle, not empty, that `table` has mapped.
    CASCIIFinder(std::u16string_view folded, CUnicodeMappingTable const& table);

    /// Whether the table does as said above. Nothing else may be asked if not.
    bool IsUsable() const { return mIsUsable; }

    /// The first hit in `ascii` from the byte `at` on, or `npos`. Throws `CInterrupted`.
    std::size_t Find(std::string_view ascii, std::size_t at) const;

private:
    bool IsAt(char const* text) const;

    bool mIsUsable;
    bool mLowercased;     // by the table
    bool mIsBeyondASCII;  // the needle
    std::string mNeedle;
    std::size_t mFirst = 0;  // the two rarest places in the needle
    std::size_t mSecond = 0;
};
