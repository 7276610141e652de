#include "testing/StLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

StLocale::StLocale(std::string const& source, std::string const& charset)
    : mName(source == "C" ? source : source + "." + charset)
    , mIsThere(source == "C")
{
    if (mIsThere) return;
    std::string const command = "localedef --no-archive -c -i " + source + " -f " + charset + " " +
                                mFolder.Path(mName) + " >/dev/null 2>&1";
    // The exit code is 1 for mere warnings too, so what it made is looked at.
    bool const hasRun = std::system(command.c_str()) != -1;
    mIsThere = hasRun && mFolder.Has(mName + "/LC_TIME");
}

void StLocale::Run(std::function<void()> const& body) const
{
    std::fflush(nullptr);
    pid_t const child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        setenv("LOCPATH", mFolder.Path().c_str(), 1);
        setenv("LC_ALL", mName.c_str(), 1);
        EXPECT_NE(std::setlocale(LC_ALL, ""), nullptr);
        body();
        std::fflush(nullptr);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "in the locale " << mName;
}
