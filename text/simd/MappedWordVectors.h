// The walk over mapped words of Latin and over ideographs, for all levels that shuffle bytes. A
// file defines `LOAM_VECTOR` and `LOAM_VECTOR_INLINE` for its level, and then includes this.
//
// A window of sixteen units is judged at once, by sets of bytes. All arithmetic on the way to a
// word's end is on the path from one call to the next, and so is kept short; what the word becomes
// is not.
#pragma once

#include "text/NextMappedWord.h"
#include "text/simd/LatinWindow.h"

namespace {

// Puts `count` units of Latin into the block, those of `bits` in a window. Out of line, as what a
// level may take for it would cost the callers registers.
using PutLatinWord = bool(MappedWordFacts const& facts,
                          amortizedmemblock& block,
                          Sixteen bytes,
                          std::uint32_t bits,
                          std::uint32_t count);

// For levels that have nothing better.
[[maybe_unused]] LOAM_VECTOR __attribute__((noinline)) inline bool
PutLatinByTable(MappedWordFacts const& facts,
                amortizedmemblock& block,
                Sixteen bytes,
                std::uint32_t bits,
                std::uint32_t count)
{
    // Room behind the window, so that the word with all that follows can be read.
    std::uint8_t window[2 * kWindow] = {};
    std::memcpy(window, &bytes, sizeof bytes);
    std::uint8_t const* const word = window + __builtin_ctz(bits);
    char16_t* const target = SetUnits(block, count);
    // All of a window, as the count can't be foreseen.
    for (std::size_t at = 0; at < kWindow; ++at)
        target[at] = facts.mLatinMap[word[at]];
    return true;
}

// Whether `unit` is one of those that are parts of words and stay as they are.
LOAM_VECTOR_INLINE bool IsSame(char16_t unit, MappedWordFacts const& facts)
{
    return static_cast<std::uint16_t>(unit - facts.mSameFirst) < facts.mSameCount;
}

// An ideograph or a pair behind any gap, or another word that begins beyond Latin, perhaps behind
// one gap of ASCII.
template <class Rule, NextMappedWord& kAlphabet, NextMappedWord& kOtherwise>
LOAM_VECTOR __attribute__((noinline)) bool NextBeyondLatin(MappedWordFacts const& facts,
                                                           char16_t const* text,
                                                           unsigned int length,
                                                           unsigned int& start,
                                                           unsigned int& rawLength,
                                                           amortizedmemblock& block,
                                                           unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (!IsReady(block, mappedLength))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
    char16_t const first = text[from] > 0x7F ? text[from] : text[from + 1];
    if (first < MappedWordFacts::kLowUnits)
        return kAlphabet(facts, text, length, start, rawLength, block, mappedLength);
    if (IsSame(first, facts))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);

    for (std::size_t at = from; at < from + kWindow; ++at) {
        char16_t units[2] = {facts.mTable.MapToSingleUnit(text[at]), 0};
        unsigned char const entry = WordUnits::EntryOf(units[0]);
        bool const isIdeograph = WordUnits::IsIdeographicLetter(entry);
        if (!isIdeograph && !WordUnits::IsWordUnit(entry)) {
            if (units[0] == CUnicodeMappingTable::kNoSingleUnit) break;
            continue;
        }
        unsigned int const count =
            isIdeograph ? 1 : TakeLoner<Rule>(text + at, length - at, facts.mTable, units);
        if (count == 0) break;
        std::memcpy(SetUnits(block, count), units, sizeof units);
        start = static_cast<unsigned int>(at);
        rawLength = mappedLength = count;
        return true;
    }
    return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
}

// An ideograph right behind the word before, or any other unit beyond ASCII.
template <class Rule, NextMappedWord& kAlphabet, NextMappedWord& kOtherwise>
LOAM_VECTOR __attribute__((noinline)) bool NextIdeograph(MappedWordFacts const& facts,
                                                         char16_t const* text,
                                                         unsigned int length,
                                                         unsigned int& start,
                                                         unsigned int& rawLength,
                                                         amortizedmemblock& block,
                                                         unsigned int& mappedLength)
{
    std::uint32_t const from = start + rawLength;
    char16_t const unit = facts.mTable.MapToSingleUnit(text[from]);
    if (!WordUnits::IsIdeographicLetter(WordUnits::EntryOf(unit)) || !IsReady(block, mappedLength))
        return NextBeyondLatin<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                            block, mappedLength);
    *SetUnits(block, 1) = unit;
    start = from;
    rawLength = mappedLength = 1;
    return true;
}

// A word of Latin with no more than gaps before it, or what another way finds: `kAlphabet` for
// other alphabets, `kNearEnd` in the last window of the text, `kOtherwise` for all that the others
// don't know. Few values live at a time here, as all arguments do.
template <class Rule,
          NextMappedWord& kAlphabet,
          NextMappedWord& kNearEnd,
          NextMappedWord& kOtherwise,
          PutLatinWord& kPutLatin>
LOAM_VECTOR_INLINE bool NextWord(MappedWordFacts const& facts,
                                 char16_t const* text,
                                 unsigned int length,
                                 unsigned int& start,
                                 unsigned int& rawLength,
                                 amortizedmemblock& block,
                                 unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + kWindow >= length)
        return kNearEnd(facts, text, length, start, rawLength, block, mappedLength);
    char16_t const* const window = text + from;
    if (window[0] > 0x7F)
        return NextIdeograph<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                          block, mappedLength);
    if (window[1] > 0xFF) {
        if (IsSame(window[1], facts))
            return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
        return NextBeyondLatin<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                            block, mappedLength);
    }
    if (!IsReady(block, mappedLength))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);

    WindowBytes const units =
        ToBytes(Load<EightUnits>(window), Load<EightUnits>(window + kWindow / 2));
    LatinBits const bits = JudgeLatin<Rule>(facts, units);
    LatinWord const word(bits);
    if (!word.IsKnown(bits))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
    std::uint32_t const count = word.Count();
    start = static_cast<unsigned int>(from) + word.First();
    rawLength = mappedLength = count;
    return kPutLatin(facts, block, units.mBytes, word.Bits(), count);
}

// The same where all but Latin and ideographs goes unit by unit.
template <class Rule>
LOAM_VECTOR_INLINE bool NextWordOfLevel(MappedWordFacts const& facts,
                                        char16_t const* text,
                                        unsigned int length,
                                        unsigned int& start,
                                        unsigned int& rawLength,
                                        amortizedmemblock& block,
                                        unsigned int& mappedLength)
{
    return NextWord<Rule, NextWordByUnit<Rule>, NextWordByUnit<Rule>, NextWordByUnit<Rule>,
                    PutLatinByTable>(facts, text, length, start, rawLength, block, mappedLength);
}

}  // namespace
