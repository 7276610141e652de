#include "text/CUnicodeWordDelimiterStub.h"

#include "text/CMappedWordFeed.h"
#include "text/MappedWordRules.h"
#include "text/NextMappedWord.h"
#include "text/WordUnits.h"
#include "text/simd/TextKernels.h"

using namespace WordUnits;

namespace {

// What stands in a mapped word for a surrogate without its partner.
constexpr char16_t kLoneHigh = u'\u258C';
constexpr char16_t kLoneLow = u'\u2590';

void TakeLettersAndNumbers(CMappedWordFeed& feed)
{
    feed.TakeRun<StubWordRule>();
    if (feed.HasNext() && IsLowSurrogate(EntryOf(feed.Next()))) feed.Next() = kLoneLow;
}

// What goes on after a symbol, a mark or a surrogate: surrogates, and a flagged pair by itself.
void TakeSurrogates(CMappedWordFeed& feed, unsigned char firstEntry)
{
    unsigned char previous = firstEntry;
    while (feed.Peek()) {
        unsigned char entry = EntryOf(feed.Next());
        if (IsHighSurrogate(previous) && !IsLowSurrogate(entry)) feed.Last() = kLoneHigh;
        if (!IsHighSurrogate(previous) && IsLowSurrogate(entry)) {
            feed.Next() = kLoneLow;
            entry = EntryOf(kLoneLow);
        }

        // Kept on purpose: behind a single raw unit a flagged high surrogate is taken, and the word
        // ends there, without its low surrogate.
        bool const isFlagged = IsFlaggedHighSurrogate(entry);
        if (!IsIn(kSurrogates, entry) || (isFlagged && feed.RawLength() > 1)) {
            feed.Drop();
            return;
        }
        feed.Take();
        if (isFlagged || IsFlaggedHighSurrogate(firstEntry)) return;
        previous = entry;
    }
}

}  // namespace

void StubWordRule::TakeWord(CMappedWordFeed& feed)
{
    unsigned char entry = EntryOf(feed.Last());
    if (IsIdeographicLetter(entry)) return;
    if (IsIn(kLettersAndNumbers, entry)) {
        TakeLettersAndNumbers(feed);
        return;
    }
    if (IsLowSurrogate(entry)) {
        feed.Last() = kLoneLow;
        entry = EntryOf(kLoneLow);
    }
    TakeSurrogates(feed, entry);
}

CUnicodeWordDelimiterStub::~CUnicodeWordDelimiterStub() = default;

bool CUnicodeWordDelimiterStub::GetNextWord(char16_t const* text,
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
    } else if (!IsIn(kLettersAndNumbers, entry)) {
        wordLength = IsHighSurrogate(entry) && length - start > 1 ? 2 : 1;
    } else {
        unsigned int end = start + 1;
        while (end < length && IsWordBody(EntryOf(text[end])))
            ++end;
        // Kept on purpose: where the run reaches the end of the text, the search for its end finds
        // nothing, and what counts is the length of the word before.
        wordLength = end < length ? end - start : wordLength + 1;
    }
    return true;
}

bool CUnicodeWordDelimiterStub::GetNextMappedWordInRawText(char16_t const* text,
                                                           unsigned int length,
                                                           CUnicodeMappingTable& table,
                                                           unsigned int& start,
                                                           unsigned int& rawLength,
                                                           amortizedmemblock& block,
                                                           unsigned int& mappedLength)
{
    return GetNextMappedWordInRawText_(text, length, table, start, rawLength, block, mappedLength);
}

bool CUnicodeWordDelimiterStub::GetNextMappedWordInRawText_(char16_t const* text,
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
        return FirstNextMappedWord<StubWordRule>(facts, text, length, table, start, rawLength,
                                                 block, mappedLength);
    return kernels->mNextStubWord(*facts, text, length, start, rawLength, block, mappedLength);
}
