#include "marl/basic_binstream.h"

#include "marl/HierarchicalException.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

std::string Content(memblock const& block)
{
    return {block.data(), block.data() + block.size()};
}

// Expects that `action` throws the stream's exception with this category.
template <class Action>
void ExpectFailure(int category, Action action)
{
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (HierarchicalException const& e) {
        ASSERT_EQ(e.levels.size(), 1u);
        EXPECT_EQ(e.levels[0].signature, basic_binstream::kSignature);
        EXPECT_EQ(e.levels[0].category, category);
    }
}

std::u16string AllUnits()
{
    std::u16string text;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        text += static_cast<char16_t>(unit);
    return text;
}

std::string AllBytes()
{
    std::string text;
    for (int byte = 0; byte <= 0xFF; ++byte)
        text += static_cast<char>(byte);
    return text;
}

}  // namespace

TEST(basic_binstream, HasTheCursorsFixedValues)
{
    EXPECT_EQ(basic_binstream::cursor_from_start, 0);
    EXPECT_EQ(basic_binstream::cursor_from_end, 1);
    EXPECT_EQ(basic_binstream::cursor_from_current, 2);
}

TEST(basic_binstream, ReadsWhatItWrote)
{
    std::vector<std::u16string> const texts = {
        u"abc", u"", std::u16string(1, u'\0'), u"\xD800", u"\xDE00\xD83D", AllUnits(), u"", u"end"};
    memblock block;
    basic_binstream stream(block);
    for (std::u16string const& text : texts)
        EXPECT_EQ(&(stream << text), &stream);
    for (std::u16string const& text : texts)
        stream << std::string(text.begin(), text.end()).substr(0, 5);
    stream << AllBytes();
    stream.SetCursorPos(0, basic_binstream::cursor_from_start);
    for (std::u16string const& text : texts) {
        std::u16string read = u"former";
        EXPECT_EQ(&(stream >> read), &stream);
        EXPECT_EQ(read, text);
    }
    for (std::u16string const& text : texts) {
        std::string read = "former";
        stream >> read;
        EXPECT_EQ(read, std::string(text.begin(), text.end()).substr(0, 5));
    }
    std::string bytes;
    stream >> bytes;
    EXPECT_EQ(bytes, AllBytes());
    EXPECT_EQ(stream.GetCursorPos(), block.size());
}

TEST(basic_binstream, HasTheFormatThatIsPublished)
{
    memblock block;
    basic_binstream stream(block);
    stream << std::u16string(u"a\u1234") << std::string("xy");
    EXPECT_EQ(Content(block), std::string("\2\0\0\0a\0\x34\x12\2\0\0\0xy", 14));
}

TEST(basic_binstream, OverwritesAndGrows)
{
    memblock block;
    basic_binstream stream(block);
    stream << std::u16string(u"abcdef");
    stream.SetCursorPos(4, basic_binstream::cursor_from_start);
    stream.Write("X\0", 2);
    stream.SetCursorPos(-2, basic_binstream::cursor_from_end);
    stream.Write("Y\0Z\0", 4);
    EXPECT_EQ(block.size(), 18u);
    stream.SetCursorPos(0, basic_binstream::cursor_from_start);
    std::u16string text;
    stream >> text;
    EXPECT_EQ(text, u"XbcdeY");
    EXPECT_EQ(stream.GetCursorPos(), 16u);
}

TEST(basic_binstream, RefusesAStringCutAnywhere)
{
    memblock whole;
    basic_binstream writer(whole);
    writer << std::u16string(u"abc");
    ASSERT_EQ(whole.size(), 10u);
    for (unsigned long size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        memblock cut;
        cut.append(whole.data(), size);
        basic_binstream stream(cut);
        std::u16string text = u"former";
        ExpectFailure(basic_binstream::kPastEnd, [&] { stream >> text; });
        EXPECT_EQ(text, u"former");
        EXPECT_EQ(stream.GetCursorPos(), 0u);
        std::string bytes = "former";
        // As bytes the three units need only half of what is there.
        if (size < 7) {
            ExpectFailure(basic_binstream::kPastEnd, [&] { stream >> bytes; });
            EXPECT_EQ(bytes, "former");
            EXPECT_EQ(stream.GetCursorPos(), 0u);
        }
    }
}

TEST(basic_binstream, RefusesLengthsThatRunPastTheEnd)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        bool mIsLegal8bit;
    } const cases[] = {
        {"one unit too many", std::string("\4\0\0\0abcdef", 10), true},
        {"half a unit", std::string("\1\0\0\0a", 5), true},
        {"one byte too many", std::string("\7\0\0\0abcdef", 10), false},
        {"as a number with a sign it is negative",
         std::string("\xFF\xFF\xFF\xFF"
                     "abcdef",
                     10),
         false},
        {"twice it is 0 in 32 bits",
         std::string("\0\0\0\x80"
                     "abcdef",
                     10),
         false},
        {"twice it is 2 in 32 bits",
         std::string("\1\0\0\x80"
                     "abcdef",
                     10),
         false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        memblock block;
        block.append(c.mBytes.data(), c.mBytes.size());
        basic_binstream stream(block);
        std::u16string text = u"former";
        ExpectFailure(basic_binstream::kPastEnd, [&] { stream >> text; });
        EXPECT_EQ(text, u"former");
        EXPECT_EQ(stream.GetCursorPos(), 0u);
        std::string bytes = "former";
        if (c.mIsLegal8bit) {
            stream >> bytes;
        } else {
            ExpectFailure(basic_binstream::kPastEnd, [&] { stream >> bytes; });
            EXPECT_EQ(bytes, "former");
            EXPECT_EQ(stream.GetCursorPos(), 0u);
        }
    }
}

TEST(basic_binstream, ReadsRawBytesWholeOrNotAtAll)
{
    memblock block;
    block.append("abcdef", 6);
    basic_binstream stream(block);
    char bytes[8] = "";
    stream.Read(bytes, 4);
    EXPECT_EQ(std::string(bytes), "abcd");
    ExpectFailure(basic_binstream::kPastEnd, [&] { stream.Read(bytes, 3); });
    ExpectFailure(basic_binstream::kPastEnd, [&] { stream.Read(bytes, ULONG_MAX); });
    EXPECT_EQ(std::string(bytes), "abcd");
    EXPECT_EQ(stream.GetCursorPos(), 4u);
    stream.Read(bytes, 2);
    stream.Read(nullptr, 0);
    ExpectFailure(basic_binstream::kPastEnd, [&] { stream.Read(bytes, 1); });
    stream.Write(nullptr, 0);
    EXPECT_EQ(block.size(), 6u);
    ExpectFailure(basic_binstream::kTooLong, [&] { stream.Write(bytes, ULONG_MAX); });
    EXPECT_EQ(Content(block), "abcdef");
}

TEST(basic_binstream, SeeksInsideItsData)
{
    struct
    {
        char const* mWhat;
        long long mOffset;
        int mReference;
        long mPosition;  // -1 where it is refused
    } const cases[] = {
        {"the start", 0, 0, 0},
        {"from the start", 7, 0, 7},
        {"the end from the start", 10, 0, 10},
        {"behind the end from the start", 11, 0, -1},
        {"before the start", -1, 0, -1},
        {"the end", 0, 1, 10},
        {"before the end", -3, 1, 7},
        {"the start from the end", -10, 1, 0},
        {"before the start from the end", -11, 1, -1},
        {"behind the end", 1, 1, -1},
        {"here", 0, 2, 4},
        {"further on", 6, 2, 10},
        {"too far on", 7, 2, -1},
        {"back", -4, 2, 0},
        {"too far back", -5, 2, -1},
        {"an unknown reference is the start", 3, 77, 3},
        {"as far as a number goes", LLONG_MAX, 2, -1},
        {"as far back as a number goes", LLONG_MIN, 1, -1},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        memblock block;
        block.resize(10);
        basic_binstream stream(block);
        stream.SetCursorPos(4, basic_binstream::cursor_from_start);
        auto const reference = static_cast<basic_binstream::cursorref_type>(c.mReference);
        if (c.mPosition >= 0) {
            stream.SetCursorPos(c.mOffset, reference);
            EXPECT_EQ(stream.GetCursorPos(), static_cast<unsigned long>(c.mPosition));
        } else {
            ExpectFailure(basic_binstream::kBadCursor,
                          [&] { stream.SetCursorPos(c.mOffset, reference); });
            EXPECT_EQ(stream.GetCursorPos(), 4u);
        }
    }
}

TEST(basic_binstream, ReadsFromABlockThatIsEmpty)
{
    memblock block;
    basic_binstream stream(block);
    std::u16string text = u"former";
    ExpectFailure(basic_binstream::kPastEnd, [&] { stream >> text; });
    stream.SetCursorPos(0, basic_binstream::cursor_from_end);
    EXPECT_EQ(stream.GetCursorPos(), 0u);
    stream << std::u16string();
    stream.SetCursorPos(0, basic_binstream::cursor_from_start);
    stream >> text;
    EXPECT_EQ(text, u"");
}
