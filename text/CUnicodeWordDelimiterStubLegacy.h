// The earlier rule for words, for hosts that read an index made with it. The library itself makes
// `CUnicodeWordDelimiterStub` only; a host makes this one by its constructor.
//
// BEWARE: the mapped form reports an ideographic letter twice where it stands directly behind
// another word: first with `rawLength` 0, then with `rawLength` 1. A flagged high surrogate in such
// a place comes out doubled, and its low surrogate as a word of its own. In the raw form a flagged
// high surrogate at the end of the text is a span of 2 units, one of them past the end.
//
// A word is one ideographic letter or any run of letters, digits, marks, symbols and surrogates;
// it ends before an ideographic letter and a flagged high surrogate. The raw form reads on over an
// apostrophe before a lower-case ASCII consonant: "don't" is one word, "l'eau" two. The mapped form
// knows no apostrophes. Lone surrogates stay as they are.
#pragma once

#include "text/CUnicodeWordDelimiter.h"

/// No data; one object serves any number of threads.
class LOAM_EXPORT CUnicodeWordDelimiterStubLegacy : public CUnicodeWordDelimiter
{
public:
    ~CUnicodeWordDelimiterStubLegacy() override;

    bool GetNextWord(char16_t const* text,
                     unsigned int length,
                     unsigned int& start,
                     unsigned int& wordLength) override;
    bool GetNextMappedWordInRawText(char16_t const* text,
                                    unsigned int length,
                                    CUnicodeMappingTable& table,
                                    unsigned int& start,
                                    unsigned int& rawLength,
                                    amortizedmemblock& block,
                                    unsigned int& mappedLength) override;

protected:
    bool GetNextMappedWordInRawText_(char16_t const* text,
                                     unsigned int length,
                                     CUnicodeMappingTable& table,
                                     unsigned int& start,
                                     unsigned int& rawLength,
                                     amortizedmemblock& block,
                                     unsigned int& mappedLength) override;
};
