#include "text/MappedWordFacts.h"

#include "text/CUnicodeMappingTable.h"
#include "text/MappedWordRules.h"
#include "text/WordUnits.h"

namespace {

constexpr unsigned int kFirstSyllable = 0xAC00;
constexpr unsigned int kSyllables = 11172;

// An entry of `MappedWordFacts::mLow`.
std::uint32_t LowEntryOf(CUnicodeMappingTable const& table, char16_t unit)
{
    char16_t const* units = &unit;
    int count = 1;
    table.FindEntry(unit, units, count);
    if (count == 0) return MappedWordFacts::kDeleted;
    if (count != 1) return 0;

    unsigned char const entry = WordUnits::EntryOf(*units);
    std::uint32_t bits = *units;
    if (StubWordRule::IsTaken(entry)) bits |= StubWordRule::kTakenBit;
    if (LegacyWordRule::IsTaken(entry)) bits |= LegacyWordRule::kTakenBit;
    if (!WordUnits::IsWordUnit(entry)) bits |= MappedWordFacts::kGap;
    return bits;
}

bool AreSyllablesKept(CUnicodeMappingTable const& table)
{
    for (unsigned int unit = kFirstSyllable; unit < kFirstSyllable + kSyllables; ++unit) {
        auto const syllable = static_cast<char16_t>(unit);
        if (table.MapToSingleUnit(syllable) != syllable) return false;
    }
    return true;
}

}  // namespace

MappedWordFacts::MappedWordFacts(CUnicodeMappingTable const& table)
    : mLatinMap{}
    , mLatin{}
    , mSameFirst(kFirstSyllable)
    , mSameCount(AreSyllablesKept(table) ? kSyllables : 0)
    , mTable(table)
{
    for (unsigned int unit = 0; unit < kLowUnits; ++unit)
        mLow[unit] = LowEntryOf(table, static_cast<char16_t>(unit));

    for (unsigned int unit = 0; unit < 0xFF; ++unit) {
        std::uint32_t const entry = mLow[unit];
        auto const mapped = static_cast<char16_t>(entry);
        mLatinMap[unit] = static_cast<std::uint8_t>(mapped);
        for (unsigned int rule = 0; rule < 2; ++rule) {
            bool const isTaken = (entry & kTaken << rule) != 0 && mapped <= 0xFF;
            if (isTaken) mLatin[rule].mTaken.Add(unit);
            if (isTaken || (entry & kGap) != 0) mLatin[rule].mKnown.Add(unit);
        }
    }
}
