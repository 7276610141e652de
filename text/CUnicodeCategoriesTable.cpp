#include "text/CUnicodeCategoriesTable.h"

#include "text/UnitSearch.h"

#include <functional>

namespace {

// Hands `search` the cheapest test for the three arguments, so that its loop decides nothing but
// the unit.
template <class Search>
bool WithTest(CUnicodeCategoriesTable::CategoriesMask mask,
              CUnicodeCategoriesTable::Flags flags,
              bool flagSense,
              Search search)
{
    using Table = CUnicodeCategoriesTable;
    if (mask == 0) mask = ~Table::CategoriesMask{0};
    if (flags == 0) {
        return search([mask](char16_t unit) {
            return (mask >> (Table::sTable[unit] & Table::kCategoryBits) & 1) != 0;
        });
    }
    return search([mask, flags, flagSense](char16_t unit) {
        unsigned char const entry = Table::sTable[unit];
        return (mask >> (entry & Table::kCategoryBits) & 1) != 0 &&
               ((entry & flags) != 0) == flagSense;
    });
}

}  // namespace

bool CUnicodeCategoriesTable::FindFirstOfCategories(unsigned int& index,
                                                    char16_t const* text,
                                                    int length,
                                                    CategoriesMask mask,
                                                    Flags flags,
                                                    bool flagSense)
{
    return WithTest(mask, flags, flagSense,
                    [&](auto matches) { return FindFirstUnit(index, text, length, matches); });
}

bool CUnicodeCategoriesTable::FindFirstNotOfCategories(unsigned int& index,
                                                       char16_t const* text,
                                                       int length,
                                                       CategoriesMask mask,
                                                       Flags flags,
                                                       bool flagSense)
{
    return WithTest(mask, flags, flagSense, [&](auto matches) {
        return FindFirstUnit(index, text, length, std::not_fn(matches));
    });
}

bool CUnicodeCategoriesTable::FindLastOfCategories(unsigned int& index,
                                                   char16_t const* text,
                                                   int length,
                                                   CategoriesMask mask,
                                                   Flags flags,
                                                   bool flagSense)
{
    return WithTest(mask, flags, flagSense,
                    [&](auto matches) { return FindLastUnit(index, text, length, matches); });
}

bool CUnicodeCategoriesTable::FindLastNotOfCategories(unsigned int& index,
                                                      char16_t const* text,
                                                      int length,
                                                      CategoriesMask mask,
                                                      Flags flags,
                                                      bool flagSense)
{
    return WithTest(mask, flags, flagSense, [&](auto matches) {
        return FindLastUnit(index, text, length, std::not_fn(matches));
    });
}
