#include "text/simd/TextKernels.h"

#include "testing/StFencedMemory.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/MappedUnits.h"
#include "text/UnitSearch.h"
#include "text/tables/CategoryTableData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Units = std::u16string;
using Bytes = std::vector<unsigned char>;
using Membership = std::bitset<0x10000>;
using Table = CUnicodeCategoriesTable;

constexpr size_t kLeast = kLeastUnits;
constexpr unsigned int kUntouched = 4711;

// Members of a set, and what is known of its pages. Empty ones pass for mixed ones, as those do of
// which nothing is known at first.
struct Members
{
    Membership mUnits;
    ByteBits mWhole = {};
    ByteBits mMixed = {};
    std::array<ByteBits, 0x100> mPages = {};

    explicit Members(Membership const& units)
        : mUnits(units)
    {
        for (unsigned int page = 0; page < 0x100; ++page) {
            for (unsigned int low = 0; low < 0x100; ++low) {
                if (units[page << 8 | low]) mPages[page].Add(low);
            }
            (mPages[page].IsFull() ? mWhole : mMixed).Add(page);
        }
    }
};

class CToldSet final : public CUnitSet
{
public:
    explicit CToldSet(Members const& members)
        : CUnitSet(members.mWhole, members.mMixed)
        , mMembers(members)
    {
    }

private:
    void FillPage(unsigned int page, ByteBits& bits) const override
    {
        bits = mMembers.mPages[page];
    }

    Members const& mMembers;
};

// Pages that are whole, empty, and mixed in some ways; the first page is mixed.
Members SomeMembers()
{
    std::mt19937 random(4);
    Membership members;
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        switch (unit >> 8 & 3) {
        case 0:
            members[unit] = random() % 2 == 0;
            break;
        case 1:
            members[unit] = true;
            break;
        case 2:
            members[unit] = random() % 50 == 0;
            break;
        default:
            break;
        }
    }
    return Members(members);
}

std::string Hex(auto const& numbers)
{
    std::string text;
    for (unsigned long long const number : numbers) {
        char digits[20];
        std::snprintf(digits, sizeof digits, "%02llX ", number);
        text += digits;
    }
    return text;
}

ptrdiff_t NaivelyFind(Units const& text, bool isFirst, auto test)
{
    ptrdiff_t found = -1;
    for (size_t at = 0; at < text.size(); ++at) {
        if (test(text[at]) && (found < 0 || !isFirst)) found = static_cast<ptrdiff_t>(at);
    }
    return found;
}

// Holds one level's searches in a set against naive ones.
class CSearches
{
public:
    CSearches(TextKernels const& kernels, Members const& members)
        : mKernels(kernels)
        , mMembers(members)
    {
    }

    static constexpr size_t kAtEnd = ~size_t{0};

    // Tells the first difference only.
    bool Agree(Units const& text, size_t offset = kAtEnd)
    {
        char16_t* const begin = offset == kAtEnd ? mMemory.AtEnd<char16_t>(text.size())
                                                 : mMemory.AtStart<char16_t>(offset);
        std::copy(text.begin(), text.end(), begin);
        char16_t const* const end = begin + text.size();
        for (bool const isFirst : {true, false}) {
            FindUnit& find = isFirst ? *mKernels.mFindFirstUnit : *mKernels.mFindLastUnit;
            for (bool const isMember : {true, false}) {
                CToldSet set(mMembers);
                char16_t const* const hit = find(set, begin, end, isMember);
                ptrdiff_t const expected = NaivelyFind(text, isFirst, [&](char16_t unit) {
                    return mMembers.mUnits[unit] == isMember;
                });
                if ((hit ? hit - begin : -1) == expected) continue;
                ADD_FAILURE() << mKernels.mName << (isFirst ? " first" : " last")
                              << (isMember ? " member" : " other") << " of " << Hex(text) << "is "
                              << (hit ? hit - begin : -1) << ", must be " << expected;
                return false;
            }
        }
        return true;
    }

private:
    TextKernels const& mKernels;
    Members const& mMembers;
    StFencedMemory mMemory;
};

// Nothing where there is a null, with which nothing else counts.
std::vector<unsigned long long> Told(UTF16Evidence const& evidence)
{
    if (evidence.mHasNull) return {};
    std::vector<unsigned long long> told;
    for (UTF16Signs const& signs : {evidence.mBig, evidence.mLittle}) {
        told.insert(told.end(),
                    {signs.mCommon, signs.mVarying, signs.mConclusive, signs.mBad, signs.mZeros});
    }
    return told;
}

// Of a text behind its first pair.
bool WeighsAsPlainOnes(TextKernels const& kernels, StFencedMemory& memory, Bytes const& pairs)
{
    auto* const begin = memory.AtEnd<unsigned char>(pairs.size());
    std::copy(pairs.begin(), pairs.end(), begin);
    UTF16Evidence expected;
    WeighPairsPlain(begin + 2, begin + pairs.size(), expected);
    UTF16Evidence evidence;
    kernels.mWeighPairs(begin + 2, begin + pairs.size(), evidence);
    if (Told(evidence) == Told(expected)) return true;
    ADD_FAILURE() << kernels.mName << " weighs " << Hex(pairs) << "\n as " << Hex(Told(evidence))
                  << "\n must be " << Hex(Told(expected));
    return false;
}

class ScanKernelsTest : public testing::TestWithParam<char const*>
{
protected:
    void SetUp() override
    {
        for (TextKernels const* const kernels : GetAllTextKernels()) {
            if (std::strcmp(kernels->mName, GetParam()) == 0) mKernels = kernels;
        }
        if (!mKernels) GTEST_SKIP() << "this processor has no " << GetParam();
    }

    TextKernels const* mKernels = nullptr;  // not owned
};

INSTANTIATE_TEST_SUITE_P(Levels,
                         ScanKernelsTest,
                         testing::Values("plain", "AVX-512 VBMI2", "AVX2", "SSE4.2", "NEON"));

// Searches as hosts call them, beside a naive one. Long enough for what is tested first, and for
// some blocks behind it.
constexpr size_t kLong = kLongText + 3 * kLeast + 5;

using CategorySearch =
    bool (*)(unsigned int&, char16_t const*, int, Table::CategoriesMask, Table::Flags, bool);
using SetSearch = bool (CUnicodeCategoryTable::*)(char16_t const*, int, unsigned int&) const;

struct SearchCase
{
    CategorySearch mSearch;
    SetSearch mSetSearch;
    bool mIsFirst;
    bool mIsMatch;
};

constexpr SearchCase kSearches[] = {
    {Table::FindFirstOfCategories, &CUnicodeCategoryTable::FindFirstOfCategory, true, true},
    {Table::FindFirstNotOfCategories, &CUnicodeCategoryTable::FindFirstNotOfCategory, true, false},
    {Table::FindLastOfCategories, &CUnicodeCategoryTable::FindLastOfCategory, false, true},
    {Table::FindLastNotOfCategories, &CUnicodeCategoryTable::FindLastNotOfCategory, false, false},
};

// Runs of units that all match or all don't, with another one at any place.
Units TextToSearch(std::mt19937& random, auto matches)
{
    auto const pick = [&random](size_t below) { return static_cast<size_t>(random() % below); };
    bool const isMatch = pick(2) == 0;
    auto const next = [&](unsigned int first, unsigned int count, bool wanted) {
        char16_t unit = 0;
        // Where there are none, others will do: a text is only the likelier to be walked far.
        for (int tries = 0; tries < 20; ++tries) {
            unit = static_cast<char16_t>(first + pick(count));
            if (matches(unit) == wanted) break;
        }
        return unit;
    };
    Units text;
    size_t const length = pick(kLong);
    while (text.size() < length) {
        // Scripts of one page, of many, and all units there are.
        constexpr unsigned int kFirsts[] = {0x0020, 0x0400, 0x2000, 0x3000, 0x4E00, 0xD800, 0};
        constexpr unsigned int kCounts[] = {0x60, 0x60, 0x400, 0x100, 0x5200, 0x800, 0x10000};
        size_t const script = pick(std::size(kFirsts));
        for (size_t run = 1 + pick(150); run > 0; --run)
            text += next(kFirsts[script], kCounts[script], isMatch);
    }
    if (!text.empty() && pick(2) == 0) text[pick(text.size())] = next(0, 0x10000, !isMatch);
    return text;
}

bool FindsWhatANaiveSearchFinds(Units const& text, bool isFirst, auto search, auto test)
{
    unsigned int index = kUntouched;
    bool const found = search(index, text.data(), static_cast<int>(text.size()));
    ptrdiff_t const expected = NaivelyFind(text, isFirst, test);
    if (found ? static_cast<ptrdiff_t>(index) == expected : expected < 0 && index == kUntouched)
        return true;
    ADD_FAILURE() << (found ? static_cast<ptrdiff_t>(index) : -1) << " must be " << expected
                  << " in " << Hex(text);
    return false;
}

}  // namespace

TEST_P(ScanKernelsTest, FindUnitsAtEveryPlaceOfEveryLength)
{
    Membership units;
    units.set(u'b');
    units.set(0x4E01);
    Members const members(units);
    CSearches searches(*mKernels, members);
    bool holds = true;
    for (char16_t const hit : {u'b', u'\u4E01', u'\uFFFF'}) {
        for (size_t length = kLeast; holds && length < 4 * kLeast + 2; ++length) {
            size_t const step = length < 2 * kLeast + 2 ? 1 : 7;
            for (size_t place = 0; holds && place < length; place += step) {
                Units text(length, u'a');
                text[place] = hit;
                holds = searches.Agree(text);
            }
        }
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, FindUnitsFromEveryOffset)
{
    Members const members = SomeMembers();
    CSearches searches(*mKernels, members);
    std::mt19937 random(7);
    bool holds = true;
    for (size_t offset = 0; holds && offset < 64; ++offset) {
        for (int round = 0; holds && round < 20; ++round) {
            Units text(kLeast + random() % 100, u'\u0301');
            text[random() % text.size()] = static_cast<char16_t>(random());
            holds = searches.Agree(text, offset);
        }
    }
    EXPECT_TRUE(holds);
}

// A lane goes wrong for some units alone, if it does.
TEST_P(ScanKernelsTest, KnowEveryUnit)
{
    Members const members = SomeMembers();
    CSearches searches(*mKernels, members);
    bool holds = true;
    for (unsigned int unit = 0; holds && unit < 0x10000; ++unit) {
        // A member among units of an empty page, another one among those of a whole one.
        Units text(kLeast + 6, members.mUnits[unit] ? u'\u0300' : u'\u0100');
        text[unit % text.size()] = static_cast<char16_t>(unit);
        holds = searches.Agree(text);
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, FindUnitsAmongAnyNumberOfPages)
{
    Members const members = SomeMembers();
    std::vector<char16_t> among[2];
    for (unsigned int unit = 0; unit < 0x10000; ++unit)
        among[members.mUnits[unit]].push_back(static_cast<char16_t>(unit));
    CSearches searches(*mKernels, members);
    std::mt19937 random(11);
    bool holds = true;
    for (int round = 0; holds && round < 3000; ++round) {
        // All of one kind, from the first so many pages; then one of the other kind.
        std::vector<char16_t> const& kind = among[round % 2];
        size_t const most = 1 + random() % kind.size();
        Units text(kLeast + random() % 900, u' ');
        for (char16_t& unit : text)
            unit = kind[random() % most];
        holds = searches.Agree(text);
        text[random() % text.size()] = among[1 - round % 2][random() % among[1 - round % 2].size()];
        holds = holds && searches.Agree(text);
    }
    EXPECT_TRUE(holds);
}

// Longer than anything is remembered of the pages that were met.
TEST_P(ScanKernelsTest, FindOneUnitInLongTextsOfManyPages)
{
    Members const members = SomeMembers();
    std::mt19937 random(31);
    std::string wrong;
    for (unsigned int const pages : {1U, 2U, 3U, 5U, 7U, 13U, 15U, 60U}) {
        for (bool const isMember : {true, false}) {
            // Of so many mixed pages.
            Units others;
            Units hits;
            for (unsigned int unit = 0; unit < 0x10000; ++unit) {
                if ((unit >> 8 & 1) != 0 || unit >> 9 >= pages) continue;
                (members.mUnits[unit] == isMember ? hits : others) += static_cast<char16_t>(unit);
            }
            Units text(300 * kLeast, u' ');
            for (char16_t& unit : text)
                unit = others[random() % others.size()];
            char16_t const* const end = text.data() + text.size();
            for (size_t block = 0; block < text.size(); block += kLeast) {
                char16_t& place = text[block + random() % kLeast];
                char16_t const former = std::exchange(place, hits[random() % hits.size()]);
                for (FindUnit* const find : {mKernels->mFindFirstUnit, mKernels->mFindLastUnit}) {
                    CToldSet set(members);
                    if (find(set, text.data(), end, isMember) != &place)
                        wrong += std::to_string(&place - text.data()) + " ";
                }
                place = former;
            }
        }
    }
    EXPECT_EQ(wrong, "");
}

TEST_P(ScanKernelsTest, ClassifyAnyBytes)
{
    std::mt19937 random(13);
    StFencedMemory memory;
    bool holds = true;
    for (int round = 0; holds && round < 500; ++round) {
        ByteBits set = {};
        for (int i = 0; i < 128; ++i)
            set.Add(random() % 0x100);
        unsigned char* const bytes = memory.AtEnd<unsigned char>(0x100);
        for (unsigned int i = 0; i < 0x100; ++i)
            bytes[i] = static_cast<unsigned char>(round == 0 ? i : random());
        ByteBits bits;
        mKernels->mClassify(set, bytes, bits);
        for (unsigned int i = 0; i < 0x100; ++i)
            holds = holds && bits.Has(i) == set.Has(bytes[i]);
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, WeighPairsAtEveryPlaceAsPlainOnesDo)
{
    // Behind each other they are signs of all kinds, in one byte order or the other.
    std::vector<Bytes> const pieces = {
        {0x00, 0x00},
        {0xD8, 0x01, 0xDC, 0x01},
        {0xD8, 0x01, 0x20, 0x01},
        {0xDC, 0x01},
        {0xE0, 0x01},
        {0xF8, 0x41},
        {0xDF, 0x41},
        {0xF9, 0x41},
        {0x00, 0x0A},
        {0x00, 0x20},
        {0x00, 0xE9, 0x00, 0xE9},
        {0x00, 0x41, 0x00, 0x42},
        {0x00, 0x41, 0x00, 0x41},
        {0xD8, 0x00, 0xDC, 0x00},
        {0xDB, 0xFF, 0x00, 0x41},
    };
    std::vector<Bytes> const fillers = {{0x4E, 0x01}, {0x00, 0x41}, {0xD8, 0x41, 0xDC, 0x41}};
    StFencedMemory memory;
    bool holds = true;
    for (Bytes const& filler : fillers) {
        for (Bytes const& piece : pieces) {
            for (size_t place = 0; holds && place < 150; ++place) {
                for (size_t const rest : {size_t{0}, size_t{1}, 3 * kLeast}) {
                    Bytes pairs;
                    while (pairs.size() < 2 * place)
                        pairs.insert(pairs.end(), filler.begin(), filler.end());
                    pairs.insert(pairs.end(), piece.begin(), piece.end());
                    while (pairs.size() < 2 * (place + rest))
                        pairs.insert(pairs.end(), filler.begin(), filler.end());
                    pairs.resize(pairs.size() & ~size_t{1});
                    holds = holds && WeighsAsPlainOnes(*mKernels, memory, pairs);
                    for (size_t i = 0; i + 1 < pairs.size(); i += 2)
                        std::swap(pairs[i], pairs[i + 1]);
                    holds = holds && WeighsAsPlainOnes(*mKernels, memory, pairs);
                }
            }
        }
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, WeighEveryPairAsPlainOnesDo)
{
    StFencedMemory memory;
    std::mt19937 random(17);
    bool holds = true;
    for (unsigned int first = 0; holds && first < 0x100; ++first) {
        for (unsigned int second = 0; holds && second < 0x100; ++second) {
            Bytes pairs(2 * kLeast + 10, 0x41);
            size_t const place = 2 * (1 + random() % kLeast);
            pairs[place] = static_cast<unsigned char>(first);
            pairs[place + 1] = static_cast<unsigned char>(second);
            holds = WeighsAsPlainOnes(*mKernels, memory, pairs);
        }
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, WeighMixturesOfAnyLengthAsPlainOnesDo)
{
    constexpr unsigned char kBytes[] = {0x00, 0x00, 0x00, 0x0A, 0x20, 0x41, 0x42,
                                        0xD8, 0xDB, 0xDC, 0xDF, 0xE0, 0xF9};
    StFencedMemory memory;
    std::mt19937 random(19);
    bool holds = true;
    for (int round = 0; holds && round < 10000; ++round) {
        Bytes pairs(2 + random() % 600);
        // Few of the bytes, so that long ones have no null either.
        size_t const first = random() % 9;
        for (unsigned char& byte : pairs)
            byte = kBytes[first + random() % 4];
        bool const hasNull = round % 4 == 0;
        for (size_t i = 0; !hasNull && i + 1 < pairs.size(); i += 2) {
            if (pairs[i] == 0 && pairs[i + 1] == 0)
                pairs[i + random() % 2] = kBytes[random() % 10 + 3];
        }
        holds = WeighsAsPlainOnes(*mKernels, memory, pairs);
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, SearchCategoriesAsANaiveSearchDoes)
{
    StTextKernels const level(*mKernels);
    constexpr Table::CategoriesMask kMasks[] = {0,          0x0000071F, 0x0003F800, 0x03C00000,
                                                0x00000020, 0x182C073F, ~0U};
    constexpr Table::Flags kFlags[] = {0, 0, 0x80, 0x40, 0xC0, 0x04, 0x11, 0xFFFFFF00};
    std::mt19937 random(23);
    bool holds = true;
    for (int round = 0; holds && round < 400; ++round) {
        Table::CategoriesMask const mask = kMasks[random() % std::size(kMasks)];
        Table::Flags const flags = kFlags[random() % std::size(kFlags)];
        bool const sense = random() % 2 == 0;
        auto const matches = [=](char16_t unit) {
            return Table::Matches(unit, mask, flags, sense);
        };
        Units const text = TextToSearch(random, matches);
        for (SearchCase const& c : kSearches) {
            holds = holds && FindsWhatANaiveSearchFinds(
                                 text, c.mIsFirst,
                                 [&](unsigned int& index, char16_t const* units, int length) {
                                     return c.mSearch(index, units, length, mask, flags, sense);
                                 },
                                 [&](char16_t unit) { return matches(unit) == c.mIsMatch; });
        }
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, SearchLoadedSetsAsANaiveSearchDoes)
{
    StTextKernels const level(*mKernels);
    CUnicodeCategoryTable table;
    table.LoadCategoryTable(sLetterNumberCategoryTableData, sLetterNumberCategoryTableDataLen);
    auto const matches = [&table](char16_t unit) { return table.Contains(unit); };
    std::mt19937 random(29);
    bool holds = true;
    for (int round = 0; holds && round < 200; ++round) {
        Units const text = TextToSearch(random, matches);
        for (SearchCase const& c : kSearches) {
            holds = holds && FindsWhatANaiveSearchFinds(
                                 text, c.mIsFirst,
                                 [&](unsigned int& index, char16_t const* units, int length) {
                                     return (table.*c.mSetSearch)(units, length, index);
                                 },
                                 [&](char16_t unit) { return matches(unit) == c.mIsMatch; });
        }
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, FindAMappableUnitAtEveryPlace)
{
    StTextKernels const level(*mKernels);
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    Units text(kLong, u'a');
    bool holds = !table.HasMappableText(text);
    for (char16_t& unit : text) {
        unit = u'A';
        holds = holds && table.HasMappableText(text);
        unit = u'\u4E00';
    }
    EXPECT_TRUE(holds);
}

TEST_P(ScanKernelsTest, KnowEveryUnitThatATableMaps)
{
    StTextKernels const level(*mKernels);
    for (CUnicodeMappingTable const* const table :
         {CUnicodeMappingTable::GetDefaultTable(), CUnicodeMappingTable::GetDecomposeAllTable(),
          CUnicodeMappingTable::GetDecomposeDiacriticsTable(),
          CUnicodeMappingTable::GetCaseFoldingTable(), CUnicodeMappingTable::GetStripNSTable()}) {
        std::string wrong;
        // Lowercase letters and ideographs have no mapping in any of them.
        Units text(kLeast + 6, u'a');
        std::fill_n(text.begin(), 20, u'\u4E00');
        char16_t const* const end = text.data() + text.size();
        for (unsigned int unit = 0; unit < 0x10000; ++unit) {
            char16_t& place = text[unit % text.size()];
            char16_t const former = std::exchange(place, static_cast<char16_t>(unit));
            char16_t const* units = nullptr;
            int count = 0;
            bool const isMapped = table->FindEntry(static_cast<char16_t>(unit), units, count);
            if (FindMappedUnit(*table, text.data(), end) != (isMapped ? &place : end))
                wrong += std::to_string(unit) + " ";
            place = former;
        }
        EXPECT_EQ(wrong, "");
    }
}
