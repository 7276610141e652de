#include "loamctl/DisplayText.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(DisplayText, ShowsControlsSafely)
{
    struct
    {
        char const* mWhat;
        std::string mRaw;
        char const* mText;
        char const* mName;
    } const cases[] = {
        {"plain", "Caf\u00e9 \U0001F600", "Caf\u00e9 \U0001F600", "Caf\u00e9 \U0001F600"},
        {"tab", "a\tb", "a\tb", "a\\tb"},
        {"line ends", "a\r\nb", "a\\r\\nb", "a\\r\\nb"},
        {"escape", "\x1b[31m", "\\x1b[31m", "\\x1b[31m"},
        {"delete", "\x7f", "\\x7f", "\\x7f"},
        {"C1 controls",
         "\u009b"
         "1m\u0080\u00a0",
         "\\u009b1m\\u0080\u00a0", "\\u009b1m\\u0080\u00a0"},
        {"direction", "a\u202eb", "a\u202eb", "a\\u202eb"},
        {"isolates", "\u2066\u2069", "\u2066\u2069", "\\u2066\\u2069"},
        {"empty", "", "", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(SafeText(c.mRaw), c.mText);
        EXPECT_EQ(SafeName(c.mRaw), c.mName);
    }
}

TEST(DisplayText, GroupsAndCounts)
{
    EXPECT_EQ(Grouped(0), "0");
    EXPECT_EQ(Grouped(999), "999");
    EXPECT_EQ(Grouped(1000), "1,000");
    EXPECT_EQ(Grouped(1234567), "1,234,567");
    EXPECT_EQ(Counted(1, "file", "files"), "1 file");
    EXPECT_EQ(Counted(0, "file", "files"), "0 files");
}

TEST(DisplayText, TellsSizes)
{
    EXPECT_EQ(SizeForPeople(0), "0 bytes");
    EXPECT_EQ(SizeForPeople(1), "1 byte");
    EXPECT_EQ(SizeForPeople(999), "999 bytes");
    EXPECT_EQ(SizeForPeople(1000), "1.0 KB");
    EXPECT_EQ(SizeForPeople(999949), "999.9 KB");
    EXPECT_EQ(SizeForPeople(999950), "1.0 MB");
    EXPECT_EQ(SizeForPeople(3400000000), "3.4 GB");
    EXPECT_EQ(SizeForPeople(5000000000000000), "5000.0 TB");
}

}  // namespace
