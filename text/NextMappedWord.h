// One call for the next mapped word: the ways that are the same at each level of instructions.
// Inner to the word delimiters.
//
// Nearly all calls are answered by loops that know some words well
// (`TextKernels::mNextMappedWord`): they take a word of alphabets or syllables between gaps from a
// window of units, and an ideograph and a pictograph by themselves. What they don't know goes to
// the feed, which can do everything.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "marl/CBlockAccess.h"
#include "marl/amortizedmemblock.h"
#include "text/CMappedWordFeed.h"
#include "text/CUnicodeMappingTable.h"
#include "text/MappedWordRules.h"
#include "text/WordUnits.h"
#include "text/simd/TextKernels.h"

// The arguments of a call, for the ways that are out of line so that the quick ones stay quick.
struct MappedWordCall
{
    char16_t const* mText;  // not owned
    std::size_t mLength;
    CUnicodeMappingTable const& mTable;
    unsigned int& mStart;
    unsigned int& mRawLength;
    amortizedmemblock& mBlock;
    unsigned int& mMappedLength;

    // Behind the word before.
    std::size_t From() const { return std::size_t{mStart} + mRawLength; }

    // A word of as many raw units as mapped ones.
    bool Answer(std::size_t start, std::size_t count) const
    {
        mStart = static_cast<unsigned int>(start);
        mRawLength = mMappedLength = static_cast<unsigned int>(count);
        return true;
    }
};

template <class Rule>
[[gnu::noinline]] bool FeedMappedWord(MappedWordCall const& call, ASCIIWord ascii)
{
    CMappedWordFeed feed(call.mText, call.mLength, call.mTable, call.From(), call.mBlock,
                         call.mMappedLength);
    bool const isFound = feed.TakeASCII(ascii) || feed.TakeFirst();
    if (isFound) Rule::TakeWord(feed);
    feed.Close(call.mStart, call.mRawLength, call.mMappedLength);
    return isFound;
}

// Units that a word of a window may have, and the room in the block that the quick ways want.
constexpr std::size_t kMostUnits = 32;
constexpr unsigned long kRoomOfWord = kMostUnits * sizeof(char16_t);

// Whether the block is as the quick ways want it: it holds nothing but the word before, and any
// word of a window finds room.
inline bool IsReady(amortizedmemblock const& block, unsigned int mappedLength)
{
    return CBlockAccess::HasRoom(block, kRoomOfWord) &&
           CBlockAccess::GetSize(block) <= mappedLength * sizeof(char16_t);
}

// Makes `count` units the block's content, and answers where they go.
inline char16_t* SetUnits(amortizedmemblock& block, std::size_t count)
{
    return reinterpret_cast<char16_t*>(CBlockAccess::SetSize(block, count * sizeof(char16_t)));
}

// Whether `unit` becomes one that ends a word and stays out of it.
template <class Rule>
inline bool EndsWord(char16_t unit, CUnicodeMappingTable const& table)
{
    char16_t const mapped = table.MapToSingleUnit(unit);
    return mapped != CUnicodeMappingTable::kNoSingleUnit &&
           Rule::IsDropped(WordUnits::EntryOf(mapped));
}

// An entry as `MappedWordFacts::mLow` has it, of any unit that gives one; 0 for others.
template <class Rule>
std::uint32_t
FactsOf(char16_t unit, MappedWordFacts const& facts, CUnicodeMappingTable const& table)
{
    if (unit < MappedWordFacts::kLowUnits) return facts.mLow[unit];
    char16_t const mapped = table.MapToSingleUnit(unit);
    if (mapped == CUnicodeMappingTable::kNoSingleUnit) return 0;
    unsigned char const entry = WordUnits::EntryOf(mapped);
    if (Rule::IsTaken(entry)) return mapped | Rule::kTakenBit;
    return WordUnits::IsWordUnit(entry) ? 0 : MappedWordFacts::kGap;
}

// How many units at `text` are a word by themselves, whatever follows or because of what does: 1
// for an ideographic letter, and by the first rule for a symbol; 2 for a flagged pair; otherwise 0.
// What they map to goes to `units`.
template <class Rule>
unsigned int TakeLoner(char16_t const* text,
                       std::size_t length,
                       CUnicodeMappingTable const& table,
                       char16_t (&units)[2])
{
    units[0] = table.MapToSingleUnit(text[0]);
    unsigned char const entry = WordUnits::EntryOf(units[0]);
    if (WordUnits::IsIdeographicLetter(entry)) return 1;
    if (length < 2) return 0;
    units[1] = table.MapToSingleUnit(text[1]);
    unsigned char const next = WordUnits::EntryOf(units[1]);
    if (WordUnits::IsFlaggedHighSurrogate(entry)) return WordUnits::IsLowSurrogate(next) ? 2 : 0;
    constexpr auto kGoesOn = WordUnits::kLettersAndNumbers | WordUnits::kSurrogates;
    bool const isSymbol = WordUnits::IsWordUnit(entry) && !WordUnits::IsIn(kGoesOn, entry);
    bool const isAlone = units[1] != CUnicodeMappingTable::kNoSingleUnit &&
                         !WordUnits::IsIn(WordUnits::kSurrogates, next);
    return !Rule::kTakesSymbols && isSymbol && isAlone ? 1 : 0;
}

// A unit at a time, but no expansions and no more than `kMostUnits` raw units in a word.
template <class Rule>
[[gnu::noinline]] bool NextWordByUnit(MappedWordFacts const& facts,
                                      char16_t const* text,
                                      unsigned int length,
                                      unsigned int& start,
                                      unsigned int& rawLength,
                                      amortizedmemblock& block,
                                      unsigned int& mappedLength)
{
    CUnicodeMappingTable const& table = facts.mTable;
    MappedWordCall const call{text, length, table, start, rawLength, block, mappedLength};
    std::size_t at = call.From();
    if (!IsReady(block, mappedLength)) return FeedMappedWord<Rule>(call, {at, 0});

    constexpr std::uint32_t kPassed = MappedWordFacts::kGap | MappedWordFacts::kDeleted;
    std::uint32_t entry = 0;
    for (; at < length; ++at) {
        entry = FactsOf<Rule>(text[at], facts, table);
        if ((entry & kPassed) == 0) break;
    }
    if (at >= length) return FeedMappedWord<Rule>(call, {call.From(), 0});
    if ((entry & Rule::kTakenBit) == 0) {
        char16_t units[2];
        unsigned int const count = TakeLoner<Rule>(text + at, length - at, table, units);
        if (count == 0) return FeedMappedWord<Rule>(call, {call.From(), 0});
        std::memcpy(SetUnits(block, count), units, sizeof units);
        return call.Answer(at, count);
    }

    std::size_t const first = at;
    std::size_t const end = std::min(std::size_t{length}, first + kMostUnits);
    char16_t units[kMostUnits];
    std::size_t count = 0;
    for (; at < end; ++at) {
        entry = FactsOf<Rule>(text[at], facts, table);
        if ((entry & (Rule::kTakenBit | MappedWordFacts::kDeleted)) == 0) break;
        units[count] = static_cast<char16_t>(entry);
        count += (entry & Rule::kTakenBit) != 0 ? 1 : 0;
    }
    bool const isEnd = at == length || (at < end && EndsWord<Rule>(text[at], table));
    if (!isEnd) return FeedMappedWord<Rule>(call, {call.From(), 0});
    std::memcpy(SetUnits(block, count), units, sizeof units);
    start = static_cast<unsigned int>(first);
    rawLength = static_cast<unsigned int>(at - first);
    mappedLength = static_cast<unsigned int>(count);
    return true;
}

// The first call for a table, or in a process. The arguments are in the same places as those of the
// operation, so that all can stay there.
template <class Rule>
[[gnu::noinline, gnu::cold]] bool FirstNextMappedWord(MappedWordFacts const* facts,
                                                      char16_t const* text,
                                                      unsigned int length,
                                                      CUnicodeMappingTable const& table,
                                                      unsigned int& start,
                                                      unsigned int& rawLength,
                                                      amortizedmemblock& block,
                                                      unsigned int& mappedLength)
{
    TextKernels const& kernels = GetTextKernels();
    NextMappedWord* const next =
        Rule::kTakesSymbols ? kernels.mNextLegacyWord : kernels.mNextStubWord;
    return next(facts ? *facts : table.GetWordFacts(), text, length, start, rawLength, block,
                mappedLength);
}
