#include "text/CUnicodeWordDelimiterStubLegacy.h"

#include "text/CMappedWordFeed.h"
#include "text/MappedWordRules.h"
#include "text/NextMappedWord.h"
#include "text/WordUnits.h"
#include "text/simd/TextKernels.h"

using namespace WordUnits;

namespace {

bool EndsWordBefore(unsigned char entry)
{
    return IsIdeographicLetter(entry) || IsFlaggedHighSurrogate(entry);
}

// A French elision ends a word, an English contraction doesn't.
bool IsContraction(char16_t apostrophe, char16_t next)
{
    if (apostrophe != u'\'' && apostrophe != u'\uFF07' && apostrophe != u'\u02BC') return false;
    bool const isVowel =
        next == u'a' || next == u'e' || next == u'i' || next == u'o' || next == u'u';
    return next >= u'a' && next <= u'z' && !isVowel;
}

// The end of the word that goes on at `at`: before a gap, an ideographic letter or a flagged high
// surrogate.
unsigned int EndOfRun(char16_t const* text, unsigned int length, unsigned int at)
{
    while (at < length) {
        unsigned char const entry = EntryOf(text[at]);
        if (!IsWordUnit(entry) || EndsWordBefore(entry)) break;
        ++at;
    }
    return at;
}

// Kept on purpose: the unit that ended the word stays in the block even if it has just been mapped,
// so that it comes out twice, first as a word without a raw span.
void LeaveNext(CMappedWordFeed& feed)
{
    // One case must not be kept, as the walk would never end: a word without a raw span, made of
    // the tail of this same expansion, would leave it here again. No built-in table has such an
    // expansion, an ideographic letter and other units behind it.
    unsigned char const farthest = EntryOf(feed.Farthest());
    bool const comesBack = IsWordUnit(farthest) && !IsIdeographicLetter(farthest);
    if (feed.RawLength() == 0 && comesBack) feed.Drop();
}

}  // namespace

void LegacyWordRule::TakeWord(CMappedWordFeed& feed)
{
    unsigned char const firstEntry = EntryOf(feed.Last());
    if (IsIdeographicLetter(firstEntry)) return;
    bool const isFirstFlagged = IsFlaggedHighSurrogate(firstEntry);

    for (;;) {
        if (!isFirstFlagged) feed.TakeRun<LegacyWordRule>();
        if (!feed.Peek()) return;
        unsigned char const entry = EntryOf(feed.Next());
        bool const isFlagged = IsFlaggedHighSurrogate(entry);
        if (IsIdeographicLetter(entry) || (isFlagged && feed.RawLength() > 1)) {
            LeaveNext(feed);
            return;
        }
        if (!IsWordUnit(entry)) {
            feed.Drop();
            return;
        }
        feed.Take();
        if (isFlagged || isFirstFlagged) return;
    }
}

CUnicodeWordDelimiterStubLegacy::~CUnicodeWordDelimiterStubLegacy() = default;

bool CUnicodeWordDelimiterStubLegacy::GetNextWord(char16_t const* text,
                                                  unsigned int length,
                                                  unsigned int& start,
                                                  unsigned int& wordLength)
{
    start += wordLength;
    unsigned int hit = start;
    while (hit < length && !IsWordUnit(EntryOf(text[hit])))
        ++hit;
    if (hit >= length) return false;
    start = hit;

    unsigned char const entry = EntryOf(text[start]);
    if (IsIdeographicLetter(entry)) {
        wordLength = 1;
        return true;
    }
    // Kept on purpose: what counts is the whole text's length, so that a flagged high surrogate at
    // its end is a span of two units too.
    if (IsFlaggedHighSurrogate(entry) && length >= 2) {
        wordLength = 2;
        return true;
    }
    unsigned int end = EndOfRun(text, length, start + 1);
    if (end < length && length - end > 1 && IsContraction(text[end], text[end + 1]))
        end = EndOfRun(text, length, end + 1);
    wordLength = end - start;
    return true;
}

bool CUnicodeWordDelimiterStubLegacy::GetNextMappedWordInRawText(char16_t const* text,
                                                                 unsigned int length,
                                                                 CUnicodeMappingTable& table,
                                                                 unsigned int& start,
                                                                 unsigned int& rawLength,
                                                                 amortizedmemblock& block,
                                                                 unsigned int& mappedLength)
{
    return GetNextMappedWordInRawText_(text, length, table, start, rawLength, block, mappedLength);
}

bool CUnicodeWordDelimiterStubLegacy::GetNextMappedWordInRawText_(char16_t const* text,
                                                                  unsigned int length,
                                                                  CUnicodeMappingTable& table,
                                                                  unsigned int& start,
                                                                  unsigned int& rawLength,
                                                                  amortizedmemblock& block,
                                                                  unsigned int& mappedLength)
{
    TextKernels const* const kernels = sTextKernelsInUse.load(std::memory_order_relaxed);
    MappedWordFacts const* const facts = table.FindWordFacts();
    if (!kernels || !facts)
        return FirstNextMappedWord<LegacyWordRule>(facts, text, length, table, start, rawLength,
                                                   block, mappedLength);
    return kernels->mNextLegacyWord(*facts, text, length, start, rawLength, block, mappedLength);
}
