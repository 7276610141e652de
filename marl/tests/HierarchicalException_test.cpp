#include "marl/HierarchicalException.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>

namespace {

constexpr unsigned int kFile = 0x66696C65;

}  // namespace

TEST(HierarchicalException, CarriesOneRecord)
{
    HierarchicalException const e(kFile, 2, 5, ENOENT, "/a/b");
    ASSERT_EQ(e.levels.size(), 1u);
    EXPECT_EQ(e.levels[0].signature, kFile);
    EXPECT_EQ(e.levels[0].category, 2);
    EXPECT_EQ(e.levels[0].context, 5);
    EXPECT_EQ(e.levels[0].osError, ENOENT);
    EXPECT_EQ(e.levels[0].text, "/a/b");
}

TEST(HierarchicalException, IsCompleteWithoutAText)
{
    std::string const* const none = nullptr;
    HierarchicalException const e(kFile, 100, 1, 0, none);
    ASSERT_EQ(e.levels.size(), 1u);
    EXPECT_EQ(e.levels[0].signature, kFile);
    EXPECT_EQ(e.levels[0].category, 100);
    EXPECT_EQ(e.levels[0].text, "");
    EXPECT_STREQ(e.what(), "file: category 100 in operation 1");
}

TEST(HierarchicalException, TakesACopyOfAnOptionalText)
{
    auto text = std::make_unique<std::string>("shm_open");
    HierarchicalException const e(kFile, 100, 1, 0, text.get());
    text.reset();
    EXPECT_EQ(e.levels[0].text, "shm_open");
}

TEST(HierarchicalException, RendersARecordInOneLine)
{
    struct
    {
        char const* mWhat;
        HierarchicalException mException;
        std::string mLine;
    } const cases[] = {
        {"all there is",
         {kFile, 2, 5, ENOENT, "/a/b"},
         std::string("file: category 2 in operation 5, error ") + std::to_string(ENOENT) +
             " (No such file or directory): /a/b"},
        {"no platform error", {0x63686376, 1, 2, 0, ""}, "chcv: category 1 in operation 2"},
        {"no platform call",
         {kFile, 100, 12, -2, ""},
         "file: category 100 in operation 12, error -2"},
        {"a signature that isn't text",
         {0x00417FFF, 0, 0, 0, ""},
         "?A??: category 0 in operation 0"},
        {"a text of several lines",
         {kFile, 1, 1, 0, "a\nb\tc\x7F"},
         "file: category 1 in operation 1: a\\x0Ab\\x09c\\x7F"},
        {"a text in UTF-8",
         {kFile, 1, 1, 0, "\xC3\xA9"},
         "file: category 1 in operation 1: \xC3\xA9"},
        {"a zero byte",
         {kFile, 1, 1, 0, std::string("a\0b", 3)},
         "file: category 1 in operation 1: a\\x00b"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mException.what(), c.mLine);
        EXPECT_EQ(c.mException.message, c.mLine);
    }
}

TEST(HierarchicalException, AddsRecordsOutwards)
{
    HierarchicalException e(kFile, 2, 5, 0, "inner");
    e.AddLevel({0x41424344, 7, 8, 0, "outer"});
    ASSERT_EQ(e.levels.size(), 2u);
    EXPECT_EQ(e.levels[0].text, "inner");
    EXPECT_EQ(e.levels[1].signature, 0x41424344u);
    EXPECT_STREQ(e.what(),
                 "file: category 2 in operation 5: inner; ABCD: category 7 in operation 8: outer");
}

TEST(HierarchicalException, IsCopiedWhole)
{
    auto original = std::make_unique<HierarchicalException>(kFile, 2, 5, 0, "inner");
    original->AddLevel({0x41424344, 7, 8, 9, "outer"});
    std::string const line = original->what();
    HierarchicalException const copy(*original);
    HierarchicalException assigned(0, 0, 0, 0, nullptr);
    assigned = *original;
    original.reset();
    for (HierarchicalException const* e :
         {&copy, static_cast<HierarchicalException const*>(&assigned)}) {
        ASSERT_EQ(e->levels.size(), 2u);
        EXPECT_EQ(e->levels[0].text, "inner");
        EXPECT_EQ(e->levels[1].osError, 9);
        EXPECT_EQ(e->what(), line);
    }
}

TEST(HierarchicalException, CanBeKeptOnTheHeapAndThrownLater)
{
    auto const kept = std::make_unique<HierarchicalException>(0x4E657443, 7, 7, -1, nullptr);
    try {
        throw HierarchicalException(*kept);
    } catch (HierarchicalException const& e) {
        EXPECT_NE(&e, kept.get());
        EXPECT_EQ(e.levels[0].category, 7);
        EXPECT_EQ(e.levels[0].osError, -1);
    }
}

TEST(HierarchicalException, IsAStandardException)
{
    static_assert(std::has_virtual_destructor_v<HierarchicalException>);
    try {
        throw HierarchicalException(kFile, 2, 5, 0, "/a");
    } catch (std::exception const& e) {
        EXPECT_STREQ(e.what(), "file: category 2 in operation 5: /a");
    }
}

TEST(HierarchicalException, LeavesErrnoAlone)
{
    errno = EPIPE;
    HierarchicalException const e(kFile, 100, 1, 12345, "/a");
    EXPECT_EQ(errno, EPIPE);
    EXPECT_NE(std::strstr(e.what(), "error 12345"), nullptr);
}
