#include "marl/stringhelpers.h"

#include "testing/CUnicodeDatabase.h"

#include <gtest/gtest.h>

#include <string>

TEST(stringhelpers, UpperCasesEveryUnitBySimpleMapping)
{
    CUnicodeDatabase const* const database = CUnicodeDatabase::Get();
    if (!database) GTEST_SKIP() << CUnicodeDatabase::kMissing;
    int mapped = 0;
    for (char32_t code = 0; code <= 0xFFFF; ++code) {
        auto const unit = static_cast<char16_t>(code);
        char32_t const upper = database->At(code).mUpper;
        char16_t const expected =
            upper != 0 && upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
        std::u16string text(1, unit);
        ConvToUpper(text);
        EXPECT_EQ(text, std::u16string(1, expected)) << static_cast<unsigned>(code);
        if (text[0] != unit) ++mapped;
    }
    EXPECT_GT(mapped, 1000);
}

TEST(stringhelpers, UpperCasesTextInPlace)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::u16string mUpper;
    } const cases[] = {
        {"nothing", u"", u""},
        {"ASCII", u"az AZ 09 @[`{", u"AZ AZ 09 @[`{"},
        {"Latin", u"\u00E9\u00FF\u00DF\u00B5", u"\u00C9\u0178\u00DF\u039C"},
        {"Greek and Cyrillic", u"\u03B1\u03C2\u0436", u"\u0391\u03A3\u0416"},
        {"the dotless i, whatever the locale", u"\u0131i", u"II"},
        {"surrogates stay", u"\xD801\xDC28", u"\xD801\xDC28"},
        {"a zero", std::u16string(u"a\0b", 3), std::u16string(u"A\0B", 3)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::u16string text = c.mText;
        ConvToUpper(text);
        EXPECT_EQ(text, c.mUpper);
    }
}

TEST(stringhelpers, UpperCasesOnlyTheASCIILettersOfBytes)
{
    for (int code = 0; code <= 0xFF; ++code) {
        auto const byte = static_cast<char>(code);
        std::string text(3, byte);
        ConvToUpper(text);
        char const expected =
            code >= 'a' && code <= 'z' ? static_cast<char>(code - 'a' + 'A') : byte;
        EXPECT_EQ(text, std::string(3, expected)) << code;
    }
    std::string empty;
    ConvToUpper(empty);
    EXPECT_EQ(empty, "");
}

TEST(stringhelpers, AppendsAUnitForEachByte)
{
    std::u16string text = u"@";
    appendstring(&text, "041");
    EXPECT_EQ(text, u"@041");
    appendstring(&text, "");
    EXPECT_EQ(text, u"@041");
    for (int code = 0; code <= 0xFF; ++code) {
        std::u16string one;
        appendstring(&one, std::string(1, static_cast<char>(code)));
        EXPECT_EQ(one, std::u16string(1, static_cast<char16_t>(code)));
    }
}
