#include "testing/CUnicodeDatabase.h"

#include <gtest/gtest.h>

namespace {

TEST(CUnicodeDatabase, ReadsWhatTheFilesSay)
{
    CUnicodeDatabase const* const database = CUnicodeDatabase::Get();
    if (!database) GTEST_SKIP() << CUnicodeDatabase::kMissing;
    EXPECT_EQ("Ll", database->At(U'\u00E4').mCategory);
    EXPECT_EQ(U"a\u0308", database->At(U'\u00E4').mDecomposition);
    EXPECT_EQ("", database->At(U'\u00E4').mTag);
    EXPECT_EQ(U'\u00C4', database->At(U'\u00E4').mUpper);
    EXPECT_EQ("compat", database->At(U'\uFB01').mTag);
    EXPECT_EQ(U"fi", database->At(U'\uFB01').mDecomposition);
    EXPECT_EQ("Lo", database->At(U'\u4E01').mCategory) << "inside a range";
    EXPECT_EQ("Cn", database->At(U'\u0378').mCategory);
    EXPECT_EQ(U"ss", database->Fold(U'ß'));
    EXPECT_EQ(U"i\u0307", database->Fold(U'\u0130'));
    EXPECT_EQ(U"a", database->Fold(U'a'));
}

}  // namespace
