// pack, unpack and train: files both ways, also with the zstd and bzip2 programs, and bad streams.

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "loamctl/CZstdFrames.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;

std::string Lines(int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "line " + std::to_string(i * 7919 % 1000) + " of a letter, number " +
                std::to_string(i) + "\n";
    return text;
}

// Documents that are alike, and small.
void WriteLetters(StTempDir const& folder, int count)
{
    for (int i = 0; i < count; ++i) {
        folder.Write("letters/" + std::to_string(i) + ".txt",
                     "Dear customer,\nyour order of the " + std::to_string(i % 28 + 1) +
                         "th of March has left our house.\nIts number is " +
                         std::to_string(i * 7919) + ".\nYours sincerely,\nthe harbour office\n");
    }
}

// Names of what lies in the folder.
std::string Listing(StTempDir const& folder)
{
    return RunShell("ls -A '" + folder.Path() + "'").mOutput;
}

bool HasProgram(std::string const& name)
{
    return RunShell("command -v " + name).mExitCode == 0;
}

TEST(Pack, GoesThereAndBack)
{
    struct
    {
        char const* mWhat;
        std::vector<std::string> mOptions;
        std::string mSuffix;
    } const cases[] = {
        {"zstd", {}, ".zst"},
        {"zstd, level 7", {"--level", "7"}, ".zst"},
        {"zstd, far matches", {"--long"}, ".zst"},
        {"zstd without magic", {"--magicless"}, ".zst"},
        {"bzip2", {"--bzip2"}, ".bz2"},
    };

    // Nothing, a frame of a size, and more than one chunk.
    std::string const contents[] = {"", "x", Lines(1000), Lines(110000)};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (std::string const& content : contents) {
            StTempDir const folder;
            std::string const file = folder.Write("a", content);
            std::vector<std::string> pack = {"pack", file};
            pack.insert(pack.end(), c.mOptions.begin(), c.mOptions.end());
            EXPECT_EQ(RunLoamctl(pack).mExitCode, 0);
            EXPECT_EQ(folder.Read("a"), content);
            ASSERT_TRUE(folder.Has("a" + c.mSuffix));
            std::vector<std::string> unpack = {"unpack", file + c.mSuffix, "-o", folder.Path("b")};
            if (c.mOptions == std::vector<std::string>{"--magicless"})
                unpack.emplace_back("--magicless");
            EXPECT_EQ(RunLoamctl(unpack).mExitCode, 0);
            EXPECT_TRUE(folder.Read("b") == content);
            EXPECT_EQ(Listing(folder), "a\na" + c.mSuffix + "\nb\n");
        }
    }
}

TEST(Pack, ThePeersReadWhatIsWrittenAndTheOtherWayRound)
{
    struct
    {
        std::string mProgram;
        std::string mOption;
        std::string mSuffix;
    } const cases[] = {{"zstd", "", ".zst"}, {"bzip2", "--bzip2", ".bz2"}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mProgram);
        if (!HasProgram(c.mProgram)) GTEST_SKIP() << "there is no program " << c.mProgram;
        for (int const count : {0, 10, 110000}) {
            StTempDir const folder;
            std::string const content = Lines(count);
            folder.Write("a", content);
            RunResult const result = RunShell(
                "cd '" + folder.Path() + "' && $LOAMCTL pack a " + c.mOption + " && " + c.mProgram +
                " -q -dc a" + c.mSuffix + " >b && " + c.mProgram + " -q -c a >c" + c.mSuffix +
                " && cat a" + c.mSuffix + " >>c" + c.mSuffix + " && $LOAMCTL unpack c" + c.mSuffix);
            EXPECT_EQ(result.mExitCode, 0) << result.mError;
            EXPECT_TRUE(folder.Read("b") == content);
            EXPECT_TRUE(folder.Read("c") == content + content);
        }
    }
}

TEST(Pack, SaysWhatItMade)
{
    StTempDir const folder;
    folder.Write("a", std::string(5000, 'a'));
    RunResult const text = RunLoamctlIn(folder.Path(), {"pack", "a"});
    EXPECT_THAT(text.mOutput, testing::MatchesRegex("a\\.zst: [0-9]+ from 5,000 bytes\n"));
    EXPECT_EQ(text.mError, "");
    RunResult const json = RunLoamctlIn(folder.Path(), {"pack", "a", "-f", "--json"});
    auto const object = ParseLines(json.mOutput).at(0);
    EXPECT_EQ(object["type"], "file");
    EXPECT_EQ(object["path"], "a");
    EXPECT_EQ(object["target"], "a.zst");
    EXPECT_EQ(object["bytes"], 5000);
    EXPECT_EQ(object["target_bytes"], ReadBytes(folder.Path("a.zst")).size());
}

TEST(Pack, LeavesWhatIsThereAloneUnlessForced)
{
    StTempDir const folder;
    std::string const file = folder.Write("a", "new");
    folder.Write("a.zst", "old");
    RunResult const result = RunLoamctl({"pack", file});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_THAT(result.mError, HasSubstr("is there already"));
    EXPECT_EQ(folder.Read("a.zst"), "old");
    EXPECT_EQ(RunLoamctl({"pack", file, "-f"}).mExitCode, 0);
    EXPECT_NE(folder.Read("a.zst"), "old");
    // Of three files, two can be done.
    folder.Write("b", "b");
    RunResult const three = RunLoamctl({"pack", folder.Path("b"), folder.Path("gone"), file, "-f"});
    EXPECT_EQ(three.mExitCode, 2);
    EXPECT_THAT(three.mError, HasSubstr("gone: isn't there"));
    EXPECT_TRUE(folder.Has("b.zst"));
}

TEST(Pack, LetsNobodyReadMoreThanBefore)
{
    StTempDir const folder;
    std::string const file = folder.Write("a", "secret");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(RunLoamctl({"pack", file}).mExitCode, 0);
    struct stat found = {};
    ASSERT_EQ(stat((file + ".zst").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600U);
}

TEST(Pack, LeavesNothingOfAFileWhenItIsStopped)
{
    for (std::string const option : {"--long", "--bzip2"}) {
        SCOPED_TRACE(option);
        StTempDir const folder;
        std::string const file = folder.Write("a", "");
        // Zeros that take no room, for minutes.
        std::filesystem::resize_file(file, std::uintmax_t{100} << 30);
        StChannel output = StChannel::Pipe();
        StLoamctl loamctl({"pack", file, option}, output.In(), output.In());
        output.CloseIn();
        while (Listing(folder) == "a\n")
            std::this_thread::yield();
        loamctl.Signal(SIGINT);
        EXPECT_EQ(loamctl.Wait(), 130);
        EXPECT_FALSE(loamctl.WasKilled());
        EXPECT_EQ(output.ReadAll(), "loamctl: stopped by signal 2\n");
        EXPECT_EQ(Listing(folder), "a\n");
    }
}

TEST(Unpack, BadStreamsAreErrorsAndLeaveNothing)
{
    StTempDir const folder;
    std::string const zstd = folder.Write("good", Lines(20000));
    ASSERT_EQ(RunLoamctl({"pack", zstd}).mExitCode, 0);
    ASSERT_EQ(RunLoamctl({"pack", zstd, "--bzip2"}).mExitCode, 0);
    std::string const frame = folder.Read("good.zst");
    std::string const stream = folder.Read("good.bz2");
    std::string broken = stream;
    broken[broken.size() / 2] = static_cast<char>(broken[broken.size() / 2] ^ 1);

    struct
    {
        char const* mWhat;
        std::string mName;
        std::string mContent;
        std::vector<std::string> mOptions;
        char const* mMessage;
    } const cases[] = {
        {"a cut frame", "a.zst", frame.substr(0, frame.size() - 1), {}, "is cut"},
        {"a frame cut early", "a.zst", frame.substr(0, 5), {}, "is cut"},
        {"no frame", "a.zst", "no frame", {}, "is no zstd stream"},
        {"an empty file", "a.zst", "", {}, "is empty"},
        {"more behind a frame", "a.zst", frame + "more", {}, "is no zstd stream, or followed"},
        {"a piece behind a frame", "a.zst", frame + "\x28\xB5", {}, "is cut"},
        {"bzip2 as zstd", "a.zst", stream, {}, "is no zstd stream"},
        {"a frame without magic expected", "a.zst", frame, {"--magicless"}, "a.zst: is "},
        {"a cut stream", "a.bz2", stream.substr(0, stream.size() - 1), {}, "is cut"},
        {"a stream cut early", "a.bz2", stream.substr(0, 12), {}, "is cut"},
        {"a piece of a header", "a.bz2", stream.substr(0, 9), {}, "is no bzip2 stream"},
        {"an empty file for bzip2", "a.bz2", "", {}, "is empty"},
        {"a damaged stream", "a.bz2", broken, {}, "is damaged"},
        {"a damaged stream before another", "a.bz2", broken + stream, {}, "is damaged"},
        {"a cut stream before another", "a.bz2", stream.substr(0, 9000) + stream, {}, "is damaged"},
        {"more behind a stream", "a.bz2", stream + "more", {}, "is damaged"},
        {"zstd as bzip2", "a.bz2", frame, {}, "is no bzip2 stream"},
        {"beyond the limit", "a.zst", frame, {"--limit", "100000"}, "more than the limit"},
        {"beyond bzip2's limit", "a.bz2", stream, {"--limit", "100000"}, "more than the limit"},
        {"a name that tells nothing", "a.txt", frame, {}, "has no name that ends in"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const place;
        std::string const file = place.Write(c.mName, c.mContent);
        std::vector<std::string> arguments = {"unpack", file};
        arguments.insert(arguments.end(), c.mOptions.begin(), c.mOptions.end());
        RunResult const result = RunLoamctl(arguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_THAT(result.mError, HasSubstr(c.mMessage));
        EXPECT_EQ(Listing(place), c.mName + "\n");
    }
}

TEST(Unpack, TheLimitIsExact)
{
    StTempDir const folder;
    std::string const file = folder.Write("a", std::string(300000, 'a'));
    for (std::string const option : {"--magicless", "--bzip2"}) {
        SCOPED_TRACE(option);
        std::string const packed = folder.Path("packed");
        ASSERT_EQ(RunLoamctl({"pack", file, option, "-f", "-o", packed}).mExitCode, 0);
        auto const unpack = [&](char const* limit) {
            return RunLoamctl(
                {"unpack", packed, option, "-f", "-o", folder.Path("b"), "--limit", limit});
        };
        EXPECT_EQ(unpack("300000").mExitCode, 0);
        EXPECT_EQ(unpack("299999").mExitCode, 2);
        EXPECT_EQ(unpack("0").mExitCode, 2);
    }
}

TEST(Train, MakesADictionaryThatSaves)
{
    StTempDir const folder;
    WriteLetters(folder, 200);
    RunResult const trained =
        RunLoamctlIn(folder.Path(), {"train", "letters", "-o", "D", "--json"});
    ASSERT_EQ(trained.mExitCode, 0) << trained.mError;
    auto const object = ParseLines(trained.mOutput).at(0);
    EXPECT_EQ(object["documents"], 200);
    EXPECT_LT(object["packed_bytes_with_dictionary"], object["packed_bytes"].get<int>() / 2);
    RunResult const told = RunLoamctlIn(folder.Path(), {"train", "letters", "-f", "-o", "D"});
    EXPECT_THAT(told.mOutput, HasSubstr("% less\n"));

    std::string const letter = folder.Read("letters/7.txt");
    auto const run = [&folder](std::vector<std::string> const& arguments) {
        return RunLoamctlIn(folder.Path(), arguments);
    };
    EXPECT_EQ(run({"pack", "letters/7.txt", "--dict", "D"}).mExitCode, 0);
    EXPECT_EQ(run({"unpack", "letters/7.txt.zst", "--dict", "D", "-o", "a"}).mExitCode, 0);
    EXPECT_EQ(folder.Read("a"), letter);
    RunResult const without = run({"unpack", "letters/7.txt.zst", "-o", "b"});
    EXPECT_EQ(without.mExitCode, 2);
    EXPECT_THAT(without.mError, HasSubstr("is damaged, or was packed with other options"));
    RunResult const wrong = run({"pack", "letters/8.txt", "--dict", "letters/9.txt"});
    EXPECT_EQ(wrong.mExitCode, 2);
    EXPECT_THAT(wrong.mError, HasSubstr("letters/9.txt: is no dictionary"));

    if (!HasProgram("zstd")) GTEST_SKIP() << "there is no program zstd";
    RunResult const peer = RunShell("cd '" + folder.Path() +
                                    "' && zstd -q -dc <D >raw && zstd -q -D raw -dc "
                                    "letters/7.txt.zst >c && zstd -q -D raw letters/8.txt "
                                    "&& $LOAMCTL unpack --dict D letters/8.txt.zst -o d");
    EXPECT_EQ(peer.mExitCode, 0) << peer.mError;
    EXPECT_EQ(folder.Read("c"), letter);
    EXPECT_EQ(folder.Read("d"), folder.Read("letters/8.txt"));
}

TEST(Train, NeedsSomethingToLearnFrom)
{
    StTempDir const folder;
    WriteLetters(folder, 3);
    RunResult const result = RunLoamctlIn(folder.Path(), {"train", "letters", "-o", "D"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_THAT(result.mError, HasSubstr("too few texts"));
    EXPECT_EQ(Listing(folder), "letters\n");
}

TEST(CZstdFrames, KnowsTheEndOfFramesCutAnywhere)
{
    using namespace std::string_literals;
    // Sections 3.1.1 and 3.1.2 of RFC 8878.
    std::string const magic = "\x28\xB5\x2F\xFD";

    struct
    {
        char const* mWhat;
        std::string mFrame;
        bool mMagicless;
    } const cases[] = {
        {"a window, no size, a raw block", magic + "\x00\x48\x19\x00\x00"s + "abc", false},
        {"one segment, a size of 1 byte", magic + "\x20\x03\x19\x00\x00"s + "abc", false},
        {"a size of 2 bytes and a checksum", magic + "\x64\x00\x00\x01\x00\x00"s + "abcd", false},
        {"a size of 8 bytes and an ID of 4",
         magic + "\xE3\x01\x02\x03\x04\x01\0\0\0\0\0\0\0\x0B\0\0x"s, false},
        {"two blocks, one of them a run", magic + "\x00\x48\x82\x00\x00z\x09\x00\x00w"s, false},
        {"one to be skipped", "\x5F\x2A\x4D\x18\x03\0\0\0abc"s, false},
        {"one to be skipped of nothing", "\x50\x2A\x4D\x18\0\0\0\0"s, false},
        {"without magic", "\x00\x48\x19\x00\x00"s + "abc", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::string const twice = c.mFrame + c.mFrame;
        CZstdFrames byByte(c.mMagicless);
        std::string complete;
        for (std::size_t i = 0; i <= twice.size(); ++i) {
            CZstdFrames frames(c.mMagicless);
            EXPECT_TRUE(frames.Feed(twice.substr(0, i)));
            EXPECT_EQ(frames.IsComplete(), byByte.IsComplete());
            if (frames.IsComplete()) complete += std::to_string(i) + " ";
            EXPECT_TRUE(byByte.Feed(twice.substr(i, 1)));
        }
        EXPECT_EQ(complete,
                  std::to_string(c.mFrame.size()) + " " + std::to_string(twice.size()) + " ");
    }
    EXPECT_FALSE(CZstdFrames(false).Feed("none"));
    EXPECT_FALSE(CZstdFrames(true).Feed("\x00\x48\x06\x00\x00"s)) << "a reserved block";
}

}  // namespace
