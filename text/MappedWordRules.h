// The two rules for words, as far as the walks over mapped text ask them. Inner to the word
// delimiters.
//
// A rule says what a word is:
// - `kTakesSymbols`: whether the symbols of ASCII go with letters and digits,
// - `kTakenBit`: what says so of units in `MappedWordFacts`,
// - `IsTaken(entry)`: whether a word of letters and digits takes a unit without a further question,
// - `IsDropped(entry)`: whether such a word ends before a unit and leaves nothing of it behind,
// - `TakeWord(feed)`: takes the rest of a word of which the feed has the first units.
#pragma once

#include "text/MappedWordFacts.h"
#include "text/WordUnits.h"

class CMappedWordFeed;

struct StubWordRule
{
    static constexpr bool kTakesSymbols = false;
    static constexpr std::uint32_t kTakenBit = MappedWordFacts::kTaken;

    static bool IsTaken(unsigned char entry) { return WordUnits::IsWordBody(entry); }

    static bool IsDropped(unsigned char entry) { return !WordUnits::IsWordBody(entry); }

    static void TakeWord(CMappedWordFeed& feed);
};

struct LegacyWordRule
{
    static constexpr bool kTakesSymbols = true;
    static constexpr std::uint32_t kTakenBit = MappedWordFacts::kTakenLegacy;

    static bool IsTaken(unsigned char entry)
    {
        return WordUnits::IsWordUnit(entry) && (entry & WordUnits::kAnyFlag) == 0;
    }

    static bool IsDropped(unsigned char entry) { return !WordUnits::IsWordUnit(entry); }

    static void TakeWord(CMappedWordFeed& feed);
};
