#include "text/CUnicodeWordDelimiterStubLegacy.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/CUnicodeMappingTable.h"
#include "text/tests/WordWalks.h"

namespace {

std::vector<RawWord> Raw(std::u16string_view text)
{
    CUnicodeWordDelimiterStubLegacy delimiter;
    return RawWords(delimiter, text);
}

std::vector<MappedWord> Mapped(std::u16string_view text)
{
    CUnicodeWordDelimiterStubLegacy delimiter;
    return MappedWords(delimiter, text, *CUnicodeMappingTable::GetDefaultTable());
}

std::vector<MappedWord> Unmapped(std::u16string_view text)
{
    CUnicodeWordDelimiterStubLegacy delimiter;
    CUnicodeMappingTable empty;
    return MappedWords(delimiter, text, empty);
}

TEST(CUnicodeWordDelimiterStubLegacy, GivesRawSpans)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<RawWord> mWords;
    } const cases[] = {
        {"an empty text", u"", {}},
        {"only gaps", u" .,\t\u2014\u200B ", {}},
        {"a word that is the whole text", u"ab", {{0, 2}}},
        {"two words", u" ab cd", {{1, 2}, {4, 2}}},
        {"symbols and marks inside", u"C#e\u0301 x", {{0, 4}, {5, 1}}},
        {"an ideograph", u"\u4E00\u4E01", {{0, 1}, {1, 1}}},
        {"before an ideograph",
         u"ab\u4E00"
         "c",
         {{0, 2}, {2, 1}, {3, 1}}},
        {"an ideographic number inside", u"a\u3007b", {{0, 3}}},
        {"a pictograph", u"\xD83D\xDE00", {{0, 2}}},
        {"before a pictograph", u"ab\xD83D\xDE00z", {{0, 2}, {2, 2}, {4, 1}}},
        {"unflagged pairs in a run", u"a\xD800\xDC00z", {{0, 4}}},
        {"a lone low surrogate in a run", u"a\xDC00z", {{0, 3}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Raw(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStubLegacy, ReadsOnOverAnApostropheBeforeAConsonant)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<RawWord> mWords;
    } const cases[] = {
        {"a contraction", u"don't x", {{0, 5}, {6, 1}}},
        {"a possessive at the end", u"it's", {{0, 4}}},
        {"an elision", u"l'eau", {{0, 1}, {2, 3}}},
        {"the n of rock'n", u"rock'n", {{0, 6}}},
        {"full-width", u"don\uFF07t", {{0, 5}}},
        {"a modifier letter is part of the word anyway", u"don\u02BCa", {{0, 5}}},
        {"a curly one doesn't count", u"don\u2019t", {{0, 3}, {4, 1}}},
        {"an upper-case consonant", u"don'T", {{0, 3}, {4, 1}}},
        {"once for a word", u"rock'n'roll", {{0, 6}, {7, 4}}},
        {"at the end of the text", u"don'", {{0, 3}}},
        {"before a gap", u"don' t", {{0, 3}, {5, 1}}},
        {"two of them", u"don''t", {{0, 3}, {5, 1}}},
        {"cut behind it", u"don't\u4E00", {{0, 5}, {5, 1}}},
        {"no word before it", u"'t", {{1, 1}}},
        {"behind an ideograph", u"\u4E00't", {{0, 1}, {2, 1}}},
        {"behind a word cut by an ideograph", u"a\u4E00't", {{0, 1}, {1, 1}, {3, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Raw(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStubLegacy, KeepsThePairTestOnTheWholeTextsLength)
{
    EXPECT_EQ(Raw(u"\xD83D"), (std::vector<RawWord>{{0, 1}}));
    // One unit of this span is past the end.
    EXPECT_EQ(Raw(u"a \xD83D"), (std::vector<RawWord>{{0, 1}, {2, 2}}));
    EXPECT_EQ(Raw(u"\xD83D b"), (std::vector<RawWord>{{0, 2}, {2, 1}}));
}

TEST(CUnicodeWordDelimiterStubLegacy, GivesMappedWordsWithTheirRawSpans)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<MappedWord> mWords;
    } const cases[] = {
        {"an empty text", u"", {}},
        {"only marks", u"\u0301\u0302", {}},
        {"a deleted mark inside the span", u"Cafe\u0301 x", {{u"cafe", 0, 5}, {u"x", 6, 1}}},
        {"a mark at the start",
         u"\u0301"
         "a",
         {{u"a", 1, 1}}},
        {"symbols inside", u"C#", {{u"c#", 0, 2}}},
        {"punctuation inside", u"a+b", {{u"a", 0, 1}, {u"b", 2, 1}}},
        {"no apostrophe rule", u"don't", {{u"don", 0, 3}, {u"t", 4, 1}}},
        {"ideographs", u"\u4E00\u4E01", {{u"\u4E00", 0, 1}, {u"\u4E01", 1, 1}}},
        {"a pictograph", u"\xD83D\xDE00", {{u"\xD83D\xDE00", 0, 2}}},
        {"a letter behind a flagged high surrogate",
         u"\xD83D"
         "ab",
         {{u"\xD83D"
           "a",
           0, 2},
          {u"b", 2, 1}}},
        {"a gap behind one", u"\xD83D b", {{u"\xD83D", 0, 1}, {u"b", 2, 1}}},
        {"an ideographic number inside", u"a\u3007b", {{u"a\u3007b", 0, 3}}},
        {"a circled number", u"a\u2460b", {{u"a", 0, 1}, {u"1", 1, 1}, {u"b", 2, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Mapped(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStubLegacy, KeepsLoneSurrogates)
{
    EXPECT_EQ(Mapped(u"\xD800"
                     "a\xDC00"),
              (std::vector<MappedWord>{{u"\xD800"
                                        "a\xDC00",
                                        0, 3}}));
}

TEST(CUnicodeWordDelimiterStubLegacy, KeepsTheDoubleReportOfAnIdeographBehindAWord)
{
    EXPECT_EQ(Mapped(u"ab\u4E00\u4E01"),
              (std::vector<MappedWord>{
                  {u"ab", 0, 2}, {u"\u4E00", 2, 0}, {u"\u4E00", 2, 1}, {u"\u4E01", 3, 1}}));
    // An expansion of two ideographs comes out twice as a whole.
    EXPECT_EQ(Mapped(u"a\u309F"), (std::vector<MappedWord>{{u"a", 0, 1},
                                                           {u"\u3088", 1, 0},
                                                           {u"\u308A", 1, 0},
                                                           {u"\u3088", 1, 1},
                                                           {u"\u308A", 2, 0}}));
    // Also behind the last word of an expansion, which has no raw span itself.
    std::vector<MappedWord> const words = Mapped(u"\uFDFA\u4E00");
    ASSERT_EQ(words.size(), 6U);
    EXPECT_EQ(words[3].mRawLength, 0U);
    EXPECT_EQ(words[4], (MappedWord{u"\u4E00", 1, 0}));
    EXPECT_EQ(words[5], (MappedWord{u"\u4E00", 1, 1}));
}

TEST(CUnicodeWordDelimiterStubLegacy, KeepsTheDoubledFlaggedSurrogateBehindAWord)
{
    EXPECT_EQ(Mapped(u"ab\xD83D\xDE00"),
              (std::vector<MappedWord>{{u"ab", 0, 2}, {u"\xD83D\xD83D", 2, 1}, {u"\xDE00", 3, 1}}));
    // Behind a single raw unit it is taken into the word instead.
    EXPECT_EQ(Mapped(u"a\xD83D\xDE00"),
              (std::vector<MappedWord>{{u"a\xD83D", 0, 2}, {u"\xDE00", 2, 1}}));
}

TEST(CUnicodeWordDelimiterStubLegacy, EndsWhereAnExpansionWouldComeBackForEver)
{
    // x gives an ideograph and a letter, which no built-in table does: left in the block again and
    // again behind that letter, it would never be passed.
    CUnicodeMappingTable table;
    MapByHand(table, {{'x', u"\u4E00a"}});

    CUnicodeWordDelimiterStubLegacy delimiter;
    EXPECT_EQ(MappedWords(delimiter, u"bx", table),
              (std::vector<MappedWord>{
                  {u"b", 0, 1}, {u"\u4E00", 1, 0}, {u"a", 1, 0}, {u"\u4E00", 1, 1}, {u"a", 2, 0}}));
    EXPECT_LT(MappedWords(delimiter, u"bxxaxb xx\u4E00x", table).size(), 40U);
}

TEST(CUnicodeWordDelimiterStubLegacy, TakesMarksIntoWordsWhereTheTableLeavesThem)
{
    EXPECT_EQ(Unmapped(u"e\u0301x"), (std::vector<MappedWord>{{u"e\u0301x", 0, 3}}));
}

}  // namespace
