// The units that a search on `CUnicodeCategoriesTable` asks for, as the fast loops want them.
#pragma once

#include "text/CUnicodeCategoriesTable.h"
#include "text/simd/UnitSet.h"

#include <array>

/// The pages of `CUnicodeCategoriesTable::sTable` as a whole.
struct CategoryPages
{
    std::array<unsigned char, 0x100> mEntries;  // of each page that has only one
    ByteBits mMixed;                            // those that have several

    /// Made at the first use, from 64 KB in a few microseconds, and kept.
    static CategoryPages const& Get();
};

class CCategorySet final : public CUnitSet
{
public:
    CCategorySet(CUnicodeCategoriesTable::CategoriesMask mask,
                 CUnicodeCategoriesTable::Flags flags,
                 bool flagSense);

private:
    explicit CCategorySet(ByteBits const& entries);
    void FillPage(unsigned int page, ByteBits& bits) const override;

    ByteBits mEntries;  // entries of the table that match
};
