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

// Puts `count` units of Latin into the block, those of `bits` in a window, as `map` has them. Out
// of line, as it would cost the callers registers.
[[maybe_unused]] LOAM_VECTOR __attribute__((noinline)) inline bool
PutLatin(std::uint8_t const (&map)[256],
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
        target[at] = map[word[at]];
    return true;
}

// Whether `unit` is one of those that are parts of words and stay as they are.
LOAM_VECTOR_INLINE bool IsSame(char16_t unit, MappedWordFacts const& facts)
{
    return static_cast<std::uint16_t>(unit - facts.mSameFirst) < facts.mSameCount;
}

// Whether the first unit of a text is none of ASCII, or the second none of Latin.
LOAM_VECTOR_INLINE bool BeginsBeyondLatin(char16_t const* text)
{
    // Both at once, as which of them it is can't be foreseen.
    std::uint32_t pair;
    std::memcpy(&pair, text, sizeof pair);
    return (pair & 0xFF00FF80) != 0;
}

// Whether the first is one of ASCII, and the second one of any alphabet below `kLowUnits`.
LOAM_VECTOR_INLINE bool BeginsWithAlphabet(char16_t const* text)
{
    static_assert(MappedWordFacts::kLowUnits == 0x1000);
    std::uint32_t pair;
    std::memcpy(&pair, text, sizeof pair);
    return (pair & 0xF000FF80) == 0;
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
        if (facts.mKinds[text[at]] == MappedWordFacts::kGapKind) continue;
        char16_t units[2] = {};
        unsigned int const count = TakeLoner<Rule>(text + at, length - at, facts.mTable, units);
        if (count == 0) break;
        std::memcpy(SetUnits(block, count), units, sizeof units);
        start = static_cast<unsigned int>(at);
        rawLength = mappedLength = count;
        return true;
    }
    return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
}

// An ideograph, perhaps behind one gap, or what else begins beyond Latin at `from`, where the word
// before ends; there are two units at least. `kBeyond` finds what the others don't know.
template <class Rule,
          NextMappedWord& kAlphabet,
          NextMappedWord& kOtherwise,
          NextMappedWord& kBeyond = NextBeyondLatin<Rule, kAlphabet, kOtherwise>>
LOAM_VECTOR_INLINE bool NextIdeograph(std::size_t from,
                                      MappedWordFacts const& facts,
                                      char16_t const* text,
                                      unsigned int length,
                                      unsigned int& start,
                                      unsigned int& rawLength,
                                      amortizedmemblock& block,
                                      unsigned int& mappedLength)
{
    if (BeginsWithAlphabet(text + from))
        return kAlphabet(facts, text, length, start, rawLength, block, mappedLength);
    if (IsSame(text[from + 1], facts))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);

    // Whether there is a gap can't be foreseen, so no branch depends on it.
    unsigned int const kind = facts.mKinds[text[from]];
    unsigned int const gap = kind & MappedWordFacts::kGapKind;
    unsigned int const next = facts.mKinds[text[from + 1]] & (0 - gap);
    if (((kind | next) & MappedWordFacts::kIdeographKind) == 0 || !IsReady(block, mappedLength))
        return kBeyond(facts, text, length, start, rawLength, block, mappedLength);
    std::size_t const at = from + gap;
    start = static_cast<unsigned int>(at);
    rawLength = mappedLength = 1;
    *SetUnits(block, 1) = facts.mTable.MapToSingleUnit(text[at]);
    return true;
}

// A word of Latin with no more than gaps before it, or what another way finds. Few values live at a
// time here, as all arguments do.
template <class Rule>
LOAM_VECTOR_INLINE bool NextWord(MappedWordFacts const& facts,
                                 char16_t const* text,
                                 unsigned int length,
                                 unsigned int& start,
                                 unsigned int& rawLength,
                                 amortizedmemblock& block,
                                 unsigned int& mappedLength)
{
    constexpr NextMappedWord& kOtherwise = NextWordByUnit<Rule>;
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + kWindow >= length)
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
    char16_t const* const window = text + from;
    if (BeginsBeyondLatin(window))
        return NextIdeograph<Rule, kOtherwise, kOtherwise>(from, facts, text, length, start,
                                                           rawLength, block, mappedLength);
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
    return PutLatin(facts.mLatinMap[Rule::kTakesSymbols ? 1 : 0], block, units.mBytes, word.Bits(),
                    count);
}

}  // namespace
