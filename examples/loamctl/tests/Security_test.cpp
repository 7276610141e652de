// `loamctl base64`, `hash`, `crypt` and `password`, run as a user would.

#include <cstdlib>
#include <future>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <termios.h>
#include <unistd.h>

#include "loamctl/tests/RunLoamctl.h"
#include "security/CPwdDBServices.h"
#include "testing/StEnvironment.h"
#include "testing/StSecretService.h"
#include "testing/StTempDir.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::StartsWith;

// In a folder of its own.
class Security : public testing::Test
{
protected:
    RunResult Run(std::vector<std::string> const& arguments) const
    {
        return RunLoamctlIn(mFolder.Path(), arguments);
    }

    // A line of the shell in the folder; $LOAMCTL is the program.
    RunResult Shell(std::string const& line) const
    {
        return RunShell("cd '" + mFolder.Path() + "' && " + line);
    }

    StTempDir mFolder;
};

bool CanLeaveTheSession()
{
    return RunShell("command -v setsid").mExitCode == 0;
}

bool HasEcho(int terminal)
{
    termios state = {};
    return tcgetattr(terminal, &state) == 0 && (state.c_lflag & ECHO) != 0;
}

// At a terminal of its own, where somebody types an answer to each question.
class SecurityAtTerminal : public Security
{
protected:
    using Talk = std::vector<std::pair<std::string, std::string>>;

    void SetUp() override
    {
        if (!CanLeaveTheSession()) GTEST_SKIP() << "there is no setsid";
    }

    void Answer(std::string const& arguments, Talk const& talk)
    {
        StChannel terminal = StChannel::Terminal();
        std::string const place = ptsname(terminal.Out());
        auto run = std::async(std::launch::async, [&] {
            RunResult result = Shell("exec setsid -c $LOAMCTL " + arguments + " <" + place + " >" +
                                     place + " 2>" + place);
            terminal.CloseIn();
            return result;
        });
        for (auto const& [question, answer] : talk) {
            mSeen += terminal.ReadUntil(question);
            mHadEcho = mHadEcho || HasEcho(terminal.Out());
            EXPECT_EQ(write(terminal.Out(), answer.data(), answer.size()),
                      static_cast<ssize_t>(answer.size()));
        }
        mExitCode = run.get().mExitCode;
        mSeen += terminal.ReadAll();
        mHasEcho = HasEcho(terminal.Out());
    }

    int mExitCode = -1;
    std::string mSeen;
    bool mHadEcho = false;  // while an answer was awaited
    bool mHasEcho = false;  // at the end
};

TEST_F(Security, Base64GoesThereAndBack)
{
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
        bytes += static_cast<char>(i * 7);
    mFolder.Write("in", bytes);
    EXPECT_EQ(Run({"base64", "in", "-o", "text"}).mExitCode, 0);
    EXPECT_EQ(mFolder.Read("text").size(), 1336U);
    EXPECT_EQ(Run({"base64", "-d", "text"}).mOutput, bytes);
    EXPECT_EQ(Run({"base64", "--lines", "in", "-o", "lines"}).mExitCode, 0);
    EXPECT_EQ(mFolder.Read("lines").substr(74, 4), mFolder.Read("text").substr(74, 2) + "\r\n");
    EXPECT_EQ(Shell("$LOAMCTL base64 -d <lines").mOutput, bytes);
    // Whatever white space stands in it.
    EXPECT_EQ(Shell("printf 'Q U\\nJ\\r\\nD\\v' | $LOAMCTL base64 -d").mOutput, "ABC");
    EXPECT_EQ(Shell("printf '' | $LOAMCTL base64").mOutput, "");
}

TEST_F(Security, Base64TellsWhatIsNot)
{
    struct
    {
        char const* mText;
        char const* mReason;
    } const cases[] = {
        {"QUJD!UJD", "not Base64: byte 0x21 at offset 4"},
        {"QUJDQQ", "not Base64: the last group is cut"},
        {"Q===", "not Base64: byte 0x3D at offset 1"},
        {"QQ=D", "not Base64: byte 0x44 at offset 3"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mText);
        mFolder.Write("text", c.mText);
        RunResult const result = Run({"base64", "-d", "text", "-o", "out"});
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mError, "loamctl: text: "s + c.mReason + "\n");
        EXPECT_FALSE(mFolder.Has("out"));
    }
    EXPECT_EQ(Run({"base64", "none"}).mError, "loamctl: none: No such file or directory\n");
    EXPECT_EQ(Run({"base64", "."}).mError, "loamctl: .: Is a directory\n");
}

TEST_F(Security, FilesAreReplacedOnlyOnDemand)
{
    mFolder.Write("in", "ABC");
    mFolder.Write("out", "precious");
    EXPECT_EQ(Run({"base64", "in", "-o", "out"}).mExitCode, 2);
    EXPECT_EQ(mFolder.Read("out"), "precious");
    EXPECT_EQ(Run({"base64", "in", "-f", "-o", "out"}).mExitCode, 0);
    EXPECT_EQ(mFolder.Read("out"), "QUJD");
    // In place.
    EXPECT_EQ(Run({"base64", "-d", "out", "-f", "-o", "out"}).mExitCode, 0);
    EXPECT_EQ(mFolder.Read("out"), "ABC");
}

TEST_F(Security, HashTellsSHA1)
{
    mFolder.Write("abc", "abc");
    mFolder.Write("empty", "");
    EXPECT_EQ(Run({"hash", "abc", "empty"}).mOutput,
              "a9993e364706816aba3e25717850c26c9cd0d89d  abc\n"
              "da39a3ee5e6b4b0d3255bfef95601890afd80709  empty\n");
    EXPECT_EQ(Shell("printf abc | $LOAMCTL hash --base64").mOutput,
              "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=  -\n");
    EXPECT_EQ(ParseLines(Run({"hash", "abc", "--json"}).mOutput, "hash").at(0)["sha1"],
              "a9993e364706816aba3e25717850c26c9cd0d89d");
    RunResult const some = Run({"hash", "none", "abc"});
    EXPECT_EQ(some.mExitCode, 2);
    EXPECT_THAT(some.mOutput, StartsWith("a9993e36"));
    EXPECT_EQ(some.mError, "loamctl: none: No such file or directory\n");
}

TEST_F(Security, CryptGoesThereAndBack)
{
    mFolder.Write("in", "text\0more"s);
    mFolder.Write("key", "passphrase\nnot of it");
    for (std::string const cipher : {"--aes", "--blowfish"}) {
        SCOPED_TRACE(cipher);
        EXPECT_EQ(
            Shell("$LOAMCTL crypt " + cipher + " --passphrase-fd 3 in -f -o secret 3<key").mError,
            "");
        EXPECT_EQ(mFolder.Read("secret").size(), cipher == "--aes" ? 16U : 9U);
        EXPECT_EQ(Shell("$LOAMCTL crypt " + cipher + " -d --passphrase-fd 3 3<key <secret").mOutput,
                  "text\0more"s);
    }
}

TEST_F(Security, CryptRefusesWhatCanNotBe)
{
    mFolder.Write("in", "no ciphertext");
    mFolder.Write("key", "right\n");
    mFolder.Write("wrong", "wrong\n");
    mFolder.Write("long", std::string(57, 'k'));
    Shell("$LOAMCTL crypt --aes --passphrase-fd 3 in -o secret 3<key");

    struct
    {
        char const* mArguments;
        char const* mReason;
    } const cases[] = {
        {"--passphrase-fd 3 in 3<key", "[--aes,--blowfish]"},
        {"--aes --blowfish --passphrase-fd 3 in 3<key", "[--aes,--blowfish]"},
        {"--aes --passphrase-fd 3 in 3</dev/null", "an empty passphrase is no key"},
        {"--aes --passphrase-fd 3 in 3</dev/zero", "the passphrase is too long"},
        {"--aes --passphrase-fd 3 in 3<.", "the passphrase: Is a directory"},
        {"--aes --passphrase-fd 7 in", "the passphrase: Bad file descriptor"},
        {"--aes --passphrase-fd 0 <key", "can't be both"},
        {"--aes -d --passphrase-fd 3 in 3<key", "in: no whole blocks"},
        {"--aes -d --passphrase-fd 3 secret 3<wrong", "secret: the passphrase is wrong"},
        {"--blowfish --passphrase-fd 3 in 3<long", "no passphrase of this length"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mArguments);
        RunResult const result = Shell("$LOAMCTL crypt -o out "s + c.mArguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_THAT(result.mError, HasSubstr(c.mReason));
        EXPECT_FALSE(mFolder.Has("out"));
    }
}

TEST_F(Security, CryptFailsWithoutATerminalToAskOn)
{
    if (!CanLeaveTheSession()) GTEST_SKIP() << "there is no setsid";
    mFolder.Write("in", "text");
    RunResult const result = Shell("setsid -w $LOAMCTL crypt --aes in -o out");
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(result.mError, "loamctl: there is no terminal to ask for the passphrase on\n");
}

TEST_F(SecurityAtTerminal, CryptAsksWithoutEchoAndTwice)
{
    mFolder.Write("in", "text");
    Answer("crypt --aes in -o secret",
           {{"passphrase: ", "open sesame\n"}, {"passphrase again: ", "open sesame\n"}});
    EXPECT_EQ(mSeen, "passphrase: \r\npassphrase again: \r\n");
    EXPECT_EQ(mExitCode, 0);
    EXPECT_FALSE(mHadEcho);
    EXPECT_TRUE(mHasEcho);
    mSeen.clear();
    // Once is enough where a wrong one would be told.
    Answer("crypt --aes -d secret -o out", {{"passphrase: ", "open sesame\n"}});
    EXPECT_EQ(mSeen, "passphrase: \r\n");
    EXPECT_EQ(mFolder.Read("out"), "text");
}

TEST_F(SecurityAtTerminal, CryptMindsASlipOfTheHand)
{
    mFolder.Write("in", "text");
    Answer("crypt --aes in -o secret",
           {{"passphrase: ", "open sesame\n"}, {"passphrase again: ", "open sesam\n"}});
    EXPECT_EQ(mExitCode, 2);
    EXPECT_THAT(mSeen, HasSubstr("the passphrase was not the same twice"));
    EXPECT_FALSE(mFolder.Has("secret"));
}

TEST_F(SecurityAtTerminal, CtrlCPutsTheEchoBack)
{
    mFolder.Write("in", "text");
    Answer("crypt --aes in -o secret", {{"passphrase: ", "open\x03"}});
    EXPECT_EQ(mExitCode, 130);
    EXPECT_FALSE(mHadEcho);
    EXPECT_TRUE(mHasEcho);
    EXPECT_THAT(mSeen, testing::Not(HasSubstr("open")));
    EXPECT_FALSE(mFolder.Has("secret"));
}

TEST_F(Security, PasswordIsKeptAndDeleted)
{
    if (!StSecretService::IsThere())
        GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
    StSecretService const service;
    std::string const generic = " --service loam --account me";
    std::string const mail = " --protocol imap --server mail.example --port 993 --account me";
    EXPECT_EQ(Shell("$LOAMCTL password status").mOutput, "unlocked\n");
    EXPECT_EQ(Shell("$LOAMCTL password get" + generic).mExitCode, 1);
    for (std::string const& entry : {generic, mail}) {
        SCOPED_TRACE(entry);
        RunResult const set =
            Shell("printf 'secret\\n' | $LOAMCTL password set --password-fd 0" + entry);
        EXPECT_EQ(set.mExitCode, 0);
        EXPECT_EQ(set.mError, "");
        EXPECT_EQ(Shell("$LOAMCTL password get" + entry).mOutput, "secret\n");
        EXPECT_EQ(Shell("$LOAMCTL password delete" + entry).mExitCode, 0);
        EXPECT_EQ(Shell("$LOAMCTL password delete" + entry).mExitCode, 1);
        EXPECT_EQ(Shell("$LOAMCTL password get" + entry).mOutput, "");
    }
}

TEST_F(Security, PasswordTellsWhetherTheStoreIsLocked)
{
    if (!StSecretService::IsThere())
        GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
    StSecretService const service;
    mFolder.Write("secret", "of mine\n");
    Shell("$LOAMCTL password set --service s --account a --password-fd 3 3<secret");
    auto const stored = ParseLines(Run({"password", "get", "--service", "s", "--json"}).mOutput);
    EXPECT_EQ(stored.at(0)["password"], "of mine");
    EXPECT_EQ(Run({"password", "status"}).mExitCode, 0);
    EXPECT_TRUE(CPwdDBServices().Lock());
    RunResult const status = Run({"password", "status"});
    EXPECT_EQ(status.mOutput, "locked\n");
    EXPECT_EQ(status.mExitCode, 1);
    auto const told = ParseLines(Run({"password", "status", "--json"}).mOutput, "password_store");
    EXPECT_EQ(told.at(0)["state"], "locked");
}

TEST_F(Security, PasswordTellsThatThereIsNoStore)
{
    StEnvironment const environment("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    EXPECT_EQ(Run({"password", "status"}).mOutput, "none\n");
    EXPECT_EQ(Run({"password", "status"}).mExitCode, 1);
    EXPECT_EQ(Run({"password", "get", "--service", "s"}).mExitCode, 1);
    EXPECT_EQ(
        Shell("$LOAMCTL password set --service s --account a --password-fd 3 3</dev/null").mError,
        "loamctl: the store did not take the password\n");
}

TEST_F(Security, PasswordWantsAWholeNameToChangeIt)
{
    struct
    {
        std::vector<std::string> mArguments;
        char const* mReason;
    } const cases[] = {
        {{"set"}, "--service or by --server"},
        {{"get", "--service", "s", "--server", "t"}, "--service or by --server"},
        {{"delete", "--service", "s"}, "--account is needed"},
        {{"set", "--server", "s", "--account", "a"}, "--protocol and --port"},
        {{"set", "--server", "s", "--account", "a", "--port", "1"}, "--protocol and --port"},
        {{"fetch"}, "fetch"},
        {{"get", "--server", "s", "--port", "65536"}, "65536"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mReason);
        std::vector<std::string> arguments{"password"};
        arguments.insert(arguments.end(), c.mArguments.begin(), c.mArguments.end());
        RunResult const result = Run(arguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_THAT(result.mError, HasSubstr(c.mReason));
    }
}

}  // namespace
