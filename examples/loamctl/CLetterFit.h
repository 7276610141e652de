// How well a text's letters fit the languages of the world: low costs are what a text in a real
// language has, and the wrong charset makes high ones.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Costs as in LetterTables.h.
struct LanguageFit
{
    long mCost;
    char const* mLanguage;  ///< BCP 47; empty if no letter says anything
};

/// Looks at one text after another, all of which are readings of the same bytes. Only what is
/// beyond ASCII and what stands beside it costs anything.
class CLetterFit
{
public:
    /// The ASCII letters among the bytes say something about the language whatever the charset.
    explicit CLetterFit(std::string_view bytes);

    /// Takes the place of the text before.
    void SetText(std::u16string_view text);

    /// How many units are beyond ASCII.
    std::size_t GetCount() const { return mCount; }

    /// What the text costs before any language is asked: no fit costs less.
    long GetLeastCost() const { return mLeastCost; }

    /// The language with the lowest cost.
    LanguageFit FindLanguage() const;

private:
    void Count(char16_t unit);

    std::vector<long> mHints;           // by language, what the ASCII letters cost
    std::vector<unsigned int> mCounts;  // by unit, of letters beyond ASCII
    std::u16string mLetters;            // those with a count
    std::size_t mCount = 0;
    long mLeastCost = 0;
};
