#include "marl/tables/UpperCase.h"

#include <gtest/gtest.h>

#include "testing/CUnicodeDatabase.h"

namespace {

TEST(UpperCase, MapsEveryUnitByTheUnicodeData)
{
    CUnicodeDatabase const* const database = CUnicodeDatabase::Get();
    if (!database) GTEST_SKIP() << CUnicodeDatabase::kMissing;
    int mapped = 0;
    for (char32_t code = 0; code < 0x10000; ++code) {
        char32_t const upper = database->At(code).mUpper;
        char32_t const expected = upper == 0 || upper > 0xFFFF ? code : upper;
        ASSERT_EQ(expected, SimpleUpperCase(static_cast<char16_t>(code)));
        mapped += expected != code;
    }
    EXPECT_EQ(1185, mapped);
}

TEST(UpperCase, MapsOneUnitToOneUnit)
{
    struct
    {
        char const* mWhat;
        char16_t mUnit;
        char16_t mUpper;
    } const cases[] = {
        {"ascii", u'a', u'A'},
        {"already upper", u'A', u'A'},
        {"latin", u'ä', u'Ä'},
        {"sharp s has no simple upper case", u'ß', u'ß'},
        {"y with diaeresis leaves its page", u'ÿ', u'Ÿ'},
        {"micro sign", u'µ', u'\u039C'},
        {"dotless i", u'ı', u'I'},
        {"final sigma", u'ς', u'Σ'},
        {"titlecase", u'\u01C5', u'\u01C4'},
        {"georgian", u'\u10D0', u'\u1C90'},
        {"cherokee", u'\uAB70', u'\u13A0'},
        {"surrogate", char16_t{0xD801}, char16_t{0xD801}},
        {"last unit", u'\uFFFF', u'\uFFFF'},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mUpper, SimpleUpperCase(c.mUnit));
    }
}

}  // namespace
