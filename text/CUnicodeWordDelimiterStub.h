// The word delimiter in use, which `CUnicodeWordDelimiter::CreateDelimiter` makes.
//
// BEWARE: `GetNextWord` gives a word that ends exactly at the end of the text the length of the
// word before plus 1. That can be less than the word, whose rest then comes out as further words,
// or more than the text has. Pass a text with a space behind it, or clip the span. The mapped form
// has no such limit.
//
// A mapped word is, whichever comes first:
// - one ideographic letter,
// - a run of letters and digits,
// - a flagged pair of surrogates (a pictograph, a supplementary ideograph), or a run of others,
// - a symbol or a nonspacing mark, with what surrogates follow it directly.
// Lone surrogates come out as U+258C (high) and U+2590 (low), except a high one that is the very
// last unit of a word because the text ends there, or because it is flagged and what went before
// was a symbol or another surrogate: that one stays as it is.
#pragma once

#include "text/CUnicodeWordDelimiter.h"

/// No data; one object serves any number of threads.
class LOAM_EXPORT CUnicodeWordDelimiterStub : public CUnicodeWordDelimiter
{
public:
    ~CUnicodeWordDelimiterStub() override;

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
