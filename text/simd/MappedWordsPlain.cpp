// The walk over mapped words without vectors but those of ASCII, which compilers make of plain C++.
#include <algorithm>
#include <iterator>

#include "text/NextMappedWord.h"

namespace {

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
[[gnu::noinline]] bool NextNearEnd(MappedWordCall const& call, std::size_t at)
{
    char16_t units[4 * CASCIIWindow::kSize] = {};
    std::copy(call.mText + at, call.mText + call.mLength, units);
    ASCIIWord const word = FindASCIIWord<Rule::kTakesSymbols>(units, std::size(units), 0);
    std::size_t const start = std::min(at + word.mStart, call.mLength);
    if (PutASCIIWord<Rule>(units, word, call.mTable, call.mBlock))
        return call.Answer(start, word.mCount);
    return FeedMappedWord<Rule>(call, {start, 0});
}

// Where `at` is beyond ASCII, with no more than a gap before it.
template <class Rule>
[[gnu::noinline]] bool NextBeyondASCII(MappedWordCall const& call, std::size_t at)
{
    char16_t units[2];
    std::size_t const length = call.mLength - at;
    unsigned int const count = TakeLoner<Rule>(call.mText + at, length, call.mTable, units);
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
[[gnu::always_inline]] inline bool Next(MappedWordCall const& call)
{
    // The quick ways are for a block that holds nothing but the word before.
    std::size_t const from = call.From();
    char16_t const* const text = call.mText;
    std::size_t const length = call.mLength;
    bool const holdsRest = call.mBlock.size() > call.mMappedLength * sizeof(char16_t);
    if (from >= length || holdsRest || !HasPlainASCII(call.mTable))
        return FeedMappedWord<Rule>(call, {from, 0});

    if (text[from] > 0x7F) return NextBeyondASCII<Rule>(call, from);
    if (length - from < 2 * CASCIIWindow::kSize) return NextNearEnd<Rule>(call, from);
    ASCIIWord const word = FindASCIIWord<Rule::kTakesSymbols>(text, length, from);
    if (PutASCIIWord<Rule>(text, word, call.mTable, call.mBlock))
        return call.Answer(word.mStart, word.mCount);
    if (word.mCount == 0 && word.mStart < length && text[word.mStart] > 0x7F)
        return NextBeyondASCII<Rule>(call, word.mStart);
    return FeedMappedWord<Rule>(call, word);
}

}  // namespace

bool NextStubWordPlain(MappedWordFacts const& facts,
                       char16_t const* text,
                       unsigned int length,
                       unsigned int& start,
                       unsigned int& rawLength,
                       amortizedmemblock& block,
                       unsigned int& mappedLength)
{
    return Next<StubWordRule>({text, length, facts.mTable, start, rawLength, block, mappedLength});
}

bool NextLegacyWordPlain(MappedWordFacts const& facts,
                         char16_t const* text,
                         unsigned int length,
                         unsigned int& start,
                         unsigned int& rawLength,
                         amortizedmemblock& block,
                         unsigned int& mappedLength)
{
    return Next<LegacyWordRule>(
        {text, length, facts.mTable, start, rawLength, block, mappedLength});
}
