#include "loamctl/CFoldedFinder.h"

#include <algorithm>
#include <utility>

#include "loamctl/CDocument.h"
#include "loamctl/Interruption.h"
#include "text/CUnicodeMappingTable.h"

namespace {

// What mTraits says about a raw unit as the first of two neighbours, in the low nibble, and as the
// second, in the high one. Two neighbours pass if a nibble of the one and that of the other share a
// bit: either the first unit begins a hit and the second can go on with it, or the first unit
// begins one whatever follows, as an expansion does, and as every unit does for a needle of one.
constexpr unsigned char kBegins = 0x01;
constexpr unsigned char kBeginsAnyway = 0x02;
constexpr unsigned char kFollows = 0x10;
constexpr unsigned char kFollowsAnyway = 0x20;  // in every unit

// After so many looks at the text somebody may want to stop: a few milliseconds.
constexpr std::size_t kStep = 1 << 20;

bool Passes(unsigned first, unsigned second)
{
    return (first & second >> 4) != 0;
}

}  // namespace

CFoldedFinder::CFoldedFinder(std::u16string folded)
    : mTable(*CUnicodeMappingTable::GetDefaultTable())
    , mNeedle(std::move(folded))
    , mASCIIFinder(mNeedle, mTable)
    // Room for a hit that begins late in one expansion and ends in another.
    , mMapped(mNeedle.size() + 2UL * CUnicodeMappingTable::kLongestMapping, u' ')
    , mOffsets(mMapped.size() + 1)
{
}

void CFoldedFinder::FillTraits()
{
    for (unsigned code = 0; code < mTraits.size(); ++code) {
        auto const unit = static_cast<char16_t>(code);
        char16_t const* units = &unit;
        int count = 1;
        mTable.FindEntry(unit, units, count);
        std::u16string_view const mapped(units, static_cast<std::size_t>(count));

        unsigned traits = kFollowsAnyway;
        if (mapped.find(mNeedle[0]) != mapped.npos) {
            traits |= count == 1 && mNeedle.size() > 1 ? kBegins : kBeginsAnyway;
        }
        if (mapped.empty() || (mNeedle.size() > 1 && mapped[0] == mNeedle[1])) traits |= kFollows;
        mTraits[code] = static_cast<unsigned char>(traits);
    }
    mHasTraits = true;
}

void CFoldedFinder::SetText(std::u16string_view text)
{
    // Not sooner, since there may be nothing to look into.
    if (!mHasTraits) FillTraits();
    mText = text;
    mASCII = {};
    mAt = 0;
}

void CFoldedFinder::SetDocument(CDocument const& document)
{
    bool const isASCII = document.IsASCII() && mASCIIFinder.IsUsable();
    if (!isASCII) return SetText(document.GetText());
    mASCII = document.GetBytes();
    mAt = 0;
}

bool CFoldedFinder::Next(Span& hit)
{
    if (!mASCII.empty()) return NextInASCII(hit);
    for (; FindCandidate(); ++mAt) {
        if (MatchHere(hit)) {
            mAt = hit.mEnd;
            return true;
        }
    }
    return false;
}

bool CFoldedFinder::NextInASCII(Span& hit)
{
    mAt = std::min(mASCIIFinder.Find(mASCII, mAt), mASCII.size());
    if (mAt == mASCII.size()) return false;
    hit = {mAt, mAt + mNeedle.size()};
    mAt = hit.mEnd;
    return true;
}

// Moves mAt to the next unit that may begin a hit. Nearly all the time of a search is spent here.
bool CFoldedFinder::FindCandidate()
{
    unsigned char const* const traits = mTraits.data();
    char16_t const* const text = mText.data();
    std::size_t const size = mText.size();
    std::size_t at = mAt;
    std::size_t rest = kStep;
    for (; at + 4 < size; at += 4) {
        if (--rest == 0) [[unlikely]] {
            ThrowIfInterrupted();
            rest = kStep;
        }
        unsigned const a = traits[text[at]];
        unsigned const b = traits[text[at + 1]];
        unsigned const c = traits[text[at + 2]];
        unsigned const d = traits[text[at + 3]];
        unsigned const e = traits[text[at + 4]];
        if (((a & b >> 4) | (b & c >> 4) | (c & d >> 4) | (d & e >> 4)) != 0) break;
    }
    for (; at < size; ++at) {
        unsigned const next = at + 1 < size ? traits[text[at + 1]] : kFollowsAnyway;
        if (Passes(traits[text[at]], next)) break;
    }
    mAt = at;
    return at < size;
}

// Maps from mAt on as far as a hit can reach and compares, at each place inside the first unit's
// expansion. Mapping runs on over deleted marks until it meets a unit that it has no room for, so
// the offset behind the last mapped unit lies behind its marks.
bool CFoldedFinder::MatchHere(Span& hit)
{
    int const start = static_cast<int>(mAt);
    int source = start;
    int count = 0;
    mTable.MapText(mText.data(), static_cast<int>(mText.size()), source, mMapped.data(),
                   static_cast<int>(mMapped.size()), count, mOffsets.data());
    auto const mappedSize = static_cast<std::size_t>(count);
    mOffsets[mappedSize] = source;

    std::u16string_view const mapped(mMapped.data(), mappedSize);
    for (std::size_t k = 0; k < mappedSize && mOffsets[k] == start; ++k) {
        if (!mapped.substr(k).starts_with(mNeedle)) continue;
        std::size_t behind = k + mNeedle.size();
        while (mOffsets[behind] == mOffsets[k + mNeedle.size() - 1])
            ++behind;
        hit = {mAt, static_cast<std::size_t>(mOffsets[behind])};
        return true;
    }
    return false;
}

std::u16string FoldNeedle(std::u16string const& raw)
{
    std::u16string mapped;
    std::vector<int> offsets;
    CUnicodeMappingTable::GetDefaultTable()->MapText(raw.data(), static_cast<int>(raw.size()),
                                                     mapped, offsets);

    // A blank that shares its raw character with another unit comes from an expansion.
    std::size_t start = 0;
    std::size_t end = mapped.size();
    while (start < end && mapped[start] == u' ' && start + 1 < end &&
           offsets[start + 1] == offsets[start]) {
        ++start;
    }
    while (end > start + 1 && mapped[end - 1] == u' ' && offsets[end - 2] == offsets[end - 1]) {
        --end;
    }
    return mapped.substr(start, end - start);
}
