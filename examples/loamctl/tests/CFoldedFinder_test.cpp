#include "loamctl/CFoldedFinder.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "loamctl/CDocument.h"
#include "text/CUnicodeMappingTable.h"

namespace {

using Hits = std::vector<std::pair<std::size_t, std::size_t>>;

Hits AllHits(CFoldedFinder& finder)
{
    Hits result;
    for (Span hit; finder.Next(hit);)
        result.emplace_back(hit.mStart, hit.mEnd);
    return result;
}

Hits FindAll(CFoldedFinder& finder, std::u16string const& text)
{
    finder.SetText(text);
    return AllHits(finder);
}

Hits Find(std::u16string const& needle, std::u16string const& text)
{
    CFoldedFinder finder(FoldNeedle(needle));
    return FindAll(finder, text);
}

// The plain rule: map the whole text, look at every place, lead back through the offsets.
Hits FindPlainly(std::u16string const& folded, std::u16string const& text)
{
    std::u16string mapped;
    std::vector<int> offsets;
    CUnicodeMappingTable::GetDefaultTable()->MapText(text.data(), static_cast<int>(text.size()),
                                                     mapped, offsets);
    Hits result;
    int end = 0;
    for (std::size_t at = 0; at + folded.size() <= mapped.size(); ++at) {
        if (offsets[at] < end || mapped.compare(at, folded.size(), folded) != 0) continue;
        std::size_t behind = at + folded.size();
        while (offsets[behind] == offsets[at + folded.size() - 1])
            ++behind;
        end = offsets[behind];
        result.emplace_back(offsets[at], end);
    }
    return result;
}

TEST(CFoldedFinder, FindsFoldedTextAtItsRawPlace)
{
    struct
    {
        char const* mWhat;
        char16_t const* mNeedle;
        char16_t const* mText;
        Hits mHits;
    } const cases[] = {
        {"plain", u"cafe", u"a cafe", {{2, 6}}},
        {"case", u"CaFe", u"cAfE", {{0, 4}}},
        {"composed", u"cafe", u"Caf\u00e9!", {{0, 4}}},
        {"decomposed, with its mark", u"cafe", u"Cafe\u0301!", {{0, 5}}},
        {"a needle with marks", u"cafe\u0301", u"cafe", {{0, 4}}},
        {"two marks at the end of the text", u"e", u"e\u0323\u0301", {{0, 3}}},
        {"marks before a hit are not in it", u"b", u"a\u0301b", {{2, 3}}},
        {"sharp s", u"strasse", u"Stra\u00dfe", {{0, 6}}},
        {"sharp s in the needle", u"stra\u00dfe", u"STRASSE", {{0, 7}}},
        {"half a sharp s takes it whole", u"stras", u"Stra\u00dfe", {{0, 5}}},
        {"the other half", u"se", u"Stra\u00dfe", {{4, 6}}},
        {"ligature", u"find", u"\uFB01nd", {{0, 3}}},
        {"the end of a ligature", u"ice", u"of\uFB01ce", {{2, 5}}},
        {"the middle of a ligature", u"f", u"a\uFB03b", {{1, 2}}},
        {"a mark on half a ligature", u"f", u"\uFB01\u0301x", {{0, 2}}},
        {"full width", u"cafe", u"\uFF23\uFF21\uFF26\uFF25", {{0, 4}}},
        {"pictograph", u"\U0001F600", u"a\U0001F600b", {{1, 3}}},
        {"not another pictograph", u"\U0001F600", u"\U0001F601", {}},
        {"circled digit", u"1", u"a\u2460", {{1, 2}}},
        {"circled digit as needle", u"\u2460", u"x1y", {{1, 2}}},
        {"ligature of a sentence", u"\u0639\u0644\u064a\u0647", u"\uFDFA", {{0, 1}}},
        {"across two long expansions", u"\u0645 \u0635\u0644", u"\uFDFA \uFDFA", {{0, 3}}},
        {"one unit", u"x", u"xx", {{0, 1}, {1, 2}}},
        {"no overlap", u"aa", u"aaaaa", {{0, 2}, {2, 4}}},
        {"after a false start", u"aab", u"aaab", {{1, 4}}},
        {"blanks", u"a b", u"a\u00a0b", {{0, 3}}},
        {"blanks at the ends count", u" b ", u"ab b ", {{2, 5}}},
        {"at the very end", u"ab", u"xxxxxxxxab", {{8, 10}}},
        {"longer than the text", u"abc", u"ab", {}},
        {"empty text", u"a", u"", {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Find(c.mNeedle, c.mText), c.mHits);
        EXPECT_EQ(FindPlainly(FoldNeedle(c.mNeedle), c.mText), c.mHits);
    }
}

TEST(CFoldedFinder, FindsAtEveryOffset)
{
    CFoldedFinder finder(u"cafe");
    for (std::size_t before = 0; before < 32; ++before) {
        for (std::size_t behind = 0; behind < 8; ++behind) {
            SCOPED_TRACE(before);
            std::u16string const text =
                std::u16string(before, u'x') + u"Cafe\u0301" + std::u16string(behind, u'x');
            EXPECT_EQ(FindAll(finder, text), (Hits{{before, before + 5}}));
        }
    }
}

TEST(CFoldedFinder, AgreesWithThePlainRule)
{
    // Units that fold, vanish, expand and surround themselves with blanks.
    std::u16string const units = u"aAbsS \n\u00e4\u00df\u0301\u0323\uFB01\uFB03fi\u2460"
                                 u"1\u00bd\uFDFA\u0644\u0635\uFF21\u0345\u03b9\u01C4\U0001F600";
    std::mt19937 random(20240229);
    auto const any = [&random](std::size_t count) { return random() % count; };
    auto const anyText = [&](std::size_t length) {
        std::u16string text;
        for (; length > 0; --length)
            text += units[any(units.size())];
        return text;
    };
    std::size_t hits = 0;
    for (int round = 0; round < 500; ++round) {
        std::u16string const raw = anyText(1 + any(4));
        std::u16string const needle = FoldNeedle(raw);
        if (needle.empty()) continue;
        CFoldedFinder finder(needle);
        for (int i = 0; i < 50; ++i) {
            std::u16string const text = anyText(any(20)) + raw + anyText(any(20));
            Hits const found = FindAll(finder, text);
            ASSERT_EQ(found, FindPlainly(needle, text)) << "round " << round << ", text " << i;
            hits += found.size();
        }
    }
    EXPECT_GT(hits, 20000U);
}

TEST(CFoldedFinder, FindsTheSameInTheBytesOfASCII)
{
    // Letters of the needles in both cases, and what differs from a letter by the bit of case.
    std::string const characters = "aAbBzZ@`[{ 0\n\x7f";
    std::mt19937 random(20240301);
    auto const anyText = [&](std::size_t length) {
        std::string text;
        for (; length > 0; --length)
            text += characters[random() % characters.size()];
        return text;
    };
    CDocument document;
    std::size_t hits = 0;
    for (int round = 0; round < 100; ++round) {
        std::string const raw = anyText(1 + random() % (round % 10 == 0 ? 80 : 3));
        CFoldedFinder finder(FoldNeedle({raw.begin(), raw.end()}));
        for (int i = 0; i < 20; ++i) {
            std::string const text = anyText(random() % 200) + raw + anyText(random() % 200);
            document.Read(text);
            Hits const expected = FindAll(finder, {text.begin(), text.end()});
            finder.SetDocument(document);
            ASSERT_EQ(AllHits(finder), expected) << "round " << round << ", text " << i;
            hits += expected.size();
        }
    }
    EXPECT_GT(hits, 10000U);
}

TEST(CFoldedFinder, FindsNothingBeyondASCIIInBytesOfIt)
{
    CDocument document;
    document.Read("strasse, cafe, 123");
    for (char16_t const* const needle : {u"\u0444", u"caf\u0444", u"a\u0444"}) {
        CFoldedFinder finder(FoldNeedle(needle));
        finder.SetDocument(document);
        EXPECT_EQ(AllHits(finder), Hits());
    }
    CFoldedFinder finder(FoldNeedle(u"stra\u00dfe"));
    finder.SetDocument(document);
    EXPECT_EQ(AllHits(finder), (Hits{{0, 7}}));
    // And in another text, from its start.
    document.Read("\u00e4 strasse");
    finder.SetDocument(document);
    EXPECT_EQ(AllHits(finder), (Hits{{2, 9}}));
}

TEST(CFoldedFinder, GoesOnWhereItIsToldTo)
{
    CFoldedFinder finder(u"a");
    std::u16string const text = u"aaaa";
    finder.SetText(text);
    Span hit;
    ASSERT_TRUE(finder.Next(hit));
    finder.SkipTo(3);
    ASSERT_TRUE(finder.Next(hit));
    EXPECT_EQ(hit.mStart, 3U);
    EXPECT_FALSE(finder.Next(hit));
    finder.SetText(text);
    ASSERT_TRUE(finder.Next(hit));
    EXPECT_EQ(hit.mStart, 0U);
}

TEST(FoldNeedle, DropsTheBlanksOfExpansionsOnly)
{
    struct
    {
        char const* mWhat;
        char16_t const* mRaw;
        char16_t const* mFolded;
    } const cases[] = {
        {"plain", u"Caf\u00e9", u"cafe"},
        {"circled", u"\u2460", u"1"},
        {"fraction", u"\u00bd",
         u"1\u2044"
         u"2"},
        {"squared", u"\u338f", u"kg"},
        {"inside", u"a\u2460b", u"a 1 b"},
        {"own blanks", u" a ", u" a "},
        {"no-break space", u"\u00a0a", u" a"},
        {"marks alone", u"\u0301\u0323", u""},
        {"empty", u"", u""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(FoldNeedle(c.mRaw), c.mFolded);
    }
}

}  // namespace
