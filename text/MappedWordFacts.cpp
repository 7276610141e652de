#include "text/MappedWordFacts.h"

#include <cstring>

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

// An entry of `MappedWordFacts::mKinds`.
std::uint8_t KindOf(CUnicodeMappingTable const& table, char16_t unit)
{
    char16_t const mapped = table.MapToSingleUnit(unit);
    if (mapped == CUnicodeMappingTable::kNoSingleUnit) return 0;
    unsigned char const entry = WordUnits::EntryOf(mapped);
    if (WordUnits::IsIdeographicLetter(entry)) return MappedWordFacts::kIdeographKind;
    return WordUnits::IsWordUnit(entry) ? 0 : MappedWordFacts::kGapKind;
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
    : mLatin{}
    , mSameFirst(kFirstSyllable)
    , mSameCount(AreSyllablesKept(table) ? kSyllables : 0)
    , mTable(table)
{
    for (unsigned int unit = 0; unit < kLowUnits; ++unit)
        mLow[unit] = LowEntryOf(table, static_cast<char16_t>(unit));

    for (unsigned int unit = 0; unit < 0x10000; ++unit)
        mKinds[unit] = KindOf(table, static_cast<char16_t>(unit));

    std::memset(mLatinMap, kUnknownLatin, sizeof mLatinMap);
    for (unsigned int unit = 0; unit < 0xFF; ++unit) {
        std::uint32_t const entry = mLow[unit];
        auto const mapped = static_cast<char16_t>(entry);
        for (unsigned int rule = 0; rule < 2; ++rule) {
            bool const isTaken = (entry & kTaken << rule) != 0 && mapped <= 0xFF;
            bool const isGap = (entry & kGap) != 0;
            if (isTaken) mLatin[rule].mTaken.Add(unit);
            if (isTaken || isGap) {
                mLatin[rule].mKnown.Add(unit);
                mLatinMap[rule][unit] = isTaken ? static_cast<std::uint8_t>(mapped) : 0;
            }
        }
    }
}
