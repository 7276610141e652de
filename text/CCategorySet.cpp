#include "text/CCategorySet.h"

#include "text/simd/TextKernels.h"

#include <cstddef>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kPageSize = 0x100;

unsigned char const* PageOf(unsigned int page)
{
    return CUnicodeCategoriesTable::sTable + page * kPageSize;
}

// Of 32 entries that differ in their categories alone, those that have a bit in common with
// `flags`.
std::uint32_t EntriesWithFlag(unsigned int first, CUnicodeCategoriesTable::Flags flags)
{
    // The numbers below 32 that have bit n.
    constexpr std::uint32_t kHavingBit[] = {0xAAAAAAAA, 0xCCCCCCCC, 0xF0F0F0F0, 0xFF00FF00,
                                            0xFFFF0000};
    if ((first & flags) != 0) return ~std::uint32_t{0};
    std::uint32_t entries = 0;
    for (unsigned int bit = 0; bit < std::size(kHavingBit); ++bit) {
        if ((flags >> bit & 1) != 0) entries |= kHavingBit[bit];
    }
    return entries;
}

ByteBits MatchingEntries(CUnicodeCategoriesTable::CategoriesMask mask,
                         CUnicodeCategoriesTable::Flags flags,
                         bool flagSense)
{
    if (mask == 0) mask = ~CUnicodeCategoriesTable::CategoriesMask{0};
    ByteBits entries;
    for (unsigned int first = 0; first < 0x100; first += 32) {
        std::uint32_t matching = mask;
        if (flags != 0) matching &= EntriesWithFlag(first, flags) ^ (flagSense ? 0 : ~0U);
        for (unsigned int i = 0; i < 4; ++i)
            entries.mBytes[first / 8 + i] = static_cast<unsigned char>(matching >> 8 * i);
    }
    return entries;
}

ByteBits WholePages(ByteBits const& entries)
{
    CategoryPages const& pages = CategoryPages::Get();
    ByteBits whole;
    GetTextKernels().mClassify(entries, pages.mEntries.data(), whole);
    for (std::size_t at = 0; at < sizeof whole.mBytes; ++at)
        whole.mBytes[at] = static_cast<unsigned char>(whole.mBytes[at] & ~pages.mMixed.mBytes[at]);
    return whole;
}

}  // namespace

CategoryPages const& CategoryPages::Get()
{
    static CategoryPages const sPages = [] {
        CategoryPages pages = {};
        for (unsigned int page = 0; page < 0x100; ++page) {
            unsigned char const* const entries = PageOf(page);
            pages.mEntries[page] = entries[0];
            if (std::memcmp(entries, entries + 1, kPageSize - 1) != 0) pages.mMixed.Add(page);
        }
        return pages;
    }();
    return sPages;
}

CCategorySet::CCategorySet(CUnicodeCategoriesTable::CategoriesMask mask,
                           CUnicodeCategoriesTable::Flags flags,
                           bool flagSense)
    : CCategorySet(MatchingEntries(mask, flags, flagSense))
{
}

CCategorySet::CCategorySet(ByteBits const& entries)
    : CUnitSet(WholePages(entries), CategoryPages::Get().mMixed)
    , mEntries(entries)
{
}

void CCategorySet::FillPage(unsigned int page, ByteBits& bits) const
{
    GetTextKernels().mClassify(mEntries, PageOf(page), bits);
}
