#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

TEST(StTempDir, IsEmptyAndItsOwn)
{
    StTempDir const first;
    StTempDir const second;
    EXPECT_NE(first.Path(), second.Path());
    EXPECT_TRUE(fs::is_empty(first.Path()));
}

TEST(StTempDir, GivesBackWhatWasWritten)
{
    StTempDir const folder;
    EXPECT_EQ(folder.Write("a/b.txt", std::string("x\0y", 3)), folder.Path() + "/a/b.txt");
    EXPECT_EQ(folder.Read("a/b.txt"), std::string("x\0y", 3));
    EXPECT_TRUE(folder.Has("a/b.txt"));
    EXPECT_FALSE(folder.Has("a/c.txt"));
}

TEST(StTempDir, GoesAwayWithAllItHolds)
{
    std::string path;
    {
        StTempDir const folder;
        path = folder.Path();
        folder.Write("locked/file", "x");
        fs::permissions(folder.Path("locked"), fs::perms::none);
        fs::create_symlink("nowhere", folder.Path("dangling"));
    }
    EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
}
