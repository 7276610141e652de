// `loamctl serve` and `fetch`, run as a user would, and clients that know nothing of either.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "loamctl/tests/RunLoamctl.h"
#include "marl/HierarchicalException.h"
#include "net/CNetConnection.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;

// A server of a folder on a port of this machine.
class StServer
{
public:
    explicit StServer(std::string const& folder,
                      std::vector<std::string> const& options = {"--port", "0"})
        : mChannel(StChannel::Pipe())
        , mLoamctl(ArgumentsOf(folder, options), mChannel.In(), STDERR_FILENO)
    {
        mChannel.CloseIn();
        std::string const told = mChannel.ReadUntil("\n");
        mPort = told.substr(told.rfind(' ') + 1);
        mPort.pop_back();
    }

    std::string const& Port() const { return mPort; }

    void Connect(CNetConnection& connection) const
    {
        connection.ResolveRemoteHost("127.0.0.1", static_cast<unsigned short>(std::stoi(mPort)));
        connection.Connect(5);
    }

    RunResult Fetch(std::vector<std::string> const& lines) const
    {
        std::vector<std::string> arguments{"fetch", "127.0.0.1", mPort};
        arguments.insert(arguments.end(), lines.begin(), lines.end());
        return RunLoamctl(arguments);
    }

    int Stop()
    {
        mLoamctl.Signal(SIGINT);
        return mLoamctl.Wait();
    }

    bool WasKilled() const { return mLoamctl.WasKilled(); }

private:
    static std::vector<std::string> ArgumentsOf(std::string const& folder,
                                                std::vector<std::string> const& options)
    {
        std::vector<std::string> arguments{"serve", folder};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }

    StChannel mChannel;
    StLoamctl mLoamctl;
    std::string mPort;
};

class Serve : public testing::Test
{
protected:
    Serve()
    {
        mFolder.Write("docs/a.txt", "Café\ncafe au lait\n");
        mFolder.Write("docs/in/b.bin", std::string("b\0", 2));
        mFolder.Write("secret.txt", "cafe\n");
        EXPECT_EQ(symlink("../secret.txt", mFolder.Path("docs/out").c_str()), 0);
    }

    StTempDir mFolder;
};

std::string AnswerTo(CNetConnection& connection, std::string const& question)
{
    connection.SendData(question, 5);
    std::string line;
    connection.ReceiveLine(&line, 60, 0);
    return line;
}

}  // namespace

TEST_F(Serve, AnswersWordsSearchesAndFacts)
{
    StServer server(mFolder.Path("docs"));
    RunResult const found =
        server.Fetch({"search cafe", "words a.txt", "facts in/b.bin", "facts in"});
    EXPECT_EQ(found.mExitCode, 0) << found.mError;
    auto const hits = ParseLines(found.mOutput, "hit");
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0]["path"], "a.txt");
    EXPECT_EQ(hits[0]["text"], "Café");
    EXPECT_EQ(hits[1]["line"], 2);
    auto const words = ParseLines(found.mOutput, "word");
    ASSERT_EQ(words.size(), 4u);
    EXPECT_EQ(words[3]["word"], "lait");
    EXPECT_EQ(words[3]["offset"], 14);
    auto const facts = ParseLines(found.mOutput, "entry");
    ASSERT_EQ(facts.size(), 2u);
    EXPECT_EQ(facts[0]["path"], "in/b.bin");
    EXPECT_EQ(facts[0]["kind"], "binary");
    EXPECT_EQ(facts[0]["bytes"], 2);
    EXPECT_EQ(facts[1]["kind"], "folder");
    EXPECT_EQ(ParseLines(found.mOutput, "end").size(), 4u);
    EXPECT_EQ(server.Fetch({"words none.txt"}).mExitCode, 2);
    EXPECT_EQ(server.Fetch({"quit"}).mExitCode, 1);
}

TEST_F(Serve, LetsNobodyLookOutside)
{
    StServer server(mFolder.Path("docs"));
    for (std::string const& path :
         {std::string("../secret.txt"), std::string("out"), mFolder.Path("secret.txt"),
          std::string("/etc/passwd"), std::string("in/../../secret.txt"), std::string("none")}) {
        SCOPED_TRACE(path);
        EXPECT_THAT(server.Fetch({"words " + path, "facts " + path}).mOutput,
                    testing::MatchesRegex("(\\{\"type\":\"error\",\"reason\":\"no such file or "
                                          "folder\"\\}\n)+"));
    }
    EXPECT_THAT(server.Fetch({"search secret"}).mOutput, testing::Not(HasSubstr("\"hit\"")));
}

TEST_F(Serve, BearsClientsOfEveryKind)
{
    StServer server(mFolder.Path("docs"));
    CNetConnection silent;
    server.Connect(silent);
    CNetConnection client;
    server.Connect(client);
    EXPECT_THAT(AnswerTo(client, "what\r\n"), HasSubstr("unknown question"));
    EXPECT_THAT(AnswerTo(client, "search \r\n"), HasSubstr("\"error\""));
    EXPECT_THAT(AnswerTo(client, "words in/b.bin\n"), HasSubstr("a null byte"));
    EXPECT_THAT(AnswerTo(client, std::string("facts a.txt\0.bin\n", 17)),
                HasSubstr("no such file"));
    EXPECT_THAT(AnswerTo(client, "quit\n"), HasSubstr("\"end\""));
    CNetConnection endless;
    server.Connect(endless);
    EXPECT_THAT(AnswerTo(endless, std::string(5000, 'x')), HasSubstr("too long"));
    {
        CNetConnection rude;
        server.Connect(rude);
        rude.SendData("search ca", 5);
    }
    EXPECT_EQ(server.Fetch({"facts a.txt"}).mExitCode, 0);
}

TEST_F(Serve, TurnsAwayTooManyClients)
{
    StServer server(mFolder.Path("docs"));
    std::vector<std::unique_ptr<CNetConnection>> clients;
    for (int i = 0; i < 64; ++i) {
        clients.push_back(std::make_unique<CNetConnection>());
        server.Connect(*clients.back());
        EXPECT_THAT(AnswerTo(*clients.back(), "facts a.txt\n"), HasSubstr("UTF-8"));
    }
    CNetConnection last;
    server.Connect(last);
    std::string line;
    last.ReceiveLine(&line, 60, 0);
    EXPECT_THAT(line, HasSubstr("too many clients"));
}

TEST_F(Serve, EndsAtCtrlCWithAllItsClients)
{
    StServer server(mFolder.Path("docs"));
    CNetConnection client;
    server.Connect(client);
    EXPECT_THAT(AnswerTo(client, "facts in\n"), HasSubstr("folder"));
    EXPECT_EQ(server.Stop(), 128 + SIGINT);
    EXPECT_FALSE(server.WasKilled());
    std::string line;
    client.ReceiveLine(&line, 60, 0);  // the end of the answer
    EXPECT_THROW(client.ReceiveLine(&line, 60, 0), HierarchicalException);
}

TEST_F(Serve, TakesTheFirstFreePortOfARange)
{
    CNetConnection taken;
    int const first = taken.SetServerPort(true, 0, 0, 1);
    StServer server(mFolder.Path("docs"), {"--port", std::to_string(first) + "-65535"});
    EXPECT_GT(std::stoi(server.Port()), first);
    EXPECT_EQ(server.Fetch({"facts a.txt"}).mExitCode, 0);
    std::string const port = server.Port();
    EXPECT_EQ(server.Stop(), 128 + SIGINT);
    StServer again(mFolder.Path("docs"), {"--port", port + "-" + port});
    EXPECT_EQ(again.Port(), port);
    taken.Disconnect();
}

#ifdef __linux__
TEST_F(Serve, ServesOtherMachinesOnDemand)
{
    for (bool const all : {false, true}) {
        SCOPED_TRACE(all);
        std::vector<std::string> options{"--port", "0"};
        if (all) options.emplace_back("--all");
        StServer server(mFolder.Path("docs"), options);
        // Who is no other machine either, but comes by another address than 127.0.0.1.
        CNetConnection client;
        client.ResolveRemoteHost("127.0.0.2",
                                 static_cast<unsigned short>(std::stoi(server.Port())));
        if (all) {
            client.Connect(5);
            EXPECT_THAT(AnswerTo(client, "facts a.txt\n"), HasSubstr("UTF-8"));
        } else {
            EXPECT_THROW(client.Connect(5), HierarchicalException);
        }
    }
}
#endif

TEST_F(Serve, TellsWhatCannotBeServed)
{
    CNetConnection taken;
    std::string const port = std::to_string(taken.SetServerPort(true, 0, 0, 1));
    EXPECT_THAT(RunLoamctl({"serve", "--port", port}).mError, HasSubstr("Address already in use"));
    taken.Disconnect();
    EXPECT_THAT(RunLoamctl({"serve", mFolder.Path("none")}).mError, HasSubstr("No such file"));
    for (char const* const ports : {"", "x", "5-", "-5", "9-5", "70000", "5-6-7"})
        EXPECT_EQ(RunLoamctl({"serve", std::string("--port=") + ports}).mExitCode, 2) << ports;
}

#ifdef __linux__
// Whether a thread of a process stands in a call of the system, told by its number.
bool IsInCall(pid_t process, long call)
{
    namespace fs = std::filesystem;
    for (fs::path const& thread :
         fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream file(thread / "syscall");
        long found = -1;
        if (file >> found && found == call) return true;
    }
    return false;
}

// A queue that is full answers nobody, so that the system goes on asking.
TEST(Fetch, EndsAtCtrlCWhileItConnects)
{
    std::ifstream own("/proc/self/syscall");
    std::string word;
    if (!(own >> word)) GTEST_SKIP() << "this system doesn't tell in which call a process is";
    CNetConnection full;
    unsigned short const port = full.SetServerPort(false, 0, 0, 0);
    CNetConnection first;
    first.ResolveRemoteHost("127.0.0.1", port);
    first.Connect(5);
    StChannel channel = StChannel::Pipe();
    StLoamctl loamctl({"fetch", "127.0.0.1", std::to_string(port), "facts a"}, channel.In(),
                      channel.In());
    while (!IsInCall(loamctl.Id(), SYS_connect))
        std::this_thread::yield();
    loamctl.Signal(SIGINT);
    EXPECT_EQ(loamctl.Wait(), 128 + SIGINT);
    EXPECT_FALSE(loamctl.WasKilled());
    full.Disconnect();
}
#endif

TEST(Fetch, EndsAtCtrlCWhileItWaits)
{
    CNetConnection mute;
    std::string const port = std::to_string(mute.SetServerPort(false, 0, 0, 5));
    StChannel channel = StChannel::Pipe();
    StLoamctl loamctl({"fetch", "127.0.0.1", port, "facts a"}, channel.In(), channel.In());
    std::unique_ptr<CNetConnection> const client(mute.WaitClientConnection());
    std::string line;
    client->ReceiveLine(&line, 60, 0);
    EXPECT_EQ(line, "facts a");
    loamctl.Signal(SIGINT);
    EXPECT_EQ(loamctl.Wait(), 128 + SIGINT);
    EXPECT_FALSE(loamctl.WasKilled());
    mute.Disconnect();
}

TEST(Fetch, TellsWhatWentWrong)
{
    CNetConnection other;
    unsigned short const port = other.SetServerPort(false, 0, 0, 5);
    std::string const text = std::to_string(port);
    StChannel channel = StChannel::Pipe();
    StLoamctl loamctl({"fetch", "127.0.0.1", text, "facts a"}, channel.In(), channel.In());
    std::unique_ptr<CNetConnection> client(other.WaitClientConnection());
    client->SendData("220 mail.example\r\n", 5);
    EXPECT_EQ(loamctl.Wait(), 2);
    channel.CloseIn();
    EXPECT_THAT(channel.ReadAll(), HasSubstr("no loamctl"));
    other.Disconnect();
    EXPECT_THAT(RunLoamctl({"fetch", "127.0.0.1", text, "facts a"}).mError,
                HasSubstr("Connection refused"));
    EXPECT_EQ(RunLoamctl({"fetch", "127.0.0.1", text, "two\nlines"}).mExitCode, 2);
    EXPECT_THAT(RunLoamctl({"fetch", "", text, "facts a"}).mError, HasSubstr("no such host"));
}
