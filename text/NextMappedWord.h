// One call for the next mapped word, as both word delimiters make it. Inner to them.
//
// A word of ASCII between gaps is found in a window of units at a time, an ideograph and a
// pictograph by themselves, and all else by the feed, which can do everything.
//
// A `Rule` says what a word is:
// - `kTakesSymbols`: whether the symbols of ASCII go with letters and digits,
// - `IsTaken(entry)`: whether a word of letters and digits takes a unit without a further question,
// - `IsDropped(entry)`: whether such a word ends before a unit and leaves nothing of it behind,
// - `TakeWord(feed)`: takes the rest of a word of which the feed has the first units.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "marl/amortizedmemblock.h"
#include "text/ASCIIWindow.h"
#include "text/CMappedWordFeed.h"
#include "text/CUnicodeMappingTable.h"
#include "text/WordUnits.h"

// The arguments of a call, for the ways that are out of line so that the quick one stays quick.
struct MappedWordCall
{
    char16_t const* mText;  // not owned
    std::size_t mLength;
    CUnicodeMappingTable const& mTable;
    unsigned int& mStart;
    unsigned int& mRawLength;
    amortizedmemblock& mBlock;
    unsigned int& mMappedLength;

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
    CMappedWordFeed feed(call.mText, call.mLength, call.mTable,
                         std::size_t{call.mStart} + call.mRawLength, call.mBlock,
                         call.mMappedLength);
    bool const isFound = feed.TakeASCII(ascii) || feed.TakeFirst();
    if (isFound) Rule::TakeWord(feed);
    feed.Close(call.mStart, call.mRawLength, call.mMappedLength);
    return isFound;
}

// Puts a word that `FindASCIIWord` found in `text` into the block, if it is whole: shorter than a
// window, and behind it a unit that the rule drops.
template <class Rule>
[[gnu::always_inline]] inline bool PutASCIIWord(char16_t const* text,
                                                ASCIIWord word,
                                                CUnicodeMappingTable const& table,
                                                amortizedmemblock& block)
{
    if (word.mCount == 0 || word.mCount == CASCIIWindow::kSize) return false;
    char16_t const next = text[word.mStart + word.mCount];
    if (next > 0x7F) {
        char16_t const unit = table.MapToSingleUnit(next);
        if (unit == CUnicodeMappingTable::kNoSingleUnit) return false;
        if (!Rule::IsDropped(WordUnits::EntryOf(unit))) return false;
    }
    block.resize(CASCIIWindow::kSize * sizeof(char16_t));
    CASCIIWindow(text + word.mStart)
        .Write(reinterpret_cast<char16_t*>(block.data()), CaseBitOf(table));
    block.resize(word.mCount * sizeof(char16_t));
    return true;
}

// The same for a word within two windows of the end of the text, on a copy with a gap behind it:
// the end of the text ends a word too.
template <class Rule>
[[gnu::noinline]] bool NextMappedWordNearEnd(MappedWordCall const& call, std::size_t at)
{
    char16_t units[4 * CASCIIWindow::kSize] = {};
    std::copy(call.mText + at, call.mText + call.mLength, units);
    ASCIIWord const word = FindASCIIWord<Rule::kTakesSymbols>(units, std::size(units), 0);
    std::size_t const start = std::min(at + word.mStart, call.mLength);
    if (PutASCIIWord<Rule>(units, word, call.mTable, call.mBlock))
        return call.Answer(start, word.mCount);
    return FeedMappedWord<Rule>(call, {start, 0});
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

// Where `at` is beyond ASCII, with no more than a gap before it.
template <class Rule>
[[gnu::noinline]] bool NextMappedWordBeyondASCII(MappedWordCall const& call, std::size_t at)
{
    char16_t units[2];
    std::size_t const length = call.mLength - at;
    unsigned int const count = TakeLoner(call.mText + at, length, call.mTable, units);
    if (count != 0) {
        call.mBlock.resize(count * sizeof(char16_t));
        std::memcpy(call.mBlock.data(), units, count * sizeof(char16_t));
        return call.Answer(at, count);
    }

    // A dash, a quotation mark, a no-break space: ASCII may well follow.
    bool const isGap = !WordUnits::IsWordUnit(WordUnits::EntryOf(units[0])) &&
                       units[0] != CUnicodeMappingTable::kNoSingleUnit;
    ASCIIWord word{at, 0};
    if (isGap) {
        word = FindASCIIWord<Rule::kTakesSymbols>(call.mText, call.mLength, at + 1);
        if (PutASCIIWord<Rule>(call.mText, word, call.mTable, call.mBlock))
            return call.Answer(word.mStart, word.mCount);
    }
    return FeedMappedWord<Rule>(call, word);
}

template <class Rule>
[[gnu::always_inline]] inline bool NextMappedWord(char16_t const* text,
                                                  unsigned int length,
                                                  CUnicodeMappingTable const& table,
                                                  unsigned int& start,
                                                  unsigned int& rawLength,
                                                  amortizedmemblock& block,
                                                  unsigned int& mappedLength)
{
    auto const call = [&]() -> MappedWordCall {
        return {text, length, table, start, rawLength, block, mappedLength};
    };
    // The quick ways are for a block that holds nothing but the word before.
    std::size_t const from = std::size_t{start} + rawLength;
    if (from >= length || block.size() > mappedLength * sizeof(char16_t) || !HasPlainASCII(table)) {
        return FeedMappedWord<Rule>(call(), {from, 0});
    }

    if (text[from] > 0x7F) return NextMappedWordBeyondASCII<Rule>(call(), from);
    if (length - from < 2 * CASCIIWindow::kSize) return NextMappedWordNearEnd<Rule>(call(), from);
    ASCIIWord const word = FindASCIIWord<Rule::kTakesSymbols>(text, length, from);
    if (PutASCIIWord<Rule>(text, word, table, block)) {
        start = static_cast<unsigned int>(word.mStart);
        rawLength = mappedLength = static_cast<unsigned int>(word.mCount);
        return true;
    }
    if (word.mCount == 0 && word.mStart < length && text[word.mStart] > 0x7F)
        return NextMappedWordBeyondASCII<Rule>(call(), word.mStart);
    return FeedMappedWord<Rule>(call(), word);
}
