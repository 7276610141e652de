#include "text/CUnicodeWordDelimiterStub.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/CUnicodeMappingTable.h"
#include "text/tests/WordWalks.h"

namespace {

std::vector<RawWord> Raw(std::u16string_view text)
{
    CUnicodeWordDelimiterStub delimiter;
    return RawWords(delimiter, text);
}

std::vector<MappedWord> Mapped(std::u16string_view text)
{
    CUnicodeWordDelimiterStub delimiter;
    return MappedWords(delimiter, text, *CUnicodeMappingTable::GetDefaultTable());
}

std::vector<MappedWord> Unmapped(std::u16string_view text)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable empty;
    return MappedWords(delimiter, text, empty);
}

TEST(CUnicodeWordDelimiterStub, GivesRawSpans)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<RawWord> mWords;
    } const cases[] = {
        {"an empty text", u"", {}},
        {"only gaps", u" .,\t\u2014\u200B ", {}},
        {"two words and a gap behind", u"ab cd ", {{0, 2}, {3, 2}}},
        {"letters and digits together", u"a1b2 ", {{0, 4}}},
        {"symbols alone", u"C# ", {{0, 1}, {1, 1}}},
        {"a run of symbols", u"\u00A7\u00A7# ", {{0, 1}, {1, 1}, {2, 1}}},
        {"punctuation inside", u"a+b ", {{0, 1}, {2, 1}}},
        {"a nonspacing mark alone", u"e\u0301 ", {{0, 1}, {1, 1}}},
        {"a spacing mark is a gap", u"\u0915\u093E\u0915 ", {{0, 1}, {2, 1}}},
        {"a modifier symbol is a gap", u"a^b` ", {{0, 1}, {2, 1}}},
        {"ideographs stand alone", u"\u4E00\u4E01 ", {{0, 1}, {1, 1}}},
        {"letters before an ideograph", u"ab\u4E00 ", {{0, 2}, {2, 1}}},
        {"Hangul syllables run", u"\uAC00\uAC01 ", {{0, 2}}},
        {"an ideographic number begins a run", u"\u3007ab ", {{0, 3}}},
        {"an ideographic number ends one", u"ab\u3007 ", {{0, 2}, {2, 1}}},
        {"a pair", u"\xD83D\xDE00 ", {{0, 2}}},
        {"two unflagged pairs", u"\xD800\xDC00\xD800\xDC01 ", {{0, 2}, {2, 2}}},
        {"a lone low surrogate", u"\xDC00 ", {{0, 1}}},
        {"an apostrophe is a gap", u"don't ", {{0, 3}, {4, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Raw(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStub, KeepsTheLengthOfTheWordBeforePlusOneForTheLastRawWord)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<RawWord> mWords;
    } const cases[] = {
        {"one word comes in pieces", u"ab", {{0, 1}, {1, 2}}},
        {"a longer word", u"abcdefg", {{0, 1}, {1, 2}, {3, 3}, {6, 4}}},
        {"a single letter is right by chance", u"a", {{0, 1}}},
        {"past the end of the text", u"abc d", {{0, 3}, {4, 4}}},
        {"too short", u"a bcd", {{0, 1}, {2, 2}, {4, 3}}},
        {"a last symbol is not concerned", u"abc #", {{0, 3}, {4, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Raw(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStub, KeepsAnyUnitBehindAHighSurrogateInTheRawWord)
{
    EXPECT_EQ(Raw(u"\xD83D b "), (std::vector<RawWord>{{0, 2}, {2, 1}}));
    EXPECT_EQ(Raw(u"a \xD83D"), (std::vector<RawWord>{{0, 1}, {2, 1}}));
}

TEST(CUnicodeWordDelimiterStub, LeavesTheVariablesBehindTheLastWord)
{
    CUnicodeWordDelimiterStub delimiter;
    unsigned int start = 0;
    unsigned int wordLength = 0;
    EXPECT_FALSE(delimiter.GetNextWord(u"...", 3, start, wordLength));
    EXPECT_EQ(start, 0U);
    EXPECT_EQ(wordLength, 0U);

    start = 0;
    EXPECT_TRUE(delimiter.GetNextWord(u"ab..", 4, start, wordLength));
    EXPECT_FALSE(delimiter.GetNextWord(u"ab..", 4, start, wordLength));
    EXPECT_EQ(start, 2U);
    EXPECT_EQ(wordLength, 2U);
    // Called again, it still passes the word before, and reads nothing there.
    EXPECT_FALSE(delimiter.GetNextWord(u"ab..", 4, start, wordLength));
    EXPECT_EQ(start, 4U);
    EXPECT_FALSE(delimiter.GetNextWord(u"ab..", 4, start, wordLength));
    EXPECT_EQ(start, 6U);
}

TEST(CUnicodeWordDelimiterStub, GivesMappedWordsWithTheirRawSpans)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<MappedWord> mWords;
    } const cases[] = {
        {"an empty text", u"", {}},
        {"only gaps", u" .,\t\u2014\u200B ", {}},
        {"only marks", u"\u0301\u0302", {}},
        {"a deleted mark inside the span", u"Cafe\u0301 x", {{u"cafe", 0, 5}, {u"x", 6, 1}}},
        {"a mark at the start of the text", u"\u0301\u0301a", {{u"a", 2, 1}}},
        {"a mark behind a gap", u"a \u0301b", {{u"a", 0, 1}, {u"b", 3, 1}}},
        {"a mark at the end of the text", u"ab\u0301", {{u"ab", 0, 3}}},
        {"a letter that expands", u"Stra\u00DFe.", {{u"strasse", 0, 6}}},
        {"ideographs stand alone", u"\u4E00\u4E01", {{u"\u4E00", 0, 1}, {u"\u4E01", 1, 1}}},
        {"letters before an ideograph", u"ab\u4E00", {{u"ab", 0, 2}, {u"\u4E00", 2, 1}}},
        {"Hangul syllables run", u"\uAC00\uAC01", {{u"\uAC00\uAC01", 0, 2}}},
        {"a pictograph", u"\xD83D\xDE00", {{u"\xD83D\xDE00", 0, 2}}},
        {"two pictographs",
         u"\xD83D\xDE00\xD83D\xDE01",
         {{u"\xD83D\xDE00", 0, 2}, {u"\xD83D\xDE01", 2, 2}}},
        {"pairs of an unflagged block run",
         u"\xD800\xDC00\xD800\xDC01",
         {{u"\xD800\xDC00\xD800\xDC01", 0, 4}}},
        {"a pictograph behind such a run",
         u"\xD800\xDC00\xD83D\xDE00",
         {{u"\xD800\xDC00", 0, 2}, {u"\xD83D\xDE00", 2, 2}}},
        {"a pictograph behind letters",
         u"ab\xD83D\xDE00z",
         {{u"ab", 0, 2}, {u"\xD83D\xDE00", 2, 2}, {u"z", 4, 1}}},
        {"a pictograph behind one letter",
         u"a\xD83D\xDE00",
         {{u"a", 0, 1}, {u"\xD83D\xDE00", 1, 2}}},
        {"a symbol is a word", u"C#", {{u"c", 0, 1}, {u"#", 1, 1}}},
        {"punctuation inside", u"a+b", {{u"a", 0, 1}, {u"b", 2, 1}}},
        {"surrogates behind a symbol", u"#\xD800\xDC00", {{u"#\xD800\xDC00", 0, 3}}},
        {"a fraction",
         u"x\u00BCy",
         {{u"x", 0, 1}, {u"1", 1, 1}, {u"\u2044", 2, 0}, {u"4", 2, 0}, {u"y", 2, 1}}},
        {"a circled number", u"a\u2460b", {{u"a", 0, 1}, {u"1", 1, 1}, {u"b", 2, 1}}},
        {"full-width letters", u"\uFF21\uFF22", {{u"ab", 0, 2}}},
        {"an ideographic number begins a run", u"\u3007ab", {{u"\u3007ab", 0, 3}}},
        {"an apostrophe is a gap", u"don't", {{u"don", 0, 3}, {u"t", 4, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Mapped(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStub, KeepsLaterWordsOfAnExpansionBehindTheCharacter)
{
    std::vector<MappedWord> const words = Mapped(u"\uFDFA!");
    ASSERT_EQ(words.size(), 4U);
    EXPECT_EQ(words[0].mStart, 0U);
    EXPECT_EQ(words[0].mRawLength, 1U);
    for (size_t i = 1; i < 4; ++i) {
        EXPECT_EQ(words[i].mStart, 1U);
        EXPECT_EQ(words[i].mRawLength, 0U);
    }

    // The last of them runs on into the raw text.
    std::vector<MappedWord> const more = Mapped(u"x\uFDFAb\u0301 ");
    ASSERT_EQ(more.size(), 4U);
    EXPECT_EQ(more[0].mWord, u'x' + words[0].mWord);
    EXPECT_EQ(more[0].mRawLength, 2U);
    EXPECT_EQ(more[3], (MappedWord{words[3].mWord + u'b', 2, 2}));
}

TEST(CUnicodeWordDelimiterStub, ReplacesLoneSurrogates)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::vector<MappedWord> mWords;
    } const cases[] = {
        {"low", u"\xDC00", {{u"\u2590", 0, 1}}},
        {"low behind letters", u"ab\xDC00", {{u"ab", 0, 2}, {u"\u2590", 2, 1}}},
        {"two low ones", u"\xDC00\xDC01", {{u"\u2590", 0, 1}, {u"\u2590", 1, 1}}},
        {"high before a letter",
         u"\xD800"
         "a",
         {{u"\u258C", 0, 1}, {u"a", 1, 1}}},
        {"flagged high before a letter",
         u"\xD83D"
         "a",
         {{u"\u258C", 0, 1}, {u"a", 1, 1}}},
        {"flagged high before a gap", u"\xD83D ", {{u"\u258C", 0, 1}}},
        {"high before a pair", u"\xD800\xD800\xDC00", {{u"\u258C\xD800\xDC00", 0, 3}}},
        {"low behind a pair", u"\xD800\xDC00\xDC01", {{u"\xD800\xDC00", 0, 2}, {u"\u2590", 2, 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Mapped(c.mText), c.mWords);
    }
}

TEST(CUnicodeWordDelimiterStub, KeepsALoneHighSurrogateAtTheEnd)
{
    EXPECT_EQ(Mapped(u"\xD800"), (std::vector<MappedWord>{{u"\xD800", 0, 1}}));
    EXPECT_EQ(Mapped(u"a \xD83D"), (std::vector<MappedWord>{{u"a", 0, 1}, {u"\xD83D", 2, 1}}));
    EXPECT_EQ(Mapped(u"\xD83D\xD83D"), (std::vector<MappedWord>{{u"\u258C\xD83D", 0, 2}}));
}

TEST(CUnicodeWordDelimiterStub, KeepsAFlaggedHighSurrogateWithTheOneUnitBeforeIt)
{
    EXPECT_EQ(Mapped(u"#\xD83D\xDE00"),
              (std::vector<MappedWord>{{u"#\xD83D", 0, 2}, {u"\u2590", 2, 1}}));
    EXPECT_EQ(Mapped(u"\xD800\xD83D\xDE00"),
              (std::vector<MappedWord>{{u"\u258C\xD83D", 0, 2}, {u"\u2590", 2, 1}}));
    // Two raw units before it, and it is whole.
    EXPECT_EQ(Mapped(u"#\u0301\xD83D\xDE00"),
              (std::vector<MappedWord>{{u"#", 0, 2}, {u"\xD83D\xDE00", 2, 2}}));
}

TEST(CUnicodeWordDelimiterStub, TakesMarksAsWordsWhereTheTableLeavesThem)
{
    EXPECT_EQ(Unmapped(u"e\u0301x"),
              (std::vector<MappedWord>{{u"e", 0, 1}, {u"\u0301", 1, 1}, {u"x", 2, 1}}));
    EXPECT_EQ(Unmapped(u"\u3099\u3099"),
              (std::vector<MappedWord>{{u"\u3099", 0, 1}, {u"\u3099", 1, 1}}));
}

TEST(CUnicodeWordDelimiterStub, ReplacesALoneSurrogateInTheRestOfAnExpansion)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable table;
    MapByHand(table, {{'x', u"a\xDC00"}, {'y', u"#\xDC00\xD83D"}});
    EXPECT_EQ(MappedWords(delimiter, u"xy", table),
              (std::vector<MappedWord>{
                  {u"a", 0, 1}, {u"\u2590", 1, 0}, {u"#", 1, 1}, {u"\u2590\xD83D", 2, 0}}));
}

TEST(CUnicodeWordDelimiterStub, TakesAMappingOfMoreThan128UnitsForADeletion)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable table;
    MapByHand(table, {{'x', std::u16string(128, u'e')}, {'y', std::u16string(129, u'e')}});
    EXPECT_EQ(MappedWords(delimiter, u"y axyby", table),
              (std::vector<MappedWord>{{u'a' + std::u16string(128, u'e') + u'b', 2, 5}}));
}

TEST(CUnicodeWordDelimiterStub, MapsTheLookAheadAgain)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable& table = *CUnicodeMappingTable::GetDefaultTable();
    amortizedmemblock block;
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    std::u16string const text = u"ab\u00BC \u0301";
    auto next = [&] {
        return delimiter.GetNextMappedWordInRawText(text.data(),
                                                    static_cast<unsigned int>(text.size()), table,
                                                    start, rawLength, block, mappedLength);
    };
    ASSERT_TRUE(next());
    EXPECT_EQ(UnitsIn(block), u"ab");
    ASSERT_TRUE(next());
    EXPECT_EQ(UnitsIn(block), u"1\u20444 ");
    EXPECT_EQ(mappedLength, 1U);
    ASSERT_TRUE(next());
    EXPECT_EQ(UnitsIn(block), u"\u20444 ");
    EXPECT_EQ(rawLength, 0U);
    ASSERT_TRUE(next());
    EXPECT_EQ(UnitsIn(block), u"4 ");
    ASSERT_FALSE(next());
    EXPECT_EQ(UnitsIn(block), u"");
    EXPECT_EQ(start, 5U);
    // The blank was mapped on the way, and that shows.
    EXPECT_EQ(rawLength, 1U);
    EXPECT_EQ(mappedLength, 0U);
    EXPECT_FALSE(next());
    EXPECT_EQ(start, 6U);
}

TEST(CUnicodeWordDelimiterStub, AllocatesNothingOnceTheBlockHasGrown)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable& table = *CUnicodeMappingTable::GetDefaultTable();
    std::u16string text;
    for (int i = 0; i < 400; ++i)
        text += std::u16string(static_cast<size_t>(i * 37 % 401), u'\u00C4') + u" \uFDFA#";
    amortizedmemblock block;
    char const* storage = nullptr;
    for (int round = 0; round < 2; ++round) {
        unsigned int start = 0;
        unsigned int rawLength = 0;
        unsigned int mappedLength = 0;
        block.reset();
        while (delimiter.GetNextMappedWordInRawText(text.data(),
                                                    static_cast<unsigned int>(text.size()), table,
                                                    start, rawLength, block, mappedLength)) {
            ASSERT_TRUE(round == 0 || block.data() == storage);
        }
        storage = block.data();
    }
}

// What a walk keeps with a table must go with the table's content.
TEST(CUnicodeWordDelimiterStub, GoesByWhatTheTableHoldsNow)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable table;
    std::u16string const text = u"Stone \u4E00\u0430 " + std::u16string(40, u'-');
    auto const firstWord = [&] { return MappedWords(delimiter, text, table).front().mWord; };
    for (TextKernels const* const level : WordLevels()) {
        SCOPED_TRACE(level->mName);
        StTextKernels const guard(*level);
        EXPECT_EQ(firstWord(), u"Stone");
        MapByHand(table, {{u'o', u"u"}});
        EXPECT_EQ(firstWord(), u"Stune");
        MapByHand(table, {{u'o', u" "}});
        EXPECT_EQ(firstWord(), u"St");
        table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
            {CUnicodeMappingTable::GetCaseFoldingTable()}, {});
        EXPECT_EQ(firstWord(), u"stone");
        table.UnloadMappingTable();
        EXPECT_EQ(firstWord(), u"Stone");
    }
}

TEST(CUnicodeWordDelimiterStub, TakesWordsOfAnyLength)
{
    // Growth and the block's own giving back of storage, at every length around its limits.
    for (size_t length : {127UL, 128UL, 129UL, 511UL, 512UL, 513UL, 100000UL}) {
        SCOPED_TRACE(length);
        std::u16string const word(length, u'\u00DF');
        auto const size = static_cast<unsigned int>(length);
        EXPECT_EQ(Mapped(word + u" x" + word),
                  (std::vector<MappedWord>{
                      {std::u16string(2 * length, u's'), 0, size},
                      {u'x' + std::u16string(2 * length, u's'), size + 1, size + 1}}));
    }
}

TEST(CUnicodeWordDelimiterStub, StandsVariablesThatPointPastTheText)
{
    CUnicodeWordDelimiterStub delimiter;
    CUnicodeMappingTable& table = *CUnicodeMappingTable::GetDefaultTable();
    CExactText const text(u"ab");
    amortizedmemblock block;
    block.append("x\0y\0z\0", 6);
    unsigned int start = 100;
    unsigned int rawLength = 7;
    unsigned int mappedLength = 1;
    EXPECT_TRUE(delimiter.GetNextMappedWordInRawText(text.Units(), text.Length(), table, start,
                                                     rawLength, block, mappedLength));
    EXPECT_EQ(start, 107U);
    EXPECT_EQ(rawLength, 0U);
    EXPECT_EQ(mappedLength, 2U);
    // More units than the block has.
    mappedLength = 9;
    EXPECT_FALSE(delimiter.GetNextMappedWordInRawText(text.Units(), text.Length(), table, start,
                                                      rawLength, block, mappedLength));
    unsigned int wordLength = 3;
    EXPECT_FALSE(delimiter.GetNextWord(text.Units(), text.Length(), start, wordLength));

    // With a block as the quick ways want it, they too must see where the text ends.
    constexpr unsigned int kHighest = ~0U;
    for (TextKernels const* const level : WordLevels()) {
        SCOPED_TRACE(level->mName);
        StTextKernels const guard(*level);
        for (unsigned int const position : {2U, 3U, kHighest - 40, kHighest}) {
            for (unsigned int const span : {0U, 1U, kHighest}) {
                block.resize(256);
                block.resize(0);
                start = position;
                rawLength = span;
                mappedLength = 0;
                EXPECT_FALSE(delimiter.GetNextMappedWordInRawText(
                    text.Units(), text.Length(), table, start, rawLength, block, mappedLength));
                EXPECT_EQ(start, position + span);
            }
        }
    }
}

}  // namespace
