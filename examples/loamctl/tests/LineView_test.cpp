#include "loamctl/LineView.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(LineView, CutsAroundTheHit)
{
    std::u16string const plain(1000, u'x');
    std::u16string marks = plain;
    marks[300 - 25] = u'\u0301';  // where the view would begin
    marks[300 + 75] = u'\u0301';  // where it would end
    std::u16string pairs;
    for (int i = 0; i < 500; ++i)
        pairs += u"\U0001F600";

    struct
    {
        char const* mWhat;
        std::u16string const* mText;
        Span mHit;
        std::size_t mLimit;
        Span mView;
    } const cases[] = {
        {"all without a limit", &plain, {300, 304}, 0, {0, 1000}},
        {"all where it is short enough", &plain, {300, 304}, 1000, {0, 1000}},
        {"in the middle", &plain, {300, 304}, 100, {275, 375}},
        {"at the start", &plain, {0, 4}, 100, {0, 100}},
        {"near the start", &plain, {10, 14}, 100, {0, 100}},
        {"at the end", &plain, {996, 1000}, 100, {900, 1000}},
        {"a hit longer than the view", &plain, {300, 600}, 100, {275, 375}},
        {"a limit of 1", &plain, {300, 304}, 1, {300, 301}},
        {"not in front of a mark", &marks, {300, 304}, 100, {276, 374}},
        {"not inside a pair", &pairs, {302, 304}, 101, {278, 378}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Span const view = ViewOfLine(*c.mText, {0, c.mText->size()}, c.mHit, c.mLimit);
        EXPECT_EQ(view.mStart, c.mView.mStart);
        EXPECT_EQ(view.mEnd, c.mView.mEnd);
    }
}

TEST(LineView, StaysInItsLine)
{
    std::u16string const text = std::u16string(50, u'a') + u'\n' + std::u16string(50, u'b');
    Span const view = ViewOfLine(text, {51, 101}, {52, 53}, 20);
    EXPECT_EQ(view.mStart, 51U);
    EXPECT_EQ(view.mEnd, 71U);
}

}  // namespace
