// What reaches the terminal, the pipe and the full disk.

#include <string>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char const* kHitCode = "\x1b[1;31m";

TEST(COutput, ColorsOnATerminalOnly)
{
    StEnvironment const noColor("NO_COLOR", std::nullopt);
    StEnvironment const terminal("TERM", "xterm");
    std::string const menu = Document("europe/fr-menu.txt");
    EXPECT_THAT(RunLoamctl({"search", "cafe", menu}).mOutput, Not(HasSubstr("\x1b")));
    EXPECT_THAT(RunLoamctlOnTerminal({"search", "cafe", menu}).mOutput,
                HasSubstr(kHitCode + std::string("CAF\u00c9\x1b[0m DE LA GARE\r\n")));
}

TEST(COutput, ColorsAsItIsTold)
{
    StEnvironment const noColor("NO_COLOR", std::nullopt);
    StEnvironment const terminal("TERM", "xterm");
    std::string const menu = Document("europe/fr-menu.txt");
    EXPECT_THAT(RunLoamctl({"search", "cafe", menu, "--color", "always"}).mOutput,
                HasSubstr(kHitCode));
    EXPECT_THAT(RunLoamctlOnTerminal({"search", "cafe", menu, "--color=never"}).mOutput,
                Not(HasSubstr("\x1b")));
    EXPECT_THAT(RunLoamctl({"--json", "search", "cafe", menu, "--color=always"}).mOutput,
                Not(HasSubstr("\x1b")));
}

TEST(COutput, MindsTheEnvironment)
{
    std::string const menu = Document("europe/fr-menu.txt");
    {
        StEnvironment const noColor("NO_COLOR", "1");
        StEnvironment const terminal("TERM", "xterm");
        EXPECT_THAT(RunLoamctlOnTerminal({"search", "cafe", menu}).mOutput, Not(HasSubstr("\x1b")));
        EXPECT_THAT(RunLoamctlOnTerminal({"search", "cafe", menu, "--color=always"}).mOutput,
                    HasSubstr(kHitCode));
    }
    StEnvironment const noColor("NO_COLOR", "");
    StEnvironment const terminal("TERM", "dumb");
    EXPECT_THAT(RunLoamctlOnTerminal({"search", "cafe", menu}).mOutput, Not(HasSubstr("\x1b")));
}

TEST(COutput, GroupsByFileOnATerminal)
{
    StEnvironment const noColor("NO_COLOR", "1");
    std::string const menu = Document("europe/fr-menu.txt");
    std::string const diary = Document("europe/es-diario.txt");
    RunResult const result = RunLoamctlOnTerminal({"search", "cafe", menu, diary, "-m", "1"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mOutput,
              menu + "\r\n    1:1    CAF\u00c9 DE LA GARE\r\n\r\n" + diary +
                  "\r\n    3:73   El tren lleg\u00f3 con diecisiete minutos de retraso y nadie se "
                  "quej\u00f3. En el caf\u00e9 de la\r\n\r\n2 hits in 2 of 2 files, 788 bytes\r\n");
}

TEST(COutput, EndsQuietlyWhenTheReaderGoes)
{
    StTempDir const folder;
    std::string lines;
    for (int i = 0; i < 100000; ++i)
        lines += "cafe and more cafe\n";
    std::string const path = folder.Write("long.txt", lines);
    for (std::string const command : {"search cafe", "words", "--json search cafe"}) {
        SCOPED_TRACE(command);
        std::string const status = folder.Path("status");
        RunResult const result = RunShell("{ \"$LOAMCTL\" " + command + " '" + path +
                                          "'; echo $? >'" + status + "'; } | head -n 1");
        EXPECT_EQ(result.mExitCode, 0);
        EXPECT_NE(result.mOutput, "");
        EXPECT_EQ(result.mError, "");
        EXPECT_EQ(folder.Read("status"), "0\n");
    }
}

TEST(COutput, TellsThatItCannotWrite)
{
    RunResult const full = RunShell("\"$LOAMCTL\" search cafe \"$DOCUMENTS\" >/dev/full");
    EXPECT_EQ(full.mExitCode, 2);
    EXPECT_EQ(full.mError, "loamctl: standard output: No space left on device\n");
    RunResult const closed = RunShell("\"$LOAMCTL\" search cafe \"$DOCUMENTS\" >&-");
    EXPECT_EQ(closed.mExitCode, 2);
    EXPECT_EQ(closed.mError, "loamctl: standard output: Bad file descriptor\n");
}

TEST(COutput, ShowsNamesAndLinesSafely)
{
    StTempDir const folder;
    folder.Write("bad\n\x1b[31mname.txt", "a\x1b]0;cafe\x07\tb\n");
    RunResult const result = RunLoamctlIn(folder.Path(), {"search", "cafe"});
    EXPECT_EQ(result.mOutput, "bad\\n\\x1b[31mname.txt:1:6: a\\x1b]0;cafe\\x07\tb\n");
    auto const hits =
        ParseLines(RunLoamctlIn(folder.Path(), {"search", "cafe", "--json"}).mOutput, "hit");
    ASSERT_EQ(hits.size(), 1U);
    EXPECT_EQ(hits[0]["path"], "bad\n\x1b[31mname.txt");
    EXPECT_EQ(hits[0]["context"], "a\x1b]0;cafe\x07\tb");
}

}  // namespace
