// How well a text's letters fit the languages of the world: low costs are what a text in a real
// language has, and the wrong charset makes high ones.
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "loamctl/LetterTables.h"

class CByteTable;

/// Costs as in LetterTables.h.
struct LanguageFit
{
    long mCost;
    char const* mLanguage;  ///< BCP 47; empty if no letter says anything
};

/// The letters of a charset in which each byte stands for a unit. Any thread may ask.
class CByteLetters
{
public:
    /// `units` is whole, and lives as long.
    explicit CByteLetters(CByteTable const& units);

    LetterClass GetClass(unsigned char byte) const { return mClasses[byte]; }

    /// What the byte costs in any language.
    int GetCost(unsigned char byte) const { return mCosts[byte]; }

    bool IsLetter(unsigned char byte) const;

    /// What those beyond ASCII that are letters cost more in the language of a number, by byte from
    /// 0x80 on. Found out for all languages at first use.
    unsigned char const* GetLetterCosts(int language) const;

private:
    void FillLanguageCosts() const;

    CByteTable const& mUnits;
    std::array<LetterClass, 256> mClasses;
    std::array<unsigned char, 256> mCosts;
    mutable std::once_flag mFilled;
    mutable std::vector<unsigned char> mLanguageCosts;  // 128 for each language
};

/// Looks at one text after another, all of which are readings of the same bytes. Only what is
/// beyond ASCII and what stands beside it costs anything.
class CLetterFit
{
public:
    /// The ASCII letters among the bytes say something about the language whatever the charset.
    explicit CLetterFit(std::string_view bytes);

    /// Takes the place of the text before. It must stay as long as it is asked about.
    void SetText(std::u16string_view text);
    /// The same for the text that all the bytes are, each of which has a unit.
    void SetBytes(CByteLetters const& letters);

    /// How many units are beyond ASCII.
    std::size_t GetCount() const { return mCount; }

    /// What the text costs before any language is asked: no fit costs less. If that isn't less
    /// than `limit`, any number that isn't. Comes before `FindLanguage`.
    long FindLeastCost(long limit);

    /// The language with the lowest cost; if none costs less than `limit`, any fit that doesn't.
    LanguageFit FindLanguage(long limit) const;

private:
    // Two bytes in a row. All ASCII letters of a case stand for each other here, and so does what
    // else is ASCII.
    struct Pair
    {
        unsigned char mFirst;
        unsigned char mSecond;
        long mCount;
    };

    void CountPairs(std::string_view bytes);
    void FindHints();
    void ReadText(long limit);
    void ReadBytes();
    long CostOfLetters(int language, long cost, long limit) const;

    std::array<long, 256> mByteCounts{};
    std::string mUpperBytes;            // those beyond ASCII, each once
    std::vector<Pair> mPairs;           // with one beyond ASCII at least
    std::vector<long> mHints;           // by language, what the ASCII letters cost
    std::vector<unsigned int> mCounts;  // by unit, of letters beyond ASCII
    std::u16string mLetters;            // those with a count
    std::u16string_view mText;
    CByteLetters const* mBytes = nullptr;  // not owned; null for a text
    std::string mByteLetters;              // the letters among the upper bytes
    std::size_t mCount = 0;
    long mLeastCost = 0;
};
