// Announcing services and looking for them.

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StEnvironment.h"
#include "testing/StServiceDaemon.h"

namespace {

using testing::HasSubstr;

// loamctl with its streams.
struct Running
{
    explicit Running(std::vector<std::string> const& arguments)
        : mChild(arguments, mOutput.In(), mError.In())
    {
        mOutput.CloseIn();
        mError.CloseIn();
    }

    StChannel mOutput = StChannel::Pipe();
    StChannel mError = StChannel::Pipe();
    StLoamctl mChild;
};

TEST(Services, ComeAndGo)
{
    StServiceDaemon const daemon;
    if (!daemon.IsRunning()) GTEST_SKIP() << daemon.WhyNot();

    Running browse({"browse", "_loam._tcp"});
    Running browseJSON({"browse", "_loam._tcp", "--json"});
    Running announce({"announce", "My \x1b[1mscans", "_loam._tcp", "8000", "b=2", "a="});
    EXPECT_EQ(announce.mOutput.ReadUntil("\n"),
              "announced My \\x1b[1mscans as _loam._tcp at port 8000\n");
    EXPECT_THAT(browse.mOutput.ReadUntil("on this machine  b=2  a=\n"),
                HasSubstr("+ My \\x1b[1mscans  loamhost.local.:8000  on this machine  b=2  a=\n"));
    EXPECT_THAT(browseJSON.mOutput.ReadUntil("\"interface\":\"this machine\"}\n"),
                HasSubstr(R"({"type":"service","added":true,"name":"My \u001b[1mscans",)"
                          R"("host":"loamhost.local.","port":8000,"txt":[["b","2"],["a",""]],)"
                          R"("interface":"this machine"})"));

    announce.mChild.Signal(SIGINT);
    EXPECT_EQ(announce.mChild.Wait(), 130);
    EXPECT_FALSE(announce.mChild.WasKilled());
    EXPECT_EQ(announce.mError.ReadAll(), "loamctl: stopped by signal 2\n");
    EXPECT_THAT(browse.mOutput.ReadUntil("- My"), HasSubstr("- My"));

    browse.mChild.Signal(SIGTERM);
    EXPECT_EQ(browse.mChild.Wait(), 143);
    EXPECT_FALSE(browse.mChild.WasKilled());
}

TEST(Services, AreAnErrorWithoutADaemon)
{
    StEnvironment const noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus");
    RunResult const announced = RunLoamctl({"announce", "Scans", "_http._tcp", "80"});
    EXPECT_EQ(announced.mExitCode, 2);
    EXPECT_EQ(announced.mError, "loamctl: Scans can't be announced\n");
    RunResult const browsed = RunLoamctl({"browse", "_http._tcp"});
    EXPECT_EQ(browsed.mExitCode, 2);
    EXPECT_EQ(browsed.mError, "loamctl: services of type _http._tcp can't be looked for\n");
}

TEST(Services, RefuseWhatMakesNoSense)
{
    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
    } const cases[] = {
        {"no type", {"announce", "x"}},
        {"no port", {"announce", "x", "_http._tcp"}},
        {"port 0", {"announce", "x", "_http._tcp", "0"}},
        {"a large port", {"announce", "x", "_http._tcp", "65536"}},
        {"no value", {"announce", "x", "_http._tcp", "80", "key"}},
        {"nothing to look for", {"browse"}},
        {"two types", {"browse", "_http._tcp", "_ipp._tcp"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl(c.mArguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_THAT(result.mError, HasSubstr("loamctl --help"));
    }
}

}  // namespace
