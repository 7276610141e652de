// `loamctl words`, run as a user would.

#include <string>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using namespace std::string_literals;
using testing::IsEmpty;
using testing::Not;

TEST(Words, ListsFoldedWordsWithTheirBytes)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        char const* mOutput;
    } const cases[] = {
        {"plain", "One, two", "one\t0\t3\ntwo\t5\t3\n"},
        {"accents", "Caf\u00e9 cafe\u0301!", "cafe\t0\t5\ncafe\t6\t6\n"},
        {"expansion", "Stra\u00dfe", "strasse\t0\t7\n"},
        {"ideographs", "\u660e\u6708", "\u660e\t0\t3\n\u6708\t3\t3\n"},
        {"pictograph", "a \U0001F600", "a\t0\t1\n\U0001F600\t2\t4\n"},
        {"behind a mark",
         "\xEF\xBB\xBF"
         "a",
         "a\t3\t1\n"},
        {"UTF-16", "\xFE\xFF" + AsUTF16(u"\u00e9 b", true), "e\t2\t2\nb\t6\t2\n"},
        {"two words of one character", "\uFDFA",
         "\u0635\u0644\u0649\t0\t3\n\u0627\u0644\u0644\u0647\t0\t3\n"
         "\u0639\u0644\u064a\u0647\t0\t3\n\u0648\u0633\u0644\u0645\t0\t3\n"},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl({"words", folder.Write("file", c.mBytes)});
        EXPECT_EQ(result.mExitCode, 0);
        EXPECT_EQ(result.mOutput, c.mOutput);
        EXPECT_EQ(result.mError, "");
    }
}

TEST(Words, TellsPlacesInJSON)
{
    std::string const path = Document("europe/fr-mirabeau.txt");
    std::string const bytes = ReadBytes(path);
    auto const words = ParseLines(RunLoamctl({"words", path, "--json"}).mOutput, "word");
    ASSERT_THAT(words, Not(IsEmpty()));
    for (auto const& word : words) {
        SCOPED_TRACE(word.dump());
        std::size_t const offset = word["offset"];
        EXPECT_EQ(word["line"],
                  1 + std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                                 '\n'));
        // The raw text of a word is that word as one is looked for.
        EXPECT_EQ(RunLoamctl({"search", "-l", word["word"], path}).mExitCode, 0);
        if (word["line"] > 3) break;
    }
}

TEST(Words, TellsByItsExitCode)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        int mExitCode;
        char const* mReason;
    } const cases[] = {
        {"words", "a", 0, ""},
        {"gaps alone", " .,\n", 1, ""},
        {"empty", "", 1, ""},
        {"binary", "a\0"s, 2, "a null byte at offset 1"},
        {"damaged", "\u00e4\u00e4\u00e4\xe9", 2, "not UTF-8: byte 0xE9 at offset 6"},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        folder.Write("file", c.mBytes);
        RunResult const result = RunLoamctlIn(folder.Path(), {"words", "file"});
        EXPECT_EQ(result.mExitCode, c.mExitCode);
        EXPECT_EQ(result.mError,
                  *c.mReason ? "loamctl: file: " + std::string(c.mReason) + "\n" : "");
    }
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"words", "none"}).mError,
              "loamctl: none: No such file or directory\n");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"words", "none"}).mExitCode, 2);
}

TEST(Words, NamesTheFileWhereThereMayBeSeveral)
{
    StTempDir const folder;
    folder.Write("a.txt", "One two");
    folder.Write("b.bin", "b\0"s);
    folder.Write("sub/c.txt", "Caf\u00e9");
    auto const run = [&folder](std::vector<std::string> const& arguments) {
        return RunLoamctlIn(folder.Path(), arguments);
    };
    EXPECT_EQ(run({"words", "."}).mOutput,
              "./a.txt\tone\t0\t3\n./a.txt\ttwo\t4\t3\n./sub/c.txt\tcafe\t0\t5\n");
    EXPECT_EQ(run({"words", "."}).mExitCode, 0);
    EXPECT_EQ(run({"words", "."}).mError, "");
    EXPECT_EQ(run({"words", ".", "-v"}).mError,
              "skipped ./b.bin (binary: a null byte at offset 1)\n");
    EXPECT_EQ(run({"words", "sub"}).mOutput, "sub/c.txt\tcafe\t0\t5\n");
    EXPECT_EQ(run({"words", "sub/c.txt"}).mOutput, "cafe\t0\t5\n");
    EXPECT_EQ(run({"words", "sub/c.txt", "b.bin"}).mOutput, "sub/c.txt\tcafe\t0\t5\n");
    EXPECT_EQ(run({"words", "sub/c.txt", "b.bin"}).mExitCode, 2);
    EXPECT_EQ(ParseLines(run({"words", "sub", "--json"}).mOutput, "word").at(0)["path"],
              "sub/c.txt");
}

}  // namespace
