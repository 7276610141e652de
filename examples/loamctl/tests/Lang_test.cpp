// `loamctl lang` and `loamctl lang-train`, run as a user would.

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/CLanguageProfile.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::map<std::string, std::string> LanguagesOf(std::string const& output)
{
    std::map<std::string, std::string> languages;
    for (auto const& object : ParseLines(output, "language"))
        languages[std::filesystem::path(object["path"]).filename()] = object["language"];
    return languages;
}

TEST(Lang, NamesTheLanguagesOfDocuments)
{
    std::map<std::string, std::string> const expected{
        {"ar-declaration.txt", "ar"},   {"de-brief.txt", "de"},
        {"el-ymnos.txt", "el"},         {"empty.txt", ""},
        {"en-office.txt", "en"},        {"es-diario.txt", "es"},
        {"fr-menu.txt", "fr"},          {"fr-mirabeau.txt", "fr"},
        {"he-genesis.txt", "he"},       {"hi-ghoshna.txt", "hi"},
        {"ja-neko.txt", "ja"},          {"ko-jindallae.txt", "ko"},
        {"pl-kawa.txt", "pl"},          {"ru-lukomorye.txt", "ru"},
        {"tr-gezi.txt", "tr"},          {"vi-kieu.txt", "vi"},
        {"zh-jingyesi.txt", "zh-Hans"},
    };
    RunResult const result = RunLoamctl({"lang", "--json", Document("")});
    EXPECT_EQ(result.mExitCode, 0);
    auto const languages = LanguagesOf(result.mOutput);
    for (auto const& [name, language] : expected) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(languages.contains(name));
        EXPECT_EQ(languages.at(name), language);
    }
}

TEST(Lang, TellsNameConfidenceAndFile)
{
    std::string const path = Document("europe/de-brief.txt");
    RunResult const result = RunLoamctl({"lang", path});
    EXPECT_THAT(result.mOutput, StartsWith("de      0."));
    EXPECT_THAT(result.mOutput, HasSubstr("  " + path + "\n"));
    EXPECT_EQ(result.mError, "");

    auto const objects = ParseLines(RunLoamctl({"lang", path, "--json"}).mOutput, "language");
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_GT(objects[0]["confidence"], 0.1);
    EXPECT_LE(objects[0]["confidence"], 1);
}

TEST(Lang, TellsByItsExitCode)
{
    StTempDir const folder;
    folder.Write("text", "Guten Tag, liebe Welt");
    folder.Write("empty", "");
    folder.Write("binary", std::string(9, '\0'));

    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        int mExitCode;
        char const* mError;
    } const cases[] = {
        {"a text", {"lang", "text"}, 0, ""},
        {"nothing in it", {"lang", "empty"}, 1, ""},
        {"no text", {"lang", "binary"}, 2, "a null byte"},
        {"nothing there", {"lang", "missing"}, 2, "No such file"},
        {"no profiles", {"lang", "--profiles", ".", "text"}, 2, "no language profile"},
        {"no such folder", {"lang", "--profiles", "none", "text"}, 2, "no language profile"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctlIn(folder.Path(), c.mArguments);
        EXPECT_EQ(result.mExitCode, c.mExitCode);
        EXPECT_THAT(result.mError, HasSubstr(c.mError));
    }
}

TEST(LangTrain, MakesProfilesThatTellLanguages)
{
    StTempDir const folder;
    folder.MakeFolder("counts");
    folder.MakeFolder("out");
    std::map<std::string, std::string> const texts{{"de", Document("europe/de-brief.txt")},
                                                   {"fr", Document("europe/fr-mirabeau.txt")},
                                                   {"pl", Document("europe/pl-kawa.txt")}};
    for (auto const& [name, path] : texts) {
        EXPECT_EQ(RunLoamctlIn(folder.Path(),
                               {"lang-train", "counts/" + name + ".lm", "--name", name, path})
                      .mExitCode,
                  0);
    }
    for (auto const& [name, path] : texts) {
        RunResult const result =
            RunLoamctlIn(folder.Path(), {"lang-train", "out/" + name + ".lm", "--name", name,
                                         "--against", "counts", path});
        EXPECT_EQ(result.mError, "");
        EXPECT_THAT(folder.Read("out/" + name + ".lm"),
                    StartsWith("Language: " + name + "\nCharset: utf-8\n"));
    }
    folder.Write("de.txt", "Das Wetter ist heute sehr sch\u00f6n, und wir gehen in den Garten.");
    folder.Write("fr.txt", "Il fait tr\u00e8s beau aujourd'hui et nous allons dans le jardin.");
    for (char const* const profiles : {"counts", "out"}) {
        SCOPED_TRACE(profiles);
        auto const languages =
            LanguagesOf(RunLoamctlIn(folder.Path(),
                                     {"lang", "--json", "--profiles", profiles, "de.txt", "fr.txt"})
                            .mOutput);
        EXPECT_EQ(languages.at("de.txt"), "de");
        EXPECT_EQ(languages.at("fr.txt"), "fr");
    }
}

TEST(LangTrain, WritesNothingWhereSomethingFails)
{
    StTempDir const folder;
    folder.Write("text", "some text");
    folder.Write("empty", "");
    folder.Write("binary", std::string(9, '\0'));
    folder.Write("bad/a.lm", "Language: a\n");
    folder.Write("there.lm", "former");

    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        char const* mError;
    } const cases[] = {
        {"nothing to learn from", {"empty"}, "no text to learn from"},
        {"no text", {"text", "binary"}, "a null byte"},
        {"nothing there", {"missing"}, "No such file"},
        {"nothing to tell it from", {"text", "--against", "none"}, "none: No such file"},
        {"no profile there", {"text", "--against", "empty"}, "there is no profile in it"},
        {"an empty profile there", {"text", "--against", "bad"}, "no n-gram is counted in it"},
        {"a limit without a reason", {"text", "--limit", "5"}, "--against"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::vector<std::string> arguments{"lang-train", "new.lm", "--name", "x"};
        arguments.insert(arguments.end(), c.mArguments.begin(), c.mArguments.end());
        RunResult const result = RunLoamctlIn(folder.Path(), arguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_THAT(result.mError, HasSubstr(c.mError));
        EXPECT_FALSE(folder.Has("new.lm"));
    }
    EXPECT_EQ(
        RunLoamctlIn(folder.Path(), {"lang-train", "new.lm", "--name", "a b", "text"}).mExitCode,
        2);
    std::vector<std::string> const taken{"lang-train", "there.lm", "--name", "x", "text"};
    EXPECT_EQ(RunLoamctlIn(folder.Path(), taken).mExitCode, 2);
    EXPECT_EQ(folder.Read("there.lm"), "former");
}

TEST(CLanguageProfile, CountsAndWeighs)
{
    CLanguageProfile here;
    here.AddText("a  #\n_");
    EXPECT_EQ(here.GetTotal(), 4 + 3 + 2 + 1);
    EXPECT_THAT(here.CountLines(), HasSubstr("a_\t1\n"));

    CLanguageProfile read;
    read.AddLines("Language: x\n#\t5\na_b\t7\nabcdefg\t3\nx\t-3\ny\t0\nz");
    EXPECT_EQ(read.CountLines(), "a_b\t7\n");

    // Twice as frequent here, and seldom there: ln 2 and the like, in hundredths.
    CLanguageProfile one;
    one.AddLines("a\t50\nb\t50\n");
    CLanguageProfile other;
    other.AddLines("b\t100\n");
    EXPECT_EQ(one.WeightLines({one, other}, 9), "a\t69\nb\t-41\n");
    EXPECT_EQ(one.WeightLines({one, other}, 1), "a\t69\n");
    EXPECT_EQ(one.WeightLines({one}, 9), "");
}

}  // namespace
