// What letters and symbols are worth in the languages that are written with them: the statistics by
// which charsets are told apart. tools/charsets/train_letters.py makes them and says of what.
//
// A cost is the negative logarithm of a probability in thirds of a bit. Tables hold one character
// for each cost, from `kFirstCost` on; what isn't in a table costs `kHighestCost`.
#pragma once

constexpr char kFirstCost = '(';
constexpr int kHighestCost = 51;

/// A UTF-16 unit by its place among its neighbours. Letters without case count as lower ones.
enum class LetterClass : unsigned char
{
    kASCIILower,
    kASCIIUpper,
    kASCIIOther,
    kControl,  ///< 0x80..0x9F
    kLatinLower,
    kLatinUpper,
    kGreekLower,
    kGreekUpper,
    kCyrillicLower,
    kCyrillicUpper,
    kHebrew,
    kArabic,
    kMark,
    kKana,
    kHalfWidthKana,
    kHangul,
    kIdeograph,
    kOtherLetter,  ///< halves of a surrogate pair are symbols
    kCJKPunctuation,
    kSymbol,
};

constexpr int kLetterClassCount = 20;

/// What it costs that a unit of the second class follows one of the first; the first one is the
/// row.
extern char const kTransitionCosts[];

struct LetterCosts
{
    char const* mLanguage;     ///< BCP 47
    char16_t const* mLetters;  ///< in rising order, ending with a null; case is folded
    char const* mCosts;        ///< of each letter, among those beyond ASCII
    char const* mASCIICosts;   ///< of a to z; empty where the language isn't written with them
};

/// Costs of symbols in any language.
extern LetterCosts const kSymbolCosts;

extern LetterCosts const kLanguages[];
extern int const kLanguageCount;
