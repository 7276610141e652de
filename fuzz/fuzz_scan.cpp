// The searches for categories, for units of loaded sets and for mappable ones, and the test for
// UTF-16, over any text at each level of instructions that the processor has, compared with one
// unit at a time.
//
// The first bytes give the mask, the flags and the offset of the text in memory; what follows is a
// piece of the text, and how often it is repeated before it and behind it.
#include "text/CCharsetConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/simd/TextKernels.h"
#include "text/tables/CategoryTableData.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Table = CUnicodeCategoriesTable;

void Require(bool holds)
{
    if (!holds) std::abort();
}

// In memory of the exact size, so that the address sanitizer sees the ends.
struct Text
{
    std::vector<char16_t> mMemory;
    char16_t const* mUnits;
    int mLength;

    Text(std::u16string const& units, std::size_t offset)
        : mMemory(offset)
    {
        mMemory.insert(mMemory.end(), units.begin(), units.end());
        mUnits = mMemory.data() + offset;
        mLength = static_cast<int>(units.size());
    }
};

constexpr unsigned int kNone = ~0U;

unsigned int NaivelyFind(Text const& text, bool isFirst, auto test)
{
    unsigned int found = kNone;
    for (int at = 0; at < text.mLength; ++at) {
        if (!test(text.mUnits[at])) continue;
        found = static_cast<unsigned int>(at);
        if (isFirst) break;
    }
    return found;
}

void CheckCategories(Text const& text, Table::CategoriesMask mask, Table::Flags flags, bool sense)
{
    auto const find = [&](auto search) {
        unsigned int index = kNone;
        Require(search(index, text.mUnits, text.mLength, mask, flags, sense) == (index != kNone));
        return index;
    };
    auto const matches = [=](char16_t unit) { return Table::Matches(unit, mask, flags, sense); };
    auto const differs = [=](char16_t unit) { return !matches(unit); };
    Require(find(Table::FindFirstOfCategories) == NaivelyFind(text, true, matches));
    Require(find(Table::FindFirstNotOfCategories) == NaivelyFind(text, true, differs));
    Require(find(Table::FindLastOfCategories) == NaivelyFind(text, false, matches));
    Require(find(Table::FindLastNotOfCategories) == NaivelyFind(text, false, differs));
}

void CheckLoadedSet(Text const& text)
{
    static CUnicodeCategoryTable const& sSet = *[] {
        auto* const set = new CUnicodeCategoryTable;
        set->LoadCategoryTable(sLetterNumberCategoryTableData, sLetterNumberCategoryTableDataLen);
        return set;
    }();
    auto const find = [&](auto search) {
        unsigned int index = kNone;
        Require((sSet.*search)(text.mUnits, text.mLength, index) == (index != kNone));
        return index;
    };
    auto const matches = [](char16_t unit) { return sSet.Contains(unit); };
    auto const differs = [](char16_t unit) { return !sSet.Contains(unit); };
    Require(find(&CUnicodeCategoryTable::FindFirstOfCategory) == NaivelyFind(text, true, matches));
    Require(find(&CUnicodeCategoryTable::FindFirstNotOfCategory) ==
            NaivelyFind(text, true, differs));
    Require(find(&CUnicodeCategoryTable::FindLastOfCategory) == NaivelyFind(text, false, matches));
    Require(find(&CUnicodeCategoryTable::FindLastNotOfCategory) ==
            NaivelyFind(text, false, differs));
}

void CheckMappable(Text const& text)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    auto const isMapped = [&table](char16_t unit) {
        char16_t const* units = nullptr;
        int count = 0;
        return table.FindEntry(unit, units, count);
    };
    Require(table.HasMappableText(text.mUnits, text.mLength) ==
            (NaivelyFind(text, true, isMapped) != kNone));
}

unsigned int SniffUTF16(Text const& text, int size)
{
    bool big = true;
    bool little = true;
    bool not16 = true;
    CCharsetConverter::SniffUTF16(reinterpret_cast<char const*>(text.mUnits), size, &big, &little,
                                  &not16);
    return (big ? 1 : 0) + (little ? 2 : 0) + (not16 ? 4 : 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    constexpr std::size_t kHead = 9;
    constexpr std::size_t kLongest = 2000;
    if (size < kHead + 2) return 0;
    Table::CategoriesMask mask = 0;
    std::memcpy(&mask, data, sizeof mask);
    Table::Flags const flags = data[4];
    bool const sense = (data[5] & 1) != 0;
    std::size_t const offset = data[5] / 8;
    std::size_t const before = data[6];
    std::size_t const behind = data[7];
    std::size_t const odd = data[8] % 2;
    data += kHead;
    size -= kHead;

    std::u16string piece(size / 2, u' ');
    std::memcpy(piece.data(), data, piece.size() * 2);
    // The first unit all around, so that few bytes make a long text of one kind.
    std::u16string units(4 * before, piece[0]);
    units += piece;
    units.append(4 * behind, piece[0]);
    if (units.size() > kLongest) units.resize(kLongest);
    Text const text(units, offset);

    StTextKernels const plain(kPlainTextKernels);
    int const bytes = 2 * text.mLength - static_cast<int>(odd);
    unsigned int const verdict = SniffUTF16(text, bytes);
    static auto const sLevels = GetAllTextKernels();
    for (TextKernels const* const kernels : sLevels) {
        StTextKernels const level(*kernels);
        CheckCategories(text, mask, flags, sense);
        CheckLoadedSet(text);
        CheckMappable(text);
        Require(SniffUTF16(text, bytes) == verdict);
    }
    return 0;
}
