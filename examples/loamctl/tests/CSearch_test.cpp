// `loamctl search`, run as a user would.

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"
#include "text/CUTFConverter.h"

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// What stands at a hit's place in its file, as UTF-8, whatever the file's charset.
std::string BytesOf(nlohmann::json const& hit)
{
    std::string const file = ReadBytes(hit["path"]);
    std::string const bytes = file.substr(hit["offset"], hit["length"]);
    bool const little = file.starts_with("\xFF\xFE");
    if (!little && !file.starts_with("\xFE\xFF")) return bytes;
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        auto const first = static_cast<unsigned char>(bytes[i]);
        auto const second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(little ? second << 8 | first : first << 8 | second);
    }
    std::string result;
    CUTFConverter::ConvertUTF16toUTF8(units, result, CUTFConverter::kStrictMode);
    return result;
}

std::vector<std::string> TextsOf(std::vector<nlohmann::json> const& hits)
{
    std::vector<std::string> result;
    for (auto const& hit : hits)
        result.push_back(hit["text"]);
    return result;
}

TEST(CSearch, FindsWordsInAllTheirForms)
{
    struct
    {
        char const* mWord;
        char const* mFile;
        std::vector<std::string> mTexts;
    } const cases[] = {
        {"cafe",
         "europe/fr-menu.txt",
         {"CAF\u00c9", "caf\u00e9", "caf\u00e9", "Caf\u00e9", "caf\u00e9", "caf\u00e9"}},
        {"cafe", "europe/fr-mirabeau.txt", {"cafe\u0301"}},
        {"caf\u00e9", "europe/en-office.txt", {"Cafe"}},
        {"cafe", "europe/pl-kawa.txt", {"Caf\u00e9"}},
        {"cafe", "asia/ja-neko.txt", {"\uFF23\uFF21\uFF26\uFF25"}},
        {"cafe", "asia/zh-jingyesi.txt", {"\uFF23\uFF41\uFF46\u00e9"}},
        {"strasse",
         "europe/de-brief.txt",
         {"stra\u00dfe", "stra\u00dfe", "STRASSE", "Stra\u00dfe"}},
        {"STRA\u00dfE",
         "europe/de-brief.txt",
         {"stra\u00dfe", "stra\u00dfe", "STRASSE", "Stra\u00dfe"}},
        {"office", "europe/en-office.txt", {"of\uFB01ce", "of\uFB01ce"}},
        {"istanbul", "europe/tr-gezi.txt", {"\u0130STANBUL"}},
        {"καφες", "europe/el-ymnos.txt", {"καφές", "ΚΑΦΕΣ", "ΚΑΦΈΣ", "καφές"}},
        {"зеленый", "europe/ru-lukomorye.txt", {"зелёный", "зелёный", "ЗЕЛЁНЫЙ", "зеленый"}},
        {"قهوة", "middle-east/ar-declaration.txt", {"قهوة", "ﻗﻬﻮﺓ"}},
        {"בראשית", "middle-east/he-genesis.txt", {"בְּרֵאשִׁית", "בְּרֵאשִׁית", "בראשית"}},
        {"जन्मजात", "asia/hi-ghoshna.txt", {"जन्मजात"}},
        {"truyen kieu", "asia/vi-kieu.txt", {"Truye\u0323\u0302n Kie\u0302\u0300u"}},
        {"月", "asia/zh-jingyesi.txt", {"月", "月", "月"}},
        {"コーヒー", "asia/ja-neko.txt", {"コーヒー", "ｺｰﾋｰ"}},
        {"진달래꽃", "asia/ko-jindallae.txt", {"진달래꽃", "진달래꽃"}},
        {"\U0001F600", "forms/pictographs.txt", {"\U0001F600", "\U0001F600", "\U0001F600"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mWord) + " in " + c.mFile);
        RunResult const result = RunLoamctl({"--json", "search", c.mWord, Document(c.mFile)});
        EXPECT_EQ(result.mExitCode, 0);
        auto const hits = ParseLines(result.mOutput, "hit");
        EXPECT_EQ(TextsOf(hits), c.mTexts);
        for (auto const& hit : hits)
            EXPECT_EQ(BytesOf(hit), hit["text"]);
    }
}

TEST(CSearch, TellsThePlaceOfEachHit)
{
    auto const hits =
        ParseLines(RunLoamctl({"--json", "search", "cafe", LOAMCTL_DOCUMENTS}).mOutput, "hit");
    ASSERT_THAT(hits, Not(IsEmpty()));
    for (auto const& hit : hits) {
        SCOPED_TRACE(hit.dump());
        // Charset_test.cpp has those: not in UTF-8, and no mark says so.
        if (std::string(hit["path"]).ends_with("utf16.txt") || hit.contains("charset")) continue;
        EXPECT_EQ(BytesOf(hit), hit["text"]);
        std::string const file = ReadBytes(hit["path"]);
        if (file.starts_with("\xFF\xFE") || file.starts_with("\xFE\xFF")) continue;

        // Count again by hand, in UTF-8.
        std::size_t const offset = hit["offset"];
        std::string const before = file.substr(0, offset);
        std::size_t const lineStart = before.rfind('\n') + 1;
        EXPECT_EQ(hit["line"], 1 + std::count(before.begin(), before.end(), '\n'));
        std::string line = before.substr(lineStart);
        if (lineStart == 0 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        EXPECT_EQ(hit["column"], 1 + std::count_if(line.begin(), line.end(),
                                                   [](char c) { return (c & 0xC0) != 0x80; }));
        std::string const context = hit["context"];
        EXPECT_EQ(file.substr(hit["context_offset"], context.size()), context);
        EXPECT_THAT(context, HasSubstr(hit["text"]));
    }
}

TEST(CSearch, HighlightsEachHitInItsLine)
{
    RunResult const result =
        RunLoamctl({"search", "cafe", Document("europe/fr-mirabeau.txt"), "--color=always"});
    EXPECT_EQ(result.mOutput,
              "\x1b[1;35m" + Document("europe/fr-mirabeau.txt") +
                  "\x1b[0m:\x1b[32m20\x1b[0m:\x1b[32m17\x1b[0m: (Copie\u0301 dans un "
                  "\x1b[1;31mcafe\u0301\x1b[0m du quai Louis-Ble\u0301riot. Ce fichier est en "
                  "forme de\u0301compose\u0301e :\n");
    EXPECT_THAT(
        RunLoamctl({"search", "cafe", Document("europe/fr-menu.txt"), "--color=always"}).mOutput,
        HasSubstr(": Le \x1b[1;31mcaf\u00e9\x1b[0m est compris. Un deuxi\u00e8me "
                  "\x1b[1;31mcaf\u00e9\x1b[0m : 2 \u20ac\n"));
}

TEST(CSearch, StripsEveryLineEnd)
{
    StTempDir const folder;
    folder.Write("ends.txt", "a cafe\r\nb cafe\rc cafe\nd cafe");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"search", "cafe", "ends.txt"}).mOutput,
              "ends.txt:1:3: a cafe\nends.txt:2:3: b cafe\nends.txt:3:3: c cafe\n"
              "ends.txt:4:3: d cafe\n");
}

TEST(CSearch, CountsAndNames)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafe cafe\ncafe\n");
    folder.Write("b.txt", "tea\n");
    folder.Write("sub/c.txt", "Caf\u00e9\n");
    auto const run = [&folder](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"search", "cafe"});
        return RunLoamctlIn(folder.Path(), arguments).mOutput;
    };
    EXPECT_EQ(run({"-c"}), "a.txt:3\nsub/c.txt:1\n");
    EXPECT_EQ(run({"-c", "--max-count", "2"}), "a.txt:2\nsub/c.txt:1\n");
    EXPECT_EQ(run({"-l", "."}), "./a.txt\n./sub/c.txt\n");
    EXPECT_EQ(run({"-m", "1"}), "a.txt:1:1: cafe cafe\nsub/c.txt:1:1: Caf\u00e9\n");
    EXPECT_EQ(run({"-m", "3", "a.txt"}), "a.txt:1:1: cafe cafe\na.txt:2:1: cafe\n");

    auto const counts = ParseLines(run({"-c", "--json"}));
    ASSERT_THAT(counts, SizeIs(3));
    EXPECT_EQ(counts[0], (nlohmann::json{{"type", "count"}, {"path", "a.txt"}, {"hits", 3}}));
    auto const names = ParseLines(run({"-l", "--json"}));
    ASSERT_THAT(names, SizeIs(3));
    EXPECT_EQ(names[1], (nlohmann::json{{"type", "file"}, {"path", "sub/c.txt"}}));
    EXPECT_EQ(names[2]["files_with_hits"], 2);
}

TEST(CSearch, FindsWholeWordsOnDemand)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafes\nthe caf\u00e9.\nNew-York New Yorkers\n");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"search", "-w", "cafe"}).mOutput,
              "a.txt:2:5: the caf\u00e9.\n");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"search", "-w", "new york", "-c"}).mOutput, "a.txt:1\n");
}

TEST(CSearch, TellsByItsExitCode)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafe\n");
    auto const run = [&folder](std::vector<std::string> const& arguments) {
        return RunLoamctlIn(folder.Path(), arguments);
    };
    EXPECT_EQ(run({"search", "cafe"}).mExitCode, 0);
    EXPECT_EQ(run({"search", "tea"}).mExitCode, 1);
    EXPECT_EQ(run({"search", "tea"}).mOutput, "");
    RunResult const both = run({"search", "cafe", "missing", "a.txt"});
    EXPECT_EQ(both.mExitCode, 2);
    EXPECT_EQ(both.mOutput, "a.txt:1:1: cafe\n");
    EXPECT_EQ(both.mError, "loamctl: missing: No such file or directory\n");
}

TEST(CSearch, RefusesWhatCannotBeLookedFor)
{
    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        char const* mError;
    } const cases[] = {
        {"empty", {""}, "there is nothing to look for"},
        {"a mark alone", {"\u0301"}, "there is nothing to look for"},
        {"a line end", {"a\nb"}, "the word holds a line end, and a hit never spans lines"},
        {"not UTF-8", {"\xff"}, "the word is not UTF-8"},
        {"no word", {"-w", "."}, "there is no word in what to look for"},
        {"an empty path", {"a", ""}, "an empty path names nothing"},
        {"a path that is not UTF-8",
         {"a", "\xff"},
         "a path that is not UTF-8 can't be named: \xff"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::vector<std::string> arguments = c.mArguments;
        arguments.insert(arguments.begin(), "search");
        RunResult const result = RunLoamctl(arguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_EQ(result.mError, std::string("loamctl: ") + c.mError + "\n");
    }
}

TEST(CSearch, SaysWhatItPassedOver)
{
    RunResult const quiet = RunLoamctl({"search", "cafe", Document("forms"), "-c"});
    EXPECT_EQ(quiet.mError, "");
    RunResult const result = RunLoamctl({"search", "cafe", Document("forms"), "-v"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mError, "skipped " + Document("forms/cup.png") +
                                 " (binary: a null byte at offset 8)\n" +
                                 "\n8 hits in 3 of 5 files, 1.0 KB; skipped 1 binary\n");
}

TEST(CSearch, SumsUpInJSON)
{
    auto const objects =
        ParseLines(RunLoamctl({"--json", "search", "cafe", Document("forms")}).mOutput);
    ASSERT_THAT(objects, SizeIs(10));
    EXPECT_EQ(objects[0], (nlohmann::json{{"type", "skipped"},
                                          {"path", Document("forms/cup.png")},
                                          {"kind", "binary"},
                                          {"reason", "a null byte at offset 8"}}));
    EXPECT_EQ(objects.back(), (nlohmann::json{{"type", "summary"},
                                              {"hits", 8},
                                              {"files_with_hits", 3},
                                              {"files", 5},
                                              {"bytes", 1023},
                                              {"skipped", {{"binary", 1}}},
                                              {"errors", 0}}));
}

TEST(CSearch, CutsLongLinesAroundTheFirstHit)
{
    StTempDir const folder;
    std::string line;
    for (int i = 0; i < 40000; ++i)
        line += "filler \u00e9 ";
    std::size_t const place = line.size();
    line += "caf\u00e9";
    for (int i = 0; i < 40000; ++i)
        line += " filler";
    line += " cafe";
    folder.Write("long.txt", line);
    RunResult const result = RunLoamctlIn(folder.Path(), {"search", "cafe", "--max-columns=40"});
    EXPECT_EQ(result.mOutput, "long.txt:1:360001: \u2026 filler \u00e9 caf\u00e9 filler filler "
                              "filler fill\u2026 (+1)\n");

    auto const hits = ParseLines(
        RunLoamctlIn(folder.Path(), {"--json", "search", "cafe", "--max-columns=40"}).mOutput,
        "hit");
    ASSERT_THAT(hits, SizeIs(2));
    EXPECT_EQ(hits[0]["offset"], place);
    EXPECT_EQ(hits[0]["context"], " filler \u00e9 caf\u00e9 filler filler filler fill");
    EXPECT_EQ(hits[0]["context_offset"], place - std::string(" filler \u00e9 ").size());
    EXPECT_EQ(hits[1]["offset"], line.size() - 4);
    EXPECT_EQ(hits[1]["context"], " filler filler filler filler filler cafe");

    RunResult const whole = RunLoamctlIn(folder.Path(), {"search", "cafe", "--max-columns=0"});
    EXPECT_EQ(whole.mOutput, "long.txt:1:360001: " + line + "\n");
}

TEST(CSearch, OpensNothingThatCouldBlock)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafe\n");
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    RunResult const result = RunLoamctlIn(folder.Path(), {"search", "cafe", "-v"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_THAT(result.mError, HasSubstr("skipped pipe (other: neither a file nor a folder)\n"));
    RunResult const named = RunLoamctlIn(folder.Path(), {"search", "cafe", "pipe"});
    EXPECT_EQ(named.mExitCode, 2);
    EXPECT_EQ(named.mError, "loamctl: pipe: neither a file nor a folder\n");
}

TEST(CSearch, TellsFilesThatCannotBeRead)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafe\n");
    fs::resize_file(folder.Write("huge", "cafe\n"), (std::uintmax_t{512} << 20) + 1);
    RunResult const result = RunLoamctlIn(folder.Path(), {"search", "cafe"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(result.mOutput, "a.txt:1:1: cafe\n");
    EXPECT_EQ(result.mError, "loamctl: huge: larger than 512 MiB\n");
    auto const errors =
        ParseLines(RunLoamctlIn(folder.Path(), {"--json", "search", "cafe"}).mOutput, "error");
    ASSERT_THAT(errors, SizeIs(1));
    EXPECT_EQ(errors[0]["path"], "huge");
}

TEST(CSearch, TellsFilesThatFailWhileRead)
{
    std::string const path = "/proc/self/mem";
    if (!fs::exists(path)) GTEST_SKIP() << "no " << path << " on this system";
    RunResult const result = RunLoamctl({"search", "cafe", path});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(result.mError, "loamctl: /proc/self/mem: Input/output error\n");
}

TEST(CSearch, TellsFilesAndFoldersThatAreClosedToIt)
{
    if (geteuid() == 0) GTEST_SKIP() << "root may read everything";
    StTempDir const folder;
    folder.Write("closed.txt", "cafe\n");
    folder.Write("folder/in.txt", "cafe\n");
    fs::permissions(folder.Path("closed.txt"), fs::perms::none);
    fs::permissions(folder.Path("folder"), fs::perms::none);
    RunResult const result = RunLoamctlIn(folder.Path(), {"search", "cafe"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(result.mOutput, "");
    EXPECT_EQ(result.mError,
              "loamctl: closed.txt: Permission denied\nloamctl: folder: Permission denied\n");
}

}  // namespace
