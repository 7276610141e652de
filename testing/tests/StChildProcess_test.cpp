#include "testing/StChildProcess.h"

#include <csignal>
#include <stdexcept>

#include <gtest/gtest.h>
#include <unistd.h>

TEST(StChildProcess, SpeaksWithTheTestLineByLine)
{
    StChildProcess child([](CTestLink& parent) {
        parent.Say("first");
        parent.Say("");
        parent.Say(parent.Hear() + " too");
    });
    EXPECT_EQ(child.Hear(), "first");
    EXPECT_EQ(child.Hear(), "");
    child.Say("me");
    EXPECT_EQ(child.Hear(), "me too");
    EXPECT_EQ(child.Hear(), "(gone)");
    EXPECT_EQ(child.WaitForEnd(), 0);
}

TEST(StChildProcess, HasAnIdentifierOfItsOwn)
{
    StChildProcess child([](CTestLink& parent) { parent.Say(std::to_string(getpid())); });
    EXPECT_EQ(child.Hear(), std::to_string(child.Id()));
    EXPECT_NE(child.Id(), getpid());
}

TEST(StChildProcess, SaysWhichExceptionEndedIt)
{
    StChildProcess child([](CTestLink&) { throw std::runtime_error("went wrong"); });
    EXPECT_EQ(child.Hear(), "exception: went wrong");
}

TEST(StChildProcess, TellsTheSignalThatEndedIt)
{
    StChildProcess child([](CTestLink&) { raise(SIGKILL); });
    EXPECT_EQ(child.Hear(), "(gone)");
    EXPECT_EQ(child.WaitForEnd(), SIGKILL);
}

TEST(StChildProcess, CanBeKilled)
{
    StChildProcess child([](CTestLink& parent) { parent.Hear(); });
    child.Kill();
    EXPECT_EQ(child.Hear(), "(gone)");
    EXPECT_EQ(kill(child.Id(), 0), -1);
}

TEST(StChildProcess, IsKilledAtTheEndOfItsScope)
{
    pid_t id = 0;
    {
        StChildProcess const child([](CTestLink& parent) { parent.Hear(); });
        id = child.Id();
    }
    EXPECT_EQ(kill(id, 0), -1);
}
