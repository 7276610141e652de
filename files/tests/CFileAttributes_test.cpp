#include "files/tests/FileTestTools.h"
#include "testing/ScriptedFilePlatform.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

// A file on a file system that takes attributes.
class CFileAttributes : public testing::Test
{
protected:
    void SetUp() override
    {
        mFile.SetExtendedAttribute("probe", "1");
        std::string value;
        if (!mFile.GetExtendedAttribute("probe", value)) {
            GTEST_SKIP() << "this file system has no extended attributes";
        }
        mFile.ClearExtendedAttribute("probe");
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names = {"left over"};
        EXPECT_TRUE(mFile.GetExtendedAttributeList(names));
        return names;
    }

    StTempDir mFolder;
    CFile mFile{Spec(mFolder.Write("file", "text"))};
};

}  // namespace

TEST_F(CFileAttributes, AreSetReadListedAndCleared)
{
    EXPECT_THAT(Names(), IsEmpty());
    mFile.SetExtendedAttribute("com.example.a", "first");
    mFile.SetExtendedAttribute("com.example.a", "second");
    mFile.SetExtendedAttribute("caf\xC3\xA9", std::string("a\0b", 3));
    mFile.SetExtendedAttribute("empty", "");
    EXPECT_THAT(Names(), UnorderedElementsAre("com.example.a", "caf\xC3\xA9", "empty"));

    std::string value;
    EXPECT_TRUE(mFile.GetExtendedAttribute("com.example.a", value));
    EXPECT_EQ(value, "second");
    EXPECT_TRUE(mFile.GetExtendedAttribute("caf\xC3\xA9", value));
    EXPECT_EQ(value, std::string("a\0b", 3));
    EXPECT_TRUE(mFile.GetExtendedAttribute("empty", value));
    EXPECT_EQ(value, "");

    mFile.ClearExtendedAttribute("com.example.a");
    mFile.ClearExtendedAttribute("empty");
    EXPECT_THAT(Names(), ElementsAre("caf\xC3\xA9"));
    value = "left over";
    EXPECT_FALSE(mFile.GetExtendedAttribute("com.example.a", value));
    EXPECT_EQ(value, "");
}

TEST_F(CFileAttributes, NeedAnExistingFile)
{
    CFile missing(Spec(mFolder.Path("no")));
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    std::string value = "left over";
    std::vector<std::string> names = {"left over"};
    missing.SetExtendedAttribute("a", "b");
    missing.ClearExtendedAttribute("a");
    missing.SetQuarantine();
    EXPECT_FALSE(missing.GetExtendedAttribute("a", value));
    EXPECT_FALSE(missing.GetExtendedAttributeList(names));
    EXPECT_EQ(value, "");
    EXPECT_THAT(names, IsEmpty());
    EXPECT_THAT(platform.Calls(), IsEmpty());
}

TEST_F(CFileAttributes, FollowLinks)
{
    fs::create_symlink("file", mFolder.Path("link"));
    CFile link(Spec(mFolder.Path("link")));
    link.SetExtendedAttribute("a", "b");
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(CFileAttributes, BelongToTheUserUnlessTheirNameSaysMore)
{
    mFile.SetExtendedAttribute("a", "1");
    mFile.SetExtendedAttribute("user.b", "2");
    char value[2] = {};
    EXPECT_EQ(getxattr(PathOf(mFile).c_str(), "user.a", value, 1), 1);
    EXPECT_STREQ(value, "1");
    EXPECT_THAT(Names(), UnorderedElementsAre("a", "b"));

    std::string read;
    EXPECT_TRUE(mFile.GetExtendedAttribute("b", read));
    EXPECT_EQ(read, "2");
    EXPECT_TRUE(mFile.GetExtendedAttribute("user.a", read));
    EXPECT_EQ(read, "1");
    mFile.ClearExtendedAttribute("b");
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(CFileAttributes, OfOtherNamespacesAreReadButNotListed)
{
    mFile.SetExtendedAttribute("trusted.loam", "t");
    mFile.SetExtendedAttribute("a", "1");
    std::string value;
    if (!mFile.GetExtendedAttribute("trusted.loam", value)) {
        GTEST_SKIP() << "only root has the namespace trusted.";
    }
    EXPECT_EQ(value, "t");
    EXPECT_THAT(Names(), ElementsAre("a"));
    mFile.ClearExtendedAttribute("trusted.loam");
    EXPECT_FALSE(mFile.GetExtendedAttribute("trusted.loam", value));
}

TEST_F(CFileAttributes, DropFailuresOfSettingAndClearing)
{
    mFile.SetExtendedAttribute(std::string(256, 'n'), "too long a name");
    mFile.SetExtendedAttribute("big", std::string(1 << 20, 'v'));
    mFile.SetExtendedAttribute("", "no name");
    mFile.ClearExtendedAttribute("no");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(CFileAttributes, ThatVanishBetweenSizeAndContentAreNotThere)
{
    mFile.SetExtendedAttribute("a", "value");
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    std::string value = "left over";
    std::vector<std::string> names = {"left over"};
    platform.Fail("GetAttribute", 2);
    EXPECT_FALSE(mFile.GetExtendedAttribute("a", value));
    EXPECT_EQ(value, "");
    platform.Fail("ListAttributes", 2);
    EXPECT_FALSE(mFile.GetExtendedAttributeList(names));
    EXPECT_THAT(names, IsEmpty());
    platform.Fail("ListAttributes", 1);
    EXPECT_FALSE(mFile.GetExtendedAttributeList(names));
}

TEST_F(CFileAttributes, ThatComeBetweenSizeAndContentAreNotThere)
{
    mFile.SetExtendedAttribute("of a length that is more than a short text", "value");
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.mAttributeSize = 0;
    std::string value = "left over";
    EXPECT_TRUE(mFile.GetExtendedAttribute("of a length that is more than a short text", value));
    EXPECT_EQ(value, "");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(CFileAttributes, AreHandedOverAsTheyAre)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    std::string const path = PathOf(mFile);
    mFile.SetExtendedAttribute("a", "value");
    mFile.ClearExtendedAttribute("a");
    EXPECT_THAT(platform.Calls(), ElementsAre("SetAttribute(" + path + ", a, value)",
                                              "SetAttribute(" + path + ", a, null)"));
}

TEST(CFileMarks, HaveNoEffectHere)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.SetExcludeFromBackups(true);
    EXPECT_FALSE(file.GetExcludeFromBackups());
    file.SetQuarantine();
    std::vector<std::string> names;
    file.GetExtendedAttributeList(names);
    EXPECT_THAT(names, IsEmpty());
}

TEST(CFileMarks, AreThePlatforms)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    std::string const path = PathOf(file);
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    file.SetExcludeFromBackups(true);
    EXPECT_TRUE(file.GetExcludeFromBackups());
    file.SetExcludeFromBackups(false);
    EXPECT_FALSE(file.GetExcludeFromBackups());
    file.SetQuarantine();
    EXPECT_THAT(platform.Calls(),
                ElementsAre("SetBackupExclusion(" + path + ", true)",
                            "GetBackupExclusion(" + path + ")",
                            "SetBackupExclusion(" + path + ", false)",
                            "GetBackupExclusion(" + path + ")", "SetQuarantine(" + path + ")"));
}
