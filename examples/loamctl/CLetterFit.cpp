#include "loamctl/CLetterFit.h"

#include <algorithm>
#include <iterator>

#include "loamctl/CByteTable.h"
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

// The letters of a table with their number, which takes a while to count.
struct CountedCosts
{
    explicit CountedCosts(LetterCosts const& costs)
        : mLetters(costs.mLetters)
        , mCosts(costs.mCosts)
    {
    }

    int CostOf(char16_t letter) const
    {
        if (mLetters.empty() || letter < mLetters.front() || letter > mLetters.back())
            return kHighestCost;
        auto const found = std::lower_bound(mLetters.begin(), mLetters.end(), letter);
        return *found == letter ? ::CostOf(mCosts[found - mLetters.begin()]) : kHighestCost;
    }

    std::u16string_view mLetters;
    char const* mCosts;
};

std::vector<CountedCosts> const& Languages()
{
    static std::vector<CountedCosts> const languages(kLanguages, kLanguages + kLanguageCount);
    return languages;
}

// What a unit is and what it costs in any language.
struct UnitFacts
{
    LetterClass mClass;
    unsigned char mCost;
};

UnitFacts FactsOf(char16_t unit)
{
    static CountedCosts const symbols(kSymbolCosts);
    LetterClass const letterClass = ClassOf(unit);
    int cost = 0;
    if (letterClass == LetterClass::kControl) cost = kHighestCost;
    if (letterClass == LetterClass::kSymbol) cost = symbols.CostOf(unit);
    return {letterClass, static_cast<unsigned char>(cost)};
}

// Of all units, made at first use.
std::vector<UnitFacts> const& AllFacts()
{
    static std::vector<UnitFacts> const facts = [] {
        std::vector<UnitFacts> made;
        made.reserve(0x10000);
        for (unsigned code = 0; code < 0x10000; ++code)
            made.push_back(FactsOf(static_cast<char16_t>(code)));
        return made;
    }();
    return facts;
}

bool IsASCII(LetterClass letterClass)
{
    return letterClass <= LetterClass::kASCIIOther;
}

bool IsLetter(LetterClass letterClass)
{
    return letterClass > LetterClass::kControl && letterClass != LetterClass::kSymbol;
}

char16_t Folded(char16_t unit, CUnicodeMappingTable const& table)
{
    char16_t const folded = table.MapToSingleUnit(unit);
    return folded == CUnicodeMappingTable::kNoSingleUnit ? unit : folded;
}

constexpr std::size_t kFirstUpper = 0x80;
constexpr std::size_t kUpperBytes = 0x80;

// One byte for all of ASCII that has the same class.
constexpr unsigned char kASCIIStandIns[] = {'a', 'A', ' '};
constexpr std::size_t kKinds = std::size(kASCIIStandIns) + kUpperBytes;

// The stand-ins first, and then the bytes beyond ASCII.
std::size_t KindOf(char c)
{
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= kFirstUpper) return byte - kFirstUpper + std::size(kASCIIStandIns);
    return static_cast<std::size_t>(ClassOfASCII(byte));
}

unsigned char ByteOfKind(std::size_t kind)
{
    if (kind < std::size(kASCIIStandIns)) return kASCIIStandIns[kind];
    return static_cast<unsigned char>(kind - std::size(kASCIIStandIns) + kFirstUpper);
}

}  // namespace

CByteLetters::CByteLetters(CByteTable const& units)
    : mUnits(units)
    , mClasses{}
    , mCosts{}
{
    for (std::size_t code = 0; code < mClasses.size(); ++code) {
        UnitFacts const facts = FactsOf(mUnits[static_cast<char>(code)]);
        mClasses[code] = facts.mClass;
        mCosts[code] = facts.mCost;
    }
}

bool CByteLetters::IsLetter(unsigned char byte) const
{
    return ::IsLetter(mClasses[byte]);
}

unsigned char const* CByteLetters::GetLetterCosts(int language) const
{
    std::call_once(mFilled, [this] { FillLanguageCosts(); });
    return mLanguageCosts.data() + static_cast<std::size_t>(language) * kUpperBytes;
}

void CByteLetters::FillLanguageCosts() const
{
    CUnicodeMappingTable const& folding = *CUnicodeMappingTable::GetCaseFoldingTable();
    mLanguageCosts.resize(static_cast<std::size_t>(kLanguageCount) * kUpperBytes);
    auto cost = mLanguageCosts.begin();
    for (CountedCosts const& language : Languages()) {
        for (std::size_t code = kFirstUpper; code < mClasses.size(); ++code) {
            char16_t const unit = mUnits[static_cast<char>(code)];
            *cost++ = static_cast<unsigned char>(language.CostOf(Folded(unit, folding)));
        }
    }
}

CLetterFit::CLetterFit(std::string_view bytes)
    : mHints(static_cast<std::size_t>(kLanguageCount), 0)
    , mCounts(0x10000, 0)
{
    for (char const c : bytes)
        ++mByteCounts[static_cast<unsigned char>(c)];
    for (std::size_t code = kFirstUpper; code < mByteCounts.size(); ++code) {
        if (mByteCounts[code] > 0) mUpperBytes += static_cast<char>(code);
    }
    CountPairs(bytes);
    FindHints();
}

// In front of the first byte stands something of ASCII.
void CLetterFit::CountPairs(std::string_view bytes)
{
    std::vector<unsigned> counts(kKinds * kKinds, 0);
    std::size_t before = KindOf(' ');
    for (char const c : bytes) {
        std::size_t const now = KindOf(c);
        ++counts[before * kKinds + now];
        before = now;
    }
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0) continue;
        Pair const pair = {ByteOfKind(i / kKinds), ByteOfKind(i % kKinds), counts[i]};
        if (pair.mFirst >= kFirstUpper || pair.mSecond >= kFirstUpper) mPairs.push_back(pair);
    }
}

void CLetterFit::FindHints()
{
    long least = -1;
    for (std::size_t i = 0; i < mHints.size(); ++i) {
        char const* const costs = kLanguages[i].mASCIICosts;
        if (*costs == '\0') continue;
        for (std::size_t letter = 0; letter < 26; ++letter) {
            long const count = mByteCounts['a' + letter] + mByteCounts['A' + letter];
            mHints[i] += count * CostOf(costs[letter]);
        }
        if (least < 0 || mHints[i] < least) least = mHints[i];
    }
    for (std::size_t i = 0; i < mHints.size(); ++i) {
        bool const isLatin = *kLanguages[i].mASCIICosts != '\0';
        mHints[i] = isLatin ? std::min((mHints[i] - least) / kHintPart, kHighestHint) : 0;
    }
}

void CLetterFit::SetText(std::u16string_view text)
{
    mText = text;
    mBytes = nullptr;
    mCount = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x80; }));
}

void CLetterFit::SetBytes(CByteLetters const& letters)
{
    mBytes = &letters;
    mCount = 0;
    for (char const c : mUpperBytes)
        mCount += static_cast<std::size_t>(mByteCounts[static_cast<unsigned char>(c)]);
}

long CLetterFit::FindLeastCost(long limit)
{
    mLeastCost = 0;
    mBytes ? ReadBytes() : ReadText(limit);
    return mLeastCost;
}

void CLetterFit::ReadText(long limit)
{
    for (char16_t const letter : mLetters)
        mCounts[letter] = 0;
    mLetters.clear();
    UnitFacts const* const allFacts = AllFacts().data();
    CUnicodeMappingTable const& folding = *CUnicodeMappingTable::GetCaseFoldingTable();
    auto before = LetterClass::kASCIIOther;
    for (char16_t const unit : mText) {
        if (mLeastCost >= limit) return;
        UnitFacts const facts = allFacts[unit];
        if (!IsASCII(facts.mClass) || !IsASCII(before))
            mLeastCost += CostOf(before, facts.mClass) + facts.mCost;
        if (IsLetter(facts.mClass)) {
            char16_t const letter = Folded(unit, folding);
            if (mCounts[letter]++ == 0) mLetters += letter;
        }
        before = facts.mClass;
    }
}

void CLetterFit::ReadBytes()
{
    mByteLetters.clear();
    for (Pair const& pair : mPairs) {
        LetterClass const first = mBytes->GetClass(pair.mFirst);
        mLeastCost += pair.mCount * CostOf(first, mBytes->GetClass(pair.mSecond));
    }
    for (char const c : mUpperBytes) {
        auto const byte = static_cast<unsigned char>(c);
        mLeastCost += mByteCounts[byte] * mBytes->GetCost(byte);
        if (mBytes->IsLetter(byte)) mByteLetters += c;
    }
}

LanguageFit CLetterFit::FindLanguage(long limit) const
{
    bool const isWordless = mBytes ? mByteLetters.empty() : mLetters.empty();
    if (isWordless) return {mLeastCost, ""};
    LanguageFit best = {limit, ""};
    for (int i = 0; i < kLanguageCount; ++i) {
        long const hint = mHints[static_cast<std::size_t>(i)];
        long const cost = CostOfLetters(i, mLeastCost + hint, best.mCost);
        if (cost < best.mCost) best = {cost, kLanguages[i].mLanguage};
    }
    return best;
}

// On top of `cost`, up to `limit`.
long CLetterFit::CostOfLetters(int language, long cost, long limit) const
{
    if (mBytes) {
        unsigned char const* const costs = mBytes->GetLetterCosts(language);
        for (char const c : mByteLetters) {
            if (cost >= limit) break;
            auto const byte = static_cast<unsigned char>(c);
            cost += costs[byte - kFirstUpper] * mByteCounts[byte];
        }
        return cost;
    }
    CountedCosts const& counted = Languages()[static_cast<std::size_t>(language)];
    for (char16_t const letter : mLetters) {
        if (cost >= limit) break;
        cost += counted.CostOf(letter) * static_cast<long>(mCounts[letter]);
    }
    return cost;
}
