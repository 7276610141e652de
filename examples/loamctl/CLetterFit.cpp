#include "loamctl/CLetterFit.h"

#include <algorithm>
#include <cstddef>

#include "loamctl/LetterTables.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeMappingTable.h"

namespace {

using Categories = CUnicodeCategoriesTable;

constexpr Categories::CategoriesMask kUpper =
    Categories::MaskOf(Categories::kLu) | Categories::MaskOf(Categories::kLt);
constexpr Categories::CategoriesMask kLetters = kUpper | Categories::MaskOf(Categories::kLl) |
                                                Categories::MaskOf(Categories::kLm) |
                                                Categories::MaskOf(Categories::kLo);
constexpr Categories::CategoriesMask kMarks = Categories::MaskOf(Categories::kMn) |
                                              Categories::MaskOf(Categories::kMc) |
                                              Categories::MaskOf(Categories::kMe);

// How much the ASCII letters of a text count beside the others, and how much at most: a Greek text
// may well quote pages of English.
constexpr long kHintPart = 10;
constexpr long kHighestHint = 35;

struct Script
{
    char16_t mFirst;
    char16_t mLast;
    LetterClass mLower;
    LetterClass mUpper;
};

constexpr Script kScripts[] = {
    {0x00A0, 0x024F, LetterClass::kLatinLower, LetterClass::kLatinUpper},
    {0x0370, 0x03FF, LetterClass::kGreekLower, LetterClass::kGreekUpper},
    {0x0400, 0x052F, LetterClass::kCyrillicLower, LetterClass::kCyrillicUpper},
    {0x0590, 0x05FF, LetterClass::kHebrew, LetterClass::kHebrew},
    {0x0600, 0x077F, LetterClass::kArabic, LetterClass::kArabic},
    {0x1E00, 0x1EFF, LetterClass::kLatinLower, LetterClass::kLatinUpper},
    {0x3040, 0x30FF, LetterClass::kKana, LetterClass::kKana},
    {0x4E00, 0x9FFF, LetterClass::kIdeograph, LetterClass::kIdeograph},
    {0xAC00, 0xD7AF, LetterClass::kHangul, LetterClass::kHangul},
    {0xF900, 0xFAFF, LetterClass::kIdeograph, LetterClass::kIdeograph},
    {0xFB50, 0xFEFF, LetterClass::kArabic, LetterClass::kArabic},
    {0xFF66, 0xFF9F, LetterClass::kHalfWidthKana, LetterClass::kHalfWidthKana},
};

bool IsCJKPunctuation(char16_t unit)
{
    return (unit >= 0x3000 && unit <= 0x303F) || (unit >= 0xFF00 && unit <= 0xFF65) ||
           (unit >= 0xFFE0 && unit <= 0xFFEF);
}

LetterClass ClassOfASCII(char16_t unit)
{
    if (unit >= u'a' && unit <= u'z') return LetterClass::kASCIILower;
    if (unit >= u'A' && unit <= u'Z') return LetterClass::kASCIIUpper;
    return LetterClass::kASCIIOther;
}

LetterClass ClassOf(char16_t unit)
{
    if (unit < 0x80) return ClassOfASCII(unit);
    if (unit < 0xA0) return LetterClass::kControl;
    if (IsCJKPunctuation(unit)) return LetterClass::kCJKPunctuation;
    auto const category = Categories::MaskOf(
        static_cast<Categories::Category>(Categories::sTable[unit] & Categories::kCategoryBits));
    if ((category & kMarks) != 0) return LetterClass::kMark;
    if ((category & kLetters) == 0) return LetterClass::kSymbol;
    for (Script const& script : kScripts) {
        if (unit < script.mFirst || unit > script.mLast) continue;
        return (category & kUpper) != 0 ? script.mUpper : script.mLower;
    }
    return LetterClass::kOtherLetter;
}

int CostOf(char cost)
{
    return cost - kFirstCost;
}

int CostOf(LetterClass first, LetterClass second)
{
    return CostOf(
        kTransitionCosts[static_cast<int>(first) * kLetterClassCount + static_cast<int>(second)]);
}

int CostOf(char16_t letter, LetterCosts const& costs)
{
    std::u16string_view const letters(costs.mLetters);
    auto const found = std::lower_bound(letters.begin(), letters.end(), letter);
    if (found == letters.end() || *found != letter) return kHighestCost;
    return CostOf(costs.mCosts[found - letters.begin()]);
}

}  // namespace

CLetterFit::CLetterFit(std::string_view bytes)
    : mHints(static_cast<std::size_t>(kLanguageCount), 0)
    , mCounts(0x10000, 0)
{
    long counts[26] = {};
    for (char const c : bytes) {
        char const letter = static_cast<char>(c | 0x20);
        if (letter >= 'a' && letter <= 'z') ++counts[letter - 'a'];
    }
    long least = -1;
    for (std::size_t i = 0; i < mHints.size(); ++i) {
        char const* const costs = kLanguages[i].mASCIICosts;
        if (*costs == '\0') continue;
        for (std::size_t letter = 0; letter < 26; ++letter)
            mHints[i] += counts[letter] * CostOf(costs[letter]);
        if (least < 0 || mHints[i] < least) least = mHints[i];
    }
    for (std::size_t i = 0; i < mHints.size(); ++i) {
        bool const isLatin = *kLanguages[i].mASCIICosts != '\0';
        mHints[i] = isLatin ? std::min((mHints[i] - least) / kHintPart, kHighestHint) : 0;
    }
}

void CLetterFit::SetText(std::u16string_view text)
{
    for (char16_t const letter : mLetters)
        mCounts[letter] = 0;
    mLetters.clear();
    mCount = 0;
    mLeastCost = 0;
    auto before = LetterClass::kASCIIOther;
    for (char16_t const unit : text) {
        LetterClass const now = ClassOf(unit);
        if (now > LetterClass::kASCIIOther || before > LetterClass::kASCIIOther)
            mLeastCost += CostOf(before, now);
        if (now == LetterClass::kControl) {
            mLeastCost += kHighestCost;
        } else if (now == LetterClass::kSymbol) {
            mLeastCost += CostOf(unit, kSymbolCosts);
        } else if (now > LetterClass::kASCIIOther) {
            Count(unit);
        }
        mCount += unit >= 0x80;
        before = now;
    }
}

void CLetterFit::Count(char16_t unit)
{
    char16_t const folded = CUnicodeMappingTable::GetCaseFoldingTable()->MapToSingleUnit(unit);
    char16_t const letter = folded == CUnicodeMappingTable::kNoSingleUnit ? unit : folded;
    if (mCounts[letter]++ == 0) mLetters += letter;
}

LanguageFit CLetterFit::FindLanguage() const
{
    LanguageFit best = {mLeastCost, ""};
    if (mLetters.empty()) return best;
    for (int i = 0; i < kLanguageCount; ++i) {
        long cost = mLeastCost + mHints[static_cast<std::size_t>(i)];
        for (char16_t const letter : mLetters) {
            if (*best.mLanguage != '\0' && cost >= best.mCost) break;
            cost += CostOf(letter, kLanguages[i]) * static_cast<long>(mCounts[letter]);
        }
        if (*best.mLanguage == '\0' || cost < best.mCost) best = {cost, kLanguages[i].mLanguage};
    }
    return best;
}
