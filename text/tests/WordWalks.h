// Whole walks over a text and tables made by hand, for the tests of the word delimiters.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "marl/amortizedmemblock.h"
#include "testing/NaiveWords.h"
#include "testing/StFencedMemory.h"
#include "testing/TableBlobs.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"
#include "text/simd/TextKernels.h"

// A text right before memory that nobody may touch, so that a read behind it doesn't pass unseen; a
// long one in storage of exactly its size. One at a time in a thread.
class CExactText
{
public:
    explicit CExactText(std::u16string_view text)
        : mLength(static_cast<unsigned int>(text.size()))
    {
        static thread_local StFencedMemory fence;
        if (text.size() > kMostFenced) mLong.reset(new char16_t[text.size()]);
        mUnits = mLong ? mLong.get() : fence.AtEnd<char16_t>(text.size());
        text.copy(mUnits, text.size());
    }

    char16_t const* Units() const { return mUnits; }

    unsigned int Length() const { return mLength; }

private:
    // No page is smaller than 4 KB.
    static constexpr size_t kMostFenced = 2048;

    unsigned int mLength;
    std::unique_ptr<char16_t[]> mLong;
    char16_t* mUnits;  // not owned
};

// Fills a table with mappings that no built-in table would have.
inline void MapByHand(CUnicodeMappingTable& table, UnitMapping const& mapping)
{
    TableBlob blob = StoreBlob(StreamOf(mapping));
    table.LoadMappingTable(blob.Data(), blob.mLength);
}

inline std::u16string UnitsIn(amortizedmemblock& block)
{
    std::u16string units(block.size() / sizeof(char16_t), u'\0');
    if (!units.empty()) std::memcpy(units.data(), block.data(), block.size());
    return units;
}

inline std::string Escaped(std::u16string_view text)
{
    std::string shown;
    for (char16_t const unit : text) {
        if (unit > 0x20 && unit < 0x7F && unit != u'\\') {
            shown += static_cast<char>(unit);
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "\\%04X", unsigned{unit});
            shown += code;
        }
    }
    return '"' + shown + '"';
}

struct RawWord
{
    unsigned int mStart;
    unsigned int mLength;

    bool operator==(RawWord const&) const = default;

    friend std::ostream& operator<<(std::ostream& out, RawWord const& word)
    {
        return out << '(' << word.mStart << ", " << word.mLength << ')';
    }
};

struct MappedWord
{
    std::u16string mWord;
    unsigned int mStart;
    unsigned int mRawLength;

    bool operator==(MappedWord const&) const = default;

    friend std::ostream& operator<<(std::ostream& out, MappedWord const& word)
    {
        return out << '(' << Escaped(word.mWord) << ", " << word.mStart << ", " << word.mRawLength
                   << ')';
    }
};

// No walk has more words than this, even with all expansions reported twice.
inline size_t MostWords(std::u16string_view text)
{
    return 36 * text.size() + 1;
}

inline std::vector<RawWord> RawWords(CUnicodeWordDelimiter& delimiter, std::u16string_view text)
{
    CExactText const exact(text);
    std::vector<RawWord> words;
    unsigned int start = 0;
    unsigned int wordLength = 0;
    while (delimiter.GetNextWord(exact.Units(), exact.Length(), start, wordLength)) {
        words.push_back({start, wordLength});
        if (words.size() > MostWords(text)) {
            ADD_FAILURE() << "the walk over " << Escaped(text) << " doesn't end";
            break;
        }
    }
    return words;
}

inline std::vector<MappedWord>
MappedWords(CUnicodeWordDelimiter& delimiter, std::u16string_view text, CUnicodeMappingTable& table)
{
    CExactText const exact(text);
    std::vector<MappedWord> words;
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    amortizedmemblock block;
    while (delimiter.GetNextMappedWordInRawText(exact.Units(), exact.Length(), table, start,
                                                rawLength, block, mappedLength)) {
        words.push_back({UnitsIn(block).substr(0, mappedLength), start, rawLength});
        if (words.size() > MostWords(text)) {
            ADD_FAILURE() << "the walk over " << Escaped(text) << " doesn't end";
            break;
        }
    }
    return words;
}

// Walks with the delimiter and by the naive rule side by side: after each call all that a caller
// can see must be the same, up to and including the call that finds nothing.
inline bool
WalksAsNaiveRaw(CUnicodeWordDelimiter& delimiter, NaiveWords::Rule rule, std::u16string_view text)
{
    CExactText const exact(text);
    NaiveWords::RawWalk naive;
    unsigned int start = 0;
    unsigned int wordLength = 0;
    for (size_t calls = 0; calls <= text.size() + 1; ++calls) {
        bool const isFound =
            delimiter.GetNextWord(exact.Units(), exact.Length(), start, wordLength);
        bool const isNaive = NaiveWords::NextWord(rule, text, naive);
        if (isFound != isNaive || start != naive.mStart || wordLength != naive.mWordLength) {
            ADD_FAILURE() << Escaped(text) << ", call " << calls << ": " << isFound << ' ' << start
                          << ' ' << wordLength << ", naive " << isNaive << ' ' << naive.mStart
                          << ' ' << naive.mWordLength;
            return false;
        }
        if (!isFound) return true;
    }
    ADD_FAILURE() << "the walk over " << Escaped(text) << " doesn't end";
    return false;
}

// The levels of instructions that have loops of their own for words.
inline std::vector<TextKernels const*> const& WordLevels()
{
    static std::vector<TextKernels const*> const levels = [] {
        std::vector<TextKernels const*> all = GetAllTextKernels();
        auto const last =
            std::unique(all.begin(), all.end(), [](TextKernels const* a, TextKernels const* b) {
                return a->mNextStubWord == b->mNextStubWord;
            });
        all.erase(last, all.end());
        return all;
    }();
    return levels;
}

// One walk over mapped words, by the loops of one level.
class CLevelWalk
{
public:
    explicit CLevelWalk(TextKernels const& level)
        : mLevel(level)
    {
    }

    bool Next(CUnicodeWordDelimiter& delimiter, CExactText const& text, CUnicodeMappingTable& table)
    {
        StTextKernels const guard(mLevel);
        return delimiter.GetNextMappedWordInRawText(text.Units(), text.Length(), table, mStart,
                                                    mRawLength, mBlock, mMappedLength);
    }

    bool IsAs(NaiveWords::MappedWalk const& naive)
    {
        size_t const size = mBlock.size();
        return mStart == naive.mStart && mRawLength == naive.mRawLength &&
               mMappedLength == naive.mMappedLength &&
               size == naive.mBlock.size() * sizeof(char16_t) &&
               (size == 0 || std::memcmp(mBlock.data(), naive.mBlock.data(), size) == 0);
    }

    std::string Told()
    {
        return std::string(mLevel.mName) + ": " + std::to_string(mStart) + ' ' +
               std::to_string(mRawLength) + ' ' + std::to_string(mMappedLength) + ' ' +
               Escaped(UnitsIn(mBlock));
    }

private:
    TextKernels const& mLevel;
    unsigned int mStart = 0;
    unsigned int mRawLength = 0;
    unsigned int mMappedLength = 0;
    amortizedmemblock mBlock;
};

// The same for mapped words, by the loops of all levels at once.
inline bool WalksAsNaive(CUnicodeWordDelimiter& delimiter,
                         NaiveWords::Rule rule,
                         std::u16string_view text,
                         CUnicodeMappingTable& table,
                         NaiveWords::CMap const& map)
{
    CExactText const exact(text);
    NaiveWords::MappedWalk naive;
    std::vector<CLevelWalk> walks;
    for (TextKernels const* const level : WordLevels())
        walks.emplace_back(*level);
    for (size_t calls = 0; calls <= MostWords(text); ++calls) {
        bool const isNaive = NaiveWords::NextMappedWord(rule, text, map, naive);
        for (CLevelWalk& walk : walks) {
            bool const isFound = walk.Next(delimiter, exact, table);
            if (isFound == isNaive && walk.IsAs(naive)) continue;
            ADD_FAILURE() << Escaped(text) << ", call " << calls << ": " << isFound << ' '
                          << walk.Told() << ", naive " << isNaive << ' ' << naive.mStart << ' '
                          << naive.mRawLength << ' ' << naive.mMappedLength << ' '
                          << Escaped(naive.mBlock);
            return false;
        }
        if (!isNaive) return true;
    }
    ADD_FAILURE() << "the walk over " << Escaped(text) << " doesn't end";
    return false;
}
