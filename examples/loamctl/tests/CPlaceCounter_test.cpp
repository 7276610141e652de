#include "loamctl/CPlaceCounter.h"

#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "files/CFileSpec.h"
#include "loamctl/CDocument.h"
#include "loamctl/DisplayText.h"
#include "loamctl/LineView.h"
#include "loamctl/Lines.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

TEST(CPlaceCounter, CountsBytesLinesAndColumns)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        std::size_t mUnit;
        Place mPlace;
    } const cases[] = {
        {"start", "abc", 0, {0, 1, 1}},
        {"end", "abc", 3, {3, 1, 4}},
        {"behind all lengths", "a\u00e9\u20ac\U0001F600x", 5, {10, 1, 5}},
        {"behind the mark of UTF-8",
         "\xEF\xBB\xBF"
         "abc",
         1,
         {4, 1, 2}},
        {"LF", "a\nb", 2, {2, 2, 1}},
        {"CR LF", "a\r\nbc", 4, {4, 2, 2}},
        {"CR", "a\rb", 2, {2, 2, 1}},
        {"CR at the end", "a\r", 2, {2, 2, 1}},
        {"CR CR LF LF", "\r\r\n\nb", 4, {4, 4, 1}},
        {"UTF-16LE", "\xFF\xFE" + AsUTF16(u"a\n\U0001F600x", false), 4, {10, 2, 2}},
        {"UTF-16BE", "\xFE\xFF" + AsUTF16(u"\u20ac", true), 1, {4, 1, 2}},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CDocument document;
        document.Read(CFileSpec(folder.Write("file", c.mBytes), false));
        CPlaceCounter at(document);
        CPlaceCounter step(document);
        for (std::size_t unit = 0; unit < c.mUnit; ++unit)
            step.At(unit);
        for (Place const& place : {at.At(c.mUnit), step.At(c.mUnit)}) {
            EXPECT_EQ(place.mOffset, c.mPlace.mOffset);
            EXPECT_EQ(place.mLine, c.mPlace.mLine);
            EXPECT_EQ(place.mColumn, c.mPlace.mColumn);
        }
    }
}

TEST(CPlaceCounter, CountsTheSameInStepsOfAnySize)
{
    std::u16string const units = u"aab \r\n\u00e9\u07ff\u0800\uffff";
    std::mt19937 random(20240302);
    auto const anyText = [&](bool ascii) {
        std::u16string text;
        for (std::size_t length = random() % 400; length > 0; --length) {
            char16_t const unit = units[random() % (ascii ? 6 : units.size())];
            text += unit;
            if (!ascii && unit == u'a') text += u"\U0001F600";
            // Lines that are longer than a block too.
            if (unit == u' ') text += std::u16string(random() % 150, u'x');
        }
        return text;
    };
    CDocument document;
    for (int round = 0; round < 300; ++round) {
        std::u16string const text = anyText(round % 3 == 0);
        document.Read(round % 3 == 1 ? "\xFF\xFE" + AsUTF16(text, false) : ToUTF8(text));
        ASSERT_EQ(document.GetText(), text);
        CPlaceCounter inSteps(document);
        CPlaceCounter inOne(document);
        CPlaceCounter inJumps(document);
        std::size_t jump = 0;
        for (std::size_t unit = 0; unit <= text.size(); ++unit) {
            Place const place = inSteps.At(unit);
            if (unit < jump && unit < text.size()) continue;
            jump = unit + random() % 300;
            Place const other = unit == text.size() ? inOne.At(unit) : inJumps.At(unit);
            ASSERT_EQ(std::tie(place.mOffset, place.mLine, place.mColumn),
                      std::tie(other.mOffset, other.mLine, other.mColumn))
                << "round " << round << ", unit " << unit;
        }
    }
}

TEST(Lines, EndBeforeTheirLineEnds)
{
    std::u16string const text = u"ab\r\ncd\ref\n";

    struct
    {
        char const* mWhat;
        std::size_t mUnit;
        Span mLine;
    } const cases[] = {
        {"first", 1, {0, 2}},
        {"behind CR LF", 4, {4, 6}},
        {"behind CR", 8, {7, 9}},
        {"end of the text", 10, {10, 10}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Span const line = LineAround(text, c.mUnit);
        EXPECT_EQ(line.mStart, c.mLine.mStart);
        EXPECT_EQ(line.mEnd, c.mLine.mEnd);
    }
}

}  // namespace
