// `loamctl scan`, run as a user would.

#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using namespace std::string_literals;
using testing::SizeIs;

// What so little text is taken for depends on the profiles.
std::string WithoutLanguages(std::string const& output)
{
    constexpr std::size_t kColumn = 31;
    constexpr std::size_t kWidth = 9;
    std::istringstream lines(output);
    std::string result;
    bool inTotals = false;
    for (std::string line; std::getline(lines, line); result += line + "\n") {
        inTotals |= line.empty();
        if (!inTotals) line.erase(kColumn, kWidth);
    }
    return result;
}

TEST(Scan, TellsWhatThereIs)
{
    StTempDir const folder;
    folder.Write("a.txt", std::string(1234, 'a'));
    folder.Write("b.bin", "\x7f"
                          "ELF\0"s);
    folder.Write("sub/c.txt", "\xFF\xFE" + AsUTF16(u"abc", false));
    std::filesystem::create_symlink("a.txt", folder.Path("z"));
    RunResult const result = RunLoamctlIn(folder.Path(), {"scan"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mError, "");
    EXPECT_EQ(WithoutLanguages(result.mOutput),
              "folder                         ./\n"
              "UTF-8                   1,234  a.txt\n"
              "binary                      5  b.bin  (a null byte at offset 4)\n"
              "folder                         sub/\n"
              "UTF-16LE                    8  sub/c.txt\n"
              "link                           z  (not followed)\n"
              "\n"
              "3 files in 2 folders, 1.2 KB\n"
              "  text     1 UTF-16LE, 1 UTF-8\n"
              "  skipped  1 binary, 1 link\n");
}

TEST(Scan, TellsTheDocuments)
{
    auto const objects = ParseLines(RunLoamctl({"scan", LOAMCTL_DOCUMENTS, "--json"}).mOutput);
    std::map<std::string, std::string> kinds;
    std::map<std::string, std::string> languages;
    for (auto const& object : objects) {
        if (object["type"] != "entry") continue;
        kinds[object["path"]] = object["kind"];
        languages[object["path"]] = object.value("language", "");
    }
    EXPECT_EQ(kinds[Document("europe/fr-menu.txt")], "UTF-8");
    EXPECT_EQ(kinds[Document("europe/en-letter-crlf.txt")], "UTF-8 with mark");
    EXPECT_EQ(kinds[Document("europe/pl-kawa.txt")], "UTF-16LE");
    EXPECT_EQ(kinds[Document("asia/ko-jindallae.txt")], "UTF-16BE");
    EXPECT_EQ(kinds[Document("forms/empty.txt")], "empty");
    EXPECT_EQ(kinds[Document("forms/cup.png")], "binary");
    EXPECT_EQ(kinds[Document("forms/latin1.txt")], "windows-1252");
    EXPECT_EQ(kinds[Document("asia")], "folder");
    EXPECT_EQ(kinds[Document("charsets/ja-shift-jis.txt")], "Shift_JIS");
    EXPECT_EQ(languages[Document("charsets/ja-shift-jis.txt")], "ja");
    EXPECT_EQ(languages[Document("charsets/ru-koi8r.txt")], "ru");
    EXPECT_EQ(languages[Document("forms/cup.png")], "");
    EXPECT_EQ(languages[Document("asia")], "");
    EXPECT_EQ(objects.back()["type"], "summary");
    EXPECT_EQ(objects.back()["errors"], 0);
    EXPECT_EQ(objects.back()["read"]["empty"], 1);
}

TEST(Scan, TellsErrors)
{
    StTempDir const folder;
    folder.Write("a.txt", "a");
    RunResult const result = RunLoamctlIn(folder.Path(), {"scan", "a.txt", "missing"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(WithoutLanguages(result.mOutput),
              "UTF-8                       1  a.txt\n"
              "unreadable                     missing  (No such file or directory)\n"
              "\n"
              "1 file in 0 folders, 1 byte\n"
              "  text     1 UTF-8\n"
              "  skipped  1 unreadable\n");
    auto const objects =
        ParseLines(RunLoamctlIn(folder.Path(), {"scan", "missing", "--json"}).mOutput);
    ASSERT_THAT(objects, SizeIs(2));
    EXPECT_EQ(objects[0]["error"], "No such file or directory");
    EXPECT_EQ(objects[1]["errors"], 1);
}

}  // namespace
