#include "loamctl/CPhraseFinder.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "loamctl/CDocument.h"
#include "loamctl/CWordWalk.h"
#include "marl/amortizedmemblock.h"

namespace {

using Hits = std::vector<std::pair<std::size_t, std::size_t>>;

Hits Find(std::u16string const& needle, std::u16string const& text)
{
    CPhraseFinder finder(SplitIntoWords(needle));
    finder.SetText(text);
    Hits result;
    for (Span hit; finder.Next(hit);)
        result.emplace_back(hit.mStart, hit.mEnd);
    return result;
}

// All words of a line first, and then the phrase among them.
void CollectPlainly(std::u16string_view text,
                    Span line,
                    std::vector<std::u16string> const& phrase,
                    Hits& hits)
{
    std::vector<std::u16string> words;
    std::vector<Span> spans;
    amortizedmemblock block;
    CWordWalk walk(text.substr(line.mStart, line.mEnd - line.mStart), block);
    while (walk.Next()) {
        words.emplace_back(walk.GetWord());
        spans.push_back({line.mStart + walk.GetSpan().mStart, line.mStart + walk.GetSpan().mEnd});
    }
    std::size_t end = line.mStart;
    for (std::size_t i = 0; i + phrase.size() <= words.size();) {
        if (!std::equal(phrase.begin(), phrase.end(), &words[i])) {
            ++i;
            continue;
        }
        Span const hit{spans[i].mStart, spans[i + phrase.size() - 1].mEnd};
        if (hit.mStart >= end) {
            hits.emplace_back(hit.mStart, hit.mEnd);
            end = hit.mEnd;
        }
        i += phrase.size();
    }
}

TEST(CPhraseFinder, FindsWholeWords)
{
    struct
    {
        char const* mWhat;
        char16_t const* mNeedle;
        char16_t const* mText;
        Hits mHits;
    } const cases[] = {
        {"a word", u"cafe", u"le caf\u00e9.", {{3, 7}}},
        {"with the marks on its end", u"cafe", u"cafe\u0301 x", {{0, 5}}},
        {"at the end of the text", u"cafe", u"a cafe", {{2, 6}}},
        {"not inside a word", u"cafe", u"cafes decafe", {}},
        {"several in a line", u"a", u"a b a", {{0, 1}, {4, 5}}},
        {"a phrase", u"new york", u"in New York, New-York", {{3, 11}, {13, 21}}},
        {"not across a word", u"new york", u"new old york", {}},
        {"not across a line end", u"new york", u"new\nyork", {}},
        {"a phrase that begins late", u"a a b", u"a a a b", {{2, 7}}},
        {"lines with a candidate and no hit between", u"ab", u"ab\nabc\nab", {{0, 2}, {7, 9}}},
        {"CR LF", u"ab", u"ab\r\nab", {{0, 2}, {4, 6}}},
        {"a whole ligature", u"fi", u"\uFB01 \uFB01n", {{0, 1}}},
        {"not half a ligature", u"f", u"\uFB01", {}},
        {"ideographs are words", u"\u6708", u"\u660e\u6708\u5149", {{1, 2}}},
        {"symbols are words", u"C#", u"in C# and C", {{3, 5}}},
        {"pictographs are words", u"\U0001F600", u"\U0001F600\U0001F600", {{0, 2}, {2, 4}}},
        {"out of an expansion", u"1", u"a\u2460b", {{1, 2}}},
        {"a later word of an expansion", u"\u0639\u0644\u064a\u0647", u"x \uFDFA y", {{2, 3}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Find(c.mNeedle, c.mText), c.mHits);
    }
}

TEST(CPhraseFinder, AgreesWithTheWordsOfEachLine)
{
    char16_t const* const pieces[] = {u"a",  u"b",      u"A",       u" ",     u"-",
                                      u"\n", u"\u2460", u"a\u0301", u"\uFDFA"};
    std::mt19937 random(20240303);
    std::size_t hits = 0;
    for (char16_t const* const needle : {u"a", u"a b", u"a a", u"a b a", u"1"}) {
        std::vector<std::u16string> const phrase = SplitIntoWords(needle);
        for (int round = 0; round < 300; ++round) {
            std::u16string text;
            for (std::size_t count = random() % 40; count > 0; --count)
                text += pieces[random() % std::size(pieces)];
            Hits expected;
            for (std::size_t start = 0; start <= text.size();) {
                Span const line{start, std::min(text.find(u'\n', start), text.size())};
                CollectPlainly(text, line, phrase, expected);
                start = line.mEnd + 1;
            }
            ASSERT_EQ(Find(needle, text), expected) << round;
            hits += expected.size();
        }
    }
    EXPECT_GT(hits, 1000U);
}

TEST(CPhraseFinder, FindsTheSameInADocument)
{
    CDocument document;
    CPhraseFinder finder(SplitIntoWords(u"new york"));
    for (std::string const text :
         {"in New York, New-York\nnew\nyork\nnew york", "NEW YORKERS", "\u00e4 new york", ""}) {
        document.Read(text);
        finder.SetDocument(document);
        Hits result;
        for (Span hit; finder.Next(hit);)
            result.emplace_back(hit.mStart, hit.mEnd);
        EXPECT_EQ(result, Find(u"new york", std::u16string(document.GetText())));
    }
}

TEST(CPhraseFinder, BeginsAnewWithEachText)
{
    CPhraseFinder finder({u"a"});
    std::u16string const first = u"a a a";
    std::u16string const second = u"b a";
    Span hit;
    finder.SetText(first);
    ASSERT_TRUE(finder.Next(hit));
    finder.SetText(second);
    ASSERT_TRUE(finder.Next(hit));
    EXPECT_EQ(hit.mStart, 2U);
    EXPECT_FALSE(finder.Next(hit));
}

TEST(SplitIntoWords, GivesFoldedWords)
{
    EXPECT_EQ(SplitIntoWords(u" Caf\u00e9-Bar! "), (std::vector<std::u16string>{u"cafe", u"bar"}));
    EXPECT_TRUE(SplitIntoWords(u" .,- ").empty());
    EXPECT_TRUE(SplitIntoWords(u"").empty());
}

}  // namespace
