#include "text/CUnicodeCategoriesTable.h"

#include "text/CCategorySet.h"
#include "text/UnitSearch.h"

namespace {

using Table = CUnicodeCategoriesTable;

// What all four searches are asked for.
struct Question
{
    Table::CategoriesMask mMask;
    Table::Flags mFlags;
    bool mFlagSense;
    bool mIsMatch;  // whether a unit is looked for that matches, or one that doesn't
};

// Hands `search` the cheapest test for the question, so that its loop decides nothing but the unit.
template <class Search>
bool WithTest(Question const& question, Search search)
{
    auto const mask = question.mMask == 0 ? ~Table::CategoriesMask{0} : question.mMask;
    if (question.mFlags == 0) {
        auto const sought = question.mIsMatch ? mask : ~mask;
        return search([sought](char16_t unit) {
            return (sought >> (Table::sTable[unit] & Table::kCategoryBits) & 1) != 0;
        });
    }
    return search([mask, question](char16_t unit) {
        unsigned char const entry = Table::sTable[unit];
        bool const isMatch = (mask >> (entry & Table::kCategoryBits) & 1) != 0 &&
                             ((entry & question.mFlags) != 0) == question.mFlagSense;
        return isMatch == question.mIsMatch;
    });
}

// Apart, since a set takes 8 KB of the stack.
[[gnu::noinline]] char16_t const*
FindInRest(FindUnit& find, Question const& question, char16_t const* begin, char16_t const* end)
{
    CCategorySet set(question.mMask, question.mFlags, question.mFlagSense);
    return find(set, begin, end, question.mIsMatch);
}

bool FindFirst(unsigned int& index, char16_t const* text, int length, Question const& question)
{
    return WithTest(question, [&](auto test) {
        return FindFirstUnit(index, text, length, test, [&](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindFirstUnit, question, begin, end);
        });
    });
}

bool FindLast(unsigned int& index, char16_t const* text, int length, Question const& question)
{
    return WithTest(question, [&](auto test) {
        return FindLastUnit(index, text, length, test, [&](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindLastUnit, question, begin, end);
        });
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
    return FindFirst(index, text, length, {mask, flags, flagSense, true});
}

bool CUnicodeCategoriesTable::FindFirstNotOfCategories(unsigned int& index,
                                                       char16_t const* text,
                                                       int length,
                                                       CategoriesMask mask,
                                                       Flags flags,
                                                       bool flagSense)
{
    return FindFirst(index, text, length, {mask, flags, flagSense, false});
}

bool CUnicodeCategoriesTable::FindLastOfCategories(unsigned int& index,
                                                   char16_t const* text,
                                                   int length,
                                                   CategoriesMask mask,
                                                   Flags flags,
                                                   bool flagSense)
{
    return FindLast(index, text, length, {mask, flags, flagSense, true});
}

bool CUnicodeCategoriesTable::FindLastNotOfCategories(unsigned int& index,
                                                      char16_t const* text,
                                                      int length,
                                                      CategoriesMask mask,
                                                      Flags flags,
                                                      bool flagSense)
{
    return FindLast(index, text, length, {mask, flags, flagSense, false});
}
