// One call for the next mapped word: the ways that are the same at each level of instructions.
// Inner to the word delimiters.
//
// Nearly all calls are answered by loops that know some words well
// (`TextKernels::mNextMappedWord`): they take a word of alphabets or syllables between gaps from a
// window of units, and an ideograph and a pictograph by themselves. What they don't know goes to
// the feed, which can do everything.
#pragma once

#include <cstddef>
#include <cstring>

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

// How many units at `text` are a word by themselves, whatever follows: 1 for an ideographic letter,
// 2 for a flagged pair, otherwise 0. Both rules agree on these. What they map to goes to `units`.
inline unsigned int TakeLoner(char16_t const* text,
                              std::size_t length,
                              CUnicodeMappingTable const& table,
                              char16_t (&units)[2])
{
    units[0] = table.MapToSingleUnit(text[0]);
    unsigned char const entry = WordUnits::EntryOf(units[0]);
    if (WordUnits::IsIdeographicLetter(entry)) return 1;
    if (!WordUnits::IsFlaggedHighSurrogate(entry) || length < 2) return 0;
    units[1] = table.MapToSingleUnit(text[1]);
    return WordUnits::IsLowSurrogate(WordUnits::EntryOf(units[1])) ? 2 : 0;
}

// The first call for a table, or in a process. The place of the facts is kept, so that all
// arguments can stay where they are.
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
    NextMappedWord* const next =
        Rule::kTakesSymbols ? GetTextKernels().mNextLegacyWord : GetTextKernels().mNextStubWord;
    return next(facts ? *facts : table.GetWordFacts(), text, length, table, start, rawLength, block,
                mappedLength);
}
