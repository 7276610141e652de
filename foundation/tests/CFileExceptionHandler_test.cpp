#include "foundation/CFileExceptionHandler.h"

#include "marl/HierarchicalException.h"
#include "testing/FailureOf.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

constexpr unsigned int kFileSignature = 0x66696C65;

}  // namespace

TEST(CFileExceptionHandler, ThrowsTheCategoryOfTheError)
{
    struct
    {
        char const* mWhat;
        int mError;
        int mCategory;
    } const cases[] = {
        {"ENAMETOOLONG", ENAMETOOLONG, 1},
        {"ENOENT", ENOENT, 2},
        {"ENOTDIR", ENOTDIR, 3},
        {"EACCES", EACCES, 5},
        {"EROFS", EROFS, 5},
        {"EAGAIN", EAGAIN, 5},
        {"EWOULDBLOCK", EWOULDBLOCK, 5},
        {"EEXIST", EEXIST, 6},
        {"EPERM", EPERM, 7},
        {"EIO", EIO, 100},
        {"ENOSPC", ENOSPC, 100},
        {"EISDIR", EISDIR, 100},
        {"EINTR", EINTR, 100},
        {"EBUSY", EBUSY, 100},
        {"ELOOP", ELOOP, 100},
        {"no errno at all", -2, 100},
        {"a number that nobody knows", 123456, 100},
    };

    CFileExceptionHandler const handler;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Failure const expected{kFileSignature, c.mCategory, 8, c.mError};
        EXPECT_EQ(FailureOf([&] { handler.ThrowFileException(c.mError, 8, "/a/b"); }), expected);
        EXPECT_EQ(FailureOf([&] { handler.ThrowFileException(c.mError, 8, u"/a/b"); }), expected);
    }
}

TEST(CFileExceptionHandler, HasNoCategoryFour)
{
    CFileExceptionHandler const handler;
    for (int error = -10; error < 4096; ++error) {
        SCOPED_TRACE(error);
        EXPECT_NE(FailureOf([&] { handler.ThrowFileException(error, 1, "/"); }).mCategory, 4);
    }
}

TEST(CFileExceptionHandler, ThrowsOneRecordWithThePath)
{
    CFileExceptionHandler const handler;
    try {
        handler.ThrowFileException(ENOENT, 2, std::string("/a/\xC3\xA9"));
        FAIL() << "nothing was thrown";
    } catch (HierarchicalException const& e) {
        ASSERT_EQ(e.levels.size(), 1u);
        EXPECT_EQ(e.levels[0].context, 2);
        EXPECT_EQ(e.levels[0].text, "/a/\xC3\xA9");
    }
}

TEST(CFileExceptionHandler, WritesPathsInUTF8)
{
    struct
    {
        char const* mWhat;
        std::u16string mPath;
        char const* mText;
    } const cases[] = {
        {"an empty path", u"", ""},
        {"ASCII", u"/a/b", "/a/b"},
        {"two and three bytes", u"/\u00E9\u20AC", "/\xC3\xA9\xE2\x82\xAC"},
        {"a pair of surrogates", u"/\xD83D\xDE00", "/\xF0\x9F\x98\x80"},
        {"a lone surrogate", u"/\xD83D/", "/\xEF\xBF\xBD/"},
    };

    CFileExceptionHandler const handler;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(FailureTextOf([&] { handler.ThrowFileException(EIO, 1, c.mPath); }), c.mText);
    }
}

TEST(CFileExceptionHandler, ReturnsWithoutAnError)
{
    CFileExceptionHandler const handler;
    EXPECT_NO_THROW(handler.ThrowFileException(0, 2, std::string("/a")));
    EXPECT_NO_THROW(handler.ThrowFileException(0, 2, std::u16string(u"/a")));
}
