#include "testing/NaiveWords.h"

#include <algorithm>
#include <cstddef>

#include "text/CUnicodeCategoriesTable.h"

namespace NaiveWords {
namespace {

// A letter for what a unit is to a word:
//   I  ideographic letter or mark      B  body: letter or number without the ideographic flag
//   N  number with that flag           H  flagged high surrogate
//   h  other high surrogate            l  low surrogate
//   S  symbol or nonspacing mark       _  gap
char KindOf(char16_t unit)
{
    unsigned const entry = CUnicodeCategoriesTable::sTable[unit];
    unsigned const category = entry % 32;
    bool const isFlagged = entry / 64 != 0;
    switch (category) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
        return isFlagged ? 'I' : 'B';
    case 5:
        return isFlagged ? 'I' : 'S';
    case 8:
    case 9:
    case 10:
        return entry >= 128 ? 'N' : 'B';
    case 18:
    case 19:
    case 21:
        return 'S';
    case 27:
        return isFlagged ? 'H' : 'h';
    case 28:
        return 'l';
    default:
        return '_';
    }
}

std::string KindsOf(std::u16string_view text)
{
    std::string kinds;
    for (char16_t const unit : text)
        kinds += KindOf(unit);
    return kinds;
}

bool IsOneOf(char kind, char const* kinds)
{
    return std::string_view(kinds).find(kind) != std::string_view::npos;
}

unsigned int Narrow(size_t value)
{
    return static_cast<unsigned int>(value);
}

unsigned int StubLength(std::string const& kinds, size_t start, unsigned int previousLength)
{
    char const first = kinds[start];
    if (first == 'I' || first == 'S' || first == 'l') return 1;
    if (first == 'H' || first == 'h') return start + 2 <= kinds.size() ? 2 : 1;
    size_t const end = kinds.find_first_not_of('B', start + 1);
    return end == std::string::npos ? previousLength + 1 : Narrow(end - start);
}

unsigned int LegacyLength(std::u16string_view text, std::string const& kinds, size_t start)
{
    if (kinds[start] == 'I') return 1;
    if (kinds[start] == 'H' && kinds.size() > 1) return 2;

    // First the longest word there could be, then the cut.
    size_t end = std::min(kinds.find('_', start), kinds.size());
    if (end + 1 < kinds.size()) {
        bool const isApostrophe = text[end] == 0x27 || text[end] == 0xFF07 || text[end] == 0x2BC;
        if (isApostrophe && std::u16string_view(u"bcdfghjklmnpqrstvwxyz").find(text[end + 1]) !=
                                std::u16string_view::npos) {
            end = std::min(kinds.find('_', end + 1), kinds.size());
        }
    }
    size_t const cut = kinds.find_first_of("IH", start + 1);
    return Narrow(std::min(cut, end) - start);
}

// One mapped unit of the list.
struct Unit
{
    char16_t mUnit;
    char mKind;
    bool mIsHeld;    // was in the block already when the call began
    size_t mSource;  // otherwise: index of the raw unit
    bool mIsFirst;   // otherwise: the first unit that the raw unit gives
};

using Units = std::vector<Unit>;

Units UnitsOf(std::u16string_view text, CMap const& map, MappedWalk const& walk)
{
    Units units;
    for (char16_t const unit : walk.mBlock)
        units.push_back({unit, KindOf(unit), true, 0, false});
    for (size_t at = walk.mStart; at < text.size(); ++at) {
        bool isFirst = true;
        for (char16_t const unit : map.Of(text[at])) {
            units.push_back({unit, KindOf(unit), false, at, isFirst});
            isFirst = false;
        }
    }
    return units;
}

bool HaveOneSource(Unit const& a, Unit const& b)
{
    return a.mIsHeld == b.mIsHeld && (a.mIsHeld || a.mSource == b.mSource);
}

// The units from `at` on that come from the same place as the one at `like`.
std::u16string RestOf(Units const& units, size_t at, size_t like)
{
    std::u16string rest;
    for (; at < units.size() && HaveOneSource(units[at], units[like]); ++at)
        rest += units[at].mUnit;
    return rest;
}

// Where and how a word ends.
struct End
{
    size_t mAt;        // index behind the word's last unit
    size_t mRawEnd;    // raw position behind its span
    bool mKeepsFresh;  // a unit that wasn't taken stays in the block even if it starts an expansion
    bool mHasLooked;   // whether the unit behind the word was looked at
};

// Whether a unit of kind `next` goes on with a word that began with `first`.
bool GoesOn(Rule rule, char first, char next)
{
    if (rule == Rule::kLegacy) return next != '_';
    if (first == 'B' || first == 'N') return next == 'B';
    return IsOneOf(next, "Hhl");
}

End EndOf(Rule rule, size_t textLength, Units& units, size_t first, size_t start, size_t rawEnd)
{
    char const firstKind = units[first].mKind;
    if (firstKind == 'I') return {first + 1, rawEnd, false, false};

    for (size_t at = first + 1; at < units.size(); ++at) {
        Unit& unit = units[at];
        Unit& before = units[at - 1];
        // Deleted raw units in between belong to the word, whatever comes behind them.
        bool const isFresh = !unit.mIsHeld && unit.mIsFirst;
        if (isFresh) rawEnd = std::max(rawEnd, unit.mSource);

        if (rule == Rule::kStub) {
            bool const isPair = IsOneOf(before.mKind, "Hh") && unit.mKind == 'l';
            if (!isPair && IsOneOf(before.mKind, "Hh")) before.mUnit = 0x258C;
            if (!isPair && unit.mKind == 'l') {
                unit.mUnit = 0x2590;
                unit.mKind = 'S';
            }
        }

        bool const endsBefore = unit.mKind == 'I' || (unit.mKind == 'H' && rawEnd > start + 1);
        if (endsBefore) return {at, rawEnd, rule == Rule::kLegacy, true};
        if (!GoesOn(rule, firstKind, unit.mKind)) return {at, rawEnd, false, true};
        if (isFresh) rawEnd = unit.mSource + 1;
        if (unit.mKind == 'H' || firstKind == 'H') return {at + 1, rawEnd, false, false};
    }
    return {units.size(), std::max(rawEnd, textLength), false, false};
}

}  // namespace

CMap::CMap(CUnicodeMappingTable const& table)
{
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        std::u16string mapped;
        table.MapText(std::u16string(1, static_cast<char16_t>(unit)), mapped);
        if (mapped.size() > 128) mapped.clear();
        mStrings.push_back(mapped);
    }
}

bool NextWord(Rule rule, std::u16string_view text, RawWalk& walk)
{
    walk.mStart += walk.mWordLength;
    if (walk.mStart >= text.size()) return false;
    std::string const kinds = KindsOf(text);
    size_t const start = kinds.find_first_not_of('_', walk.mStart);
    if (start == std::string::npos) return false;
    walk.mStart = Narrow(start);
    walk.mWordLength = rule == Rule::kStub ? StubLength(kinds, start, walk.mWordLength)
                                           : LegacyLength(text, kinds, start);
    return true;
}

bool NextMappedWord(Rule rule, std::u16string_view text, CMap const& map, MappedWalk& walk)
{
    walk.mBlock.erase(0, walk.mMappedLength);
    walk.mStart += walk.mRawLength;
    walk.mMappedLength = walk.mRawLength = 0;
    Units units = UnitsOf(text, map, walk);

    auto const firstUnit =
        std::find_if(units.begin(), units.end(), [](Unit const& u) { return u.mKind != '_'; });
    if (firstUnit == units.end()) {
        bool const wasMapped = !units.empty() && !units.back().mIsHeld;
        walk.mRawLength = wasMapped ? 1 : 0;
        walk.mStart = std::max(walk.mStart, Narrow(text.size()));
        walk.mBlock.clear();
        return false;
    }

    auto const first = static_cast<size_t>(firstUnit - units.begin());
    if (!firstUnit->mIsHeld) walk.mStart = Narrow(firstUnit->mSource);
    size_t const rawEnd = walk.mStart + (firstUnit->mIsHeld ? 0u : 1u);
    if (rule == Rule::kStub && firstUnit->mKind == 'l') {
        firstUnit->mUnit = 0x2590;
        firstUnit->mKind = 'S';
    }

    End const end = EndOf(rule, text.size(), units, first, walk.mStart, rawEnd);
    walk.mRawLength = Narrow(end.mRawEnd - walk.mStart);
    walk.mMappedLength = Narrow(end.mAt - first);
    walk.mBlock.clear();
    for (size_t at = first; at < end.mAt; ++at)
        walk.mBlock += units[at].mUnit;
    // What stays is the rest of the last place that units were taken from; and with the earlier
    // rule a whole expansion that was only looked at.
    walk.mBlock += RestOf(units, end.mAt, end.mAt - 1);
    if (end.mHasLooked && end.mKeepsFresh && !HaveOneSource(units[end.mAt], units[end.mAt - 1])) {
        std::u16string const expansion = RestOf(units, end.mAt, end.mAt);
        // But not one that would come back behind its own last word for ever.
        char const last = KindOf(expansion.back());
        if (walk.mRawLength != 0 || last == 'I' || last == '_') walk.mBlock += expansion;
    }
    return true;
}

}  // namespace NaiveWords
