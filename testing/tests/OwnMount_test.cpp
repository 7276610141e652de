#include "testing/OwnMount.h"

#include "testing/StChildProcess.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

TEST(OwnMount, IsThereForThisProcessAlone)
{
    StTempDir const folder;
    StChildProcess const child([&folder](CTestLink& parent) {
        if (!MountOwnFileSystem(folder.Path().c_str(), "size=64k")) return parent.Say("refused");
        folder.Write("file", "text");
        parent.Say(folder.Read("file"));
        parent.Hear();
    });
    std::string const heard = child.Hear();
    if (heard == "refused") GTEST_SKIP() << "no file system of our own";
    EXPECT_EQ(heard, "text");
    EXPECT_FALSE(folder.Has("file"));
}

TEST(OwnMount, AnswersFalseWhereNothingCanBePut)
{
    StChildProcess const child([](CTestLink& parent) {
        parent.Say(MountOwnFileSystem("/no/such/place", "") ? "mounted" : "refused");
    });
    EXPECT_EQ(child.Hear(), "refused");
}
