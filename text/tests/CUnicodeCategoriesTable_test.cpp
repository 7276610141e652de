#include "text/CUnicodeCategoriesTable.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using Table = CUnicodeCategoriesTable;

constexpr Table::CategoriesMask kWordBody = 0x0000071F;
constexpr Table::CategoriesMask kPunctuation = 0x0003F800;
constexpr unsigned int kUntouched = 4711;

using Search =
    bool (*)(unsigned int&, char16_t const*, int, Table::CategoriesMask, Table::Flags, bool);

// The index that a search stores, or -1 where it finds nothing and leaves the index alone.
int IndexOf(Search search,
            std::u16string const& text,
            Table::CategoriesMask mask,
            Table::Flags flags = 0,
            bool flagSense = false)
{
    unsigned int index = kUntouched;
    bool const found =
        search(index, text.data(), static_cast<int>(text.size()), mask, flags, flagSense);
    if (found) return static_cast<int>(index);
    EXPECT_EQ(kUntouched, index);
    return -1;
}

TEST(CUnicodeCategoriesTable, ClassifiesUnits)
{
    struct
    {
        char const* mWhat;
        char16_t mUnit;
        unsigned int mEntry;
    } const cases[] = {
        {"number sign counts as a symbol", u'#', 21},
        {"plus sign counts as punctuation", u'+', 17},
        {"han", u'\u4E00', 4 | 0x80},
        {"hangul has no flag", u'\uAC00', 4},
        {"hiragana", u'\u3042', 4 | 0x80},
        {"ideographic space", u'\u3000', 22 | 0x80},
        {"last ideograph of extension A has no flag", u'\u4DBF', 4},
        {"the one before it has", u'\u4DBE', 4 | 0x80},
        {"last unified ideograph has no flag", u'\u9FFC', 4},
        {"unassigned in an ideographic range", u'\u2FE0', 30 | 0x80},
        {"non-character", u'\uFFFE', 30},
        {"last unit", u'\uFFFF', 30},
        {"private use", u'\uE000', 29},
        {"high surrogate", char16_t{0xD800}, 27},
        {"high surrogate of pictographs", char16_t{0xD83D}, 27 | 0x40},
        {"high surrogate of ideographs", char16_t{0xD840}, 27 | 0x80},
        {"low surrogate", char16_t{0xDC00}, 28},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mEntry, Table::sTable[c.mUnit]);
    }
}

TEST(CUnicodeCategoriesTable, CountsHashAsPartOfAWordAndPlusAsPunctuation)
{
    EXPECT_EQ(-1, IndexOf(Table::FindFirstOfCategories, u"C#", kPunctuation));
    EXPECT_EQ(1, IndexOf(Table::FindFirstOfCategories, u"a+b", kPunctuation));
}

TEST(CUnicodeCategoriesTable, SearchesFromBothEnds)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        Table::CategoriesMask mMask;
        Table::Flags mFlags;
        bool mFlagSense;
        int mFirst, mFirstNot, mLast, mLastNot;
    } const cases[] = {
        {"empty", u"", kWordBody, 0, false, -1, -1, -1, -1},
        {"letters between gaps", u"..ab..", kWordBody, 0, false, 2, 0, 3, 5},
        {"all match", u"abc", kWordBody, 0, false, 0, -1, 2, -1},
        {"none matches", u"...", kWordBody, 0, false, -1, 0, -1, 2},
        {"nothing asked, all match", u"a.\u4E00", 0, 0, false, 0, -1, 2, -1},
        {"ideographic, any category", u"a \u3000\u4E00b", 0, 0x80, true, 2, 0, 3, 4},
        {"not ideographic", u"\u4E00a\u3000", 0, 0x80, false, 1, 0, 1, 2},
        {"letter, not ideographic", u"ab\u4E00cd", kWordBody, 0x80, false, 0, 2, 4, 2},
        {"letter and ideographic", u"ab\u4E00\u3000", kWordBody, 0x80, true, 2, 0, 2, 3},
        {"either flag", u"a\u4E00\xD83D\xDE00", 0, 0xC0, true, 1, 0, 2, 3},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        auto const run = [&c](Search search) {
            return IndexOf(search, c.mText, c.mMask, c.mFlags, c.mFlagSense);
        };
        EXPECT_EQ(c.mFirst, run(Table::FindFirstOfCategories));
        EXPECT_EQ(c.mFirstNot, run(Table::FindFirstNotOfCategories));
        EXPECT_EQ(c.mLast, run(Table::FindLastOfCategories));
        EXPECT_EQ(c.mLastNot, run(Table::FindLastNotOfCategories));
    }
}

TEST(CUnicodeCategoriesTable, ReadsNothingForLengthsOfZeroAndBelow)
{
    for (int const length : {0, -1, -1000}) {
        for (Search const search : {Table::FindFirstOfCategories, Table::FindFirstNotOfCategories,
                                    Table::FindLastOfCategories, Table::FindLastNotOfCategories}) {
            unsigned int index = kUntouched;
            EXPECT_FALSE(search(index, nullptr, length, 0, 0, false));
            EXPECT_EQ(kUntouched, index);
        }
    }
}

// The four searches as they would be said, one unit at a time.
bool NaivelyMatches(char16_t unit, Table::CategoriesMask mask, Table::Flags flags, bool flagSense)
{
    unsigned int const entry = Table::sTable[unit];
    bool const isInMask = mask == 0 || (mask & Table::CategoriesMask{1} << entry % 32) != 0;
    bool const hasFlag = (entry & flags) != 0;
    return isInMask && (flags == 0 || hasFlag == flagSense);
}

int NaivelyFind(std::u16string const& text, bool isFirst, auto test)
{
    int found = -1;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (test(text[at]) && (found < 0 || !isFirst)) found = static_cast<int>(at);
    }
    return found;
}

TEST(CUnicodeCategoriesTable, AgreesWithASecondStatementOnRandomTexts)
{
    std::mt19937 random(1);
    std::u16string const alphabet = u"aB1 #+\u0301\u3000\u4E00\u3042\uAC00\xD83D\xDE00\xD840\uFFFF";
    Table::CategoriesMask const masks[] = {0,          kWordBody,  kPunctuation,
                                           0x18000000, 0x183C071F, 0x20};
    Table::Flags const allFlags[] = {0, 0x80, 0x40, 0xC0, 0x04};
    for (int round = 0; round < 2000; ++round) {
        std::u16string text(random() % 12, u' ');
        for (char16_t& unit : text)
            unit = alphabet[random() % alphabet.size()];
        Table::CategoriesMask const mask = masks[random() % std::size(masks)];
        Table::Flags const flags = allFlags[random() % std::size(allFlags)];
        bool const sense = random() % 2 == 1;
        auto const is = [=](char16_t unit) { return NaivelyMatches(unit, mask, flags, sense); };
        auto const isNot = [=](char16_t unit) { return !is(unit); };

        SCOPED_TRACE(round);
        ASSERT_EQ(NaivelyFind(text, true, is),
                  IndexOf(Table::FindFirstOfCategories, text, mask, flags, sense));
        ASSERT_EQ(NaivelyFind(text, true, isNot),
                  IndexOf(Table::FindFirstNotOfCategories, text, mask, flags, sense));
        ASSERT_EQ(NaivelyFind(text, false, is),
                  IndexOf(Table::FindLastOfCategories, text, mask, flags, sense));
        ASSERT_EQ(NaivelyFind(text, false, isNot),
                  IndexOf(Table::FindLastNotOfCategories, text, mask, flags, sense));
    }
}

TEST(CUnicodeCategoriesTable, MatchesUnitsAsTheSearchesDo)
{
    for (unsigned int code = 0; code < 0x10000; ++code) {
        auto const unit = static_cast<char16_t>(code);
        for (bool const sense : {false, true}) {
            ASSERT_EQ(NaivelyMatches(unit, kWordBody, 0x80, sense),
                      Table::Matches(unit, kWordBody, 0x80, sense));
        }
    }
    EXPECT_EQ(kWordBody, Table::MaskOf(Table::kLu) | Table::MaskOf(Table::kLl) |
                             Table::MaskOf(Table::kLt) | Table::MaskOf(Table::kLm) |
                             Table::MaskOf(Table::kLo) | Table::MaskOf(Table::kNd) |
                             Table::MaskOf(Table::kNl) | Table::MaskOf(Table::kNo));
}

}  // namespace

TEST(CUnicodeCategoriesTable, KeepsTwelveCharactersMoved)
{
    constexpr unsigned int kOtherPunctuation = 17;
    constexpr unsigned int kOtherSymbol = 21;
    for (char16_t const unit : std::u16string(u"#%&@\u00A7\u00B6")) {
        EXPECT_EQ(CUnicodeCategoriesTable::sTable[unit], kOtherSymbol) << std::hex << +unit;
    }
    for (char16_t const unit : std::u16string(u"+<=>|~")) {
        EXPECT_EQ(CUnicodeCategoriesTable::sTable[unit], kOtherPunctuation) << std::hex << +unit;
    }
}

TEST(CUnicodeCategoriesTable, KeepsTheLastIdeographsWithoutTheirFlag)
{
    for (char16_t const unit : {u'\u4DBF', u'\u9FFC'}) {
        EXPECT_EQ(CUnicodeCategoriesTable::sTable[unit], 4U) << std::hex << +unit;
        EXPECT_EQ(CUnicodeCategoriesTable::sTable[unit - 1], 0x84U) << std::hex << +unit;
    }
}
