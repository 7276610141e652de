// Walks a UTF-16 text word by word: as raw spans, or as mapped words with the raw span of each.
//
// BEWARE of the raw form of the delimiter in use: `CUnicodeWordDelimiterStub::GetNextWord` does not
// know how long a word is that ends exactly at the end of the text. It gives that word the length
// of the word before plus 1, so the span can be too short, or reach past the end of the text. Pass
// a text with a space behind it, or clip the span. The mapped form has no such limit.
//
// A word is a matter of code units and of the categories of CUnicodeCategoriesTable: ideographs and
// pictographs stand alone, letters and digits form runs, symbols stand alone ("C#" is "C" and "#"),
// and punctuation, separators, control and format characters are only gaps.
//
//     unsigned int start = 0, rawLength = 0, mappedLength = 0;
//     amortizedmemblock block;
//     auto* delimiter = CUnicodeWordDelimiter::GetDefaultDelimiter();
//     auto& table = *CUnicodeMappingTable::GetDefaultTable();
//     while (delimiter->GetNextMappedWordInRawText(
//         text, length, table, start, rawLength, block, mappedLength)) {
//         auto const* word = reinterpret_cast<char16_t const*>(block.data());
//         Index({word, mappedLength}, start, rawLength);
//     }
//
// Delimiters hold no state: any number of threads may share one, each with variables and a block of
// its own. They report no failure; exhausted memory passes through as `std::bad_alloc`, after which
// the walk begins anew. Positions and lengths are in UTF-16 units; a text may have up to 2^31 - 1.
#pragma once

#include <atomic>

#include "foundation/LoamExport.h"

class CUnicodeCategoryTable;
class CUnicodeMappingTable;
class amortizedmemblock;

class LOAM_EXPORT CUnicodeWordDelimiter
{
public:
    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CUnicodeWordDelimiter();

    /// Finds the next raw word behind `text[start .. start + wordLength)`. On true the word begins
    /// at `start` and has `wordLength` units, but read the warning above about its end. On false
    /// there is no further word; `start` stands right behind the last one, before the gap that ends
    /// the text, and `wordLength` is as it was.
    ///
    /// Set both to 0 before the first call and leave them alone until the walk is over: they are
    /// all of its state.
    virtual bool GetNextWord(char16_t const* text,
                             unsigned int length,
                             unsigned int& start,
                             unsigned int& wordLength) = 0;

    /// Finds the next word in the text as `table` maps it. On true the word is the first
    /// `mappedLength` units of `block`, in the processor's byte order, and came from
    /// `text[start .. start + rawLength)`. Units that `table` deletes behind a word's last unit
    /// belong to its span, but for a word that ends at once: an ideographic letter, or a surrogate
    /// pair of the symbol planes. `block` may hold more than the word: the rest of an expansion,
    /// which later calls give out. A later word of one expansion has `rawLength` 0 and the position
    /// behind the unit that it came from. On false there is no further word.
    ///
    /// Set the three numbers to 0 and empty `block` before the first call, and leave them alone
    /// until the walk is over: they are all of its state. The first call for a table takes 0.1 ms
    /// longer and leaves 83 KB with the table. Otherwise nothing is allocated once `block` has
    /// grown to the longest word (beyond 64 KB of storage: with `setKeepAllocation(true)`), for
    /// which at most 8 bytes for each of its units are held at a time; `block` may be used for text
    /// after text.
    virtual bool GetNextMappedWordInRawText(char16_t const* text,
                                            unsigned int length,
                                            CUnicodeMappingTable& table,
                                            unsigned int& start,
                                            unsigned int& rawLength,
                                            amortizedmemblock& block,
                                            unsigned int& mappedLength) = 0;

protected:
    /// What `GetNextMappedWordInRawText` forwards to.
    virtual bool GetNextMappedWordInRawText_(char16_t const* text,
                                             unsigned int length,
                                             CUnicodeMappingTable& table,
                                             unsigned int& start,
                                             unsigned int& rawLength,
                                             amortizedmemblock& block,
                                             unsigned int& mappedLength) = 0;

public:
    /// The units that can be part of a word: letters, digits, nonspacing marks, symbols but for
    /// modifier symbols, and surrogates. Everything else is a gap. Made at first use, lives until
    /// the process ends; any thread may call, no lock is taken.
    static CUnicodeCategoryTable* GetWordDelimiterCategoryTable();
    /// A new `CUnicodeWordDelimiterStub`, which the caller deletes.
    static CUnicodeWordDelimiter* CreateDelimiter();
    /// The shared `CUnicodeWordDelimiterStub`, made at first use; it lives until the process ends.
    /// Any thread may call, no lock is taken.
    static CUnicodeWordDelimiter* GetDefaultDelimiter();

private:
    static std::atomic<CUnicodeWordDelimiter*> sDefaultDelimiter;
    static std::atomic<CUnicodeCategoryTable*> sWordDelimiterCategoryTable;
};
