#include "desktop/CFileSpecMacOSX.h"

#include "desktop/FileTypeAndExtension.h"
#include "files/CFileSpec.h"
#include "testing/ScriptedTypePlatform.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

using Questions = std::vector<std::string>;

constexpr unsigned int kText = 0x54455854;  // "TEXT"

// What is remembered is remembered by the whole process, so that each case has extensions and types
// of its own.
std::string TypeOf(std::u16string const& extension, unsigned int fileType, bool isFolder = false)
{
    std::string uti = "old";
    CFileSpecMacOSX::GetUTIForAttributes(extension, fileType, 0, isFolder, &uti);
    return uti;
}

std::string TypeOfExtension(std::u16string const& extension, bool isFolder)
{
    std::string uti = "old";
    CFileSpecMacOSX::UTIForExtension(extension, isFolder, uti);
    return uti;
}

std::string TypeOfFileType(unsigned int fileType)
{
    std::string uti = "old";
    CFileSpecMacOSX::UTIForFileType(fileType, uti);
    return uti;
}

}  // namespace

TEST(CFileSpecMacOSXTypes, AsksForPackageFirstOnlyForFolders)
{
    struct
    {
        char const* mWhat;
        std::u16string mExtension;
        bool mIsFolder;
        std::string mType;
        Questions mQuestions;
    } const cases[] = {
        {"file", u"both", false, "plain.both", {"extension both"}},
        {"folder that can be a package", u"both", true, "package.both", {"package both"}},
        {"folder that can't", u"plain", true, "plain.plain", {"package plain", "extension plain"}},
        {"unknown file", u"other", false, "", {"extension other"}},
        {"unknown folder", u"other", true, "", {"package other", "extension other"}},
        {"no extension", u"", false, "", {}},
        {"folder with no extension", u"", true, "", {}},
        {"case as it comes", u"BoTH", false, "", {"extension BoTH"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedTypePlatform platform;
        platform.mAnswers = {{"extension both", u"plain.both"},
                             {"package both", u"package.both"},
                             {"extension plain", u"plain.plain"}};
        StTypePlatform const inUse(platform);
        EXPECT_EQ(TypeOfExtension(c.mExtension, c.mIsFolder), c.mType);
        EXPECT_EQ(platform.GetQuestions(), c.mQuestions);
    }
}

TEST(CFileSpecMacOSXTypes, AsksNothingForTypesThatMeanNoType)
{
    struct
    {
        char const* mWhat;
        unsigned int mFileType;
        std::string mType;
        Questions mQuestions;
    } const cases[] = {
        {"zero", 0, "", {}},
        {"blanks", 0x20202020, "", {}},
        {"question marks", 0x3F3F3F3F, "", {}},
        {"one question mark", 0x3F3F3F20, "", {"type 3F3F3F20"}},
        {"all ones", 0xFFFFFFFF, "", {"type FFFFFFFF"}},
        {"known", kText, "known.text", {"type 54455854"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedTypePlatform platform;
        platform.mAnswers = {{"type 54455854", u"known.text"}, {"type 00000000", u"never"}};
        StTypePlatform const inUse(platform);
        EXPECT_EQ(TypeOfFileType(c.mFileType), c.mType);
        EXPECT_EQ(platform.GetQuestions(), c.mQuestions);
    }
}

TEST(CFileSpecMacOSXTypes, AnswersInUTF8)
{
    ScriptedTypePlatform platform;
    platform.mAnswers = {{"extension \xC3\xA9t\xC3\xA9", u"org.\u00E9t\u00E9.\U0001F600"},
                         {"type 55544638", u"\u0416"}};
    StTypePlatform const inUse(platform);
    EXPECT_EQ(TypeOfExtension(u"\u00E9t\u00E9", false), "org.\xC3\xA9t\xC3\xA9.\xF0\x9F\x98\x80");
    EXPECT_EQ(TypeOfFileType(0x55544638), "\xD0\x96");
}

TEST(CFileSpecMacOSXTypes, AsksForTheFileTypeFirstButOfTexts)
{
    struct
    {
        char const* mWhat;
        std::u16string mExtension;
        unsigned int mFileType;
        bool mIsFolder;
        std::string mType;
        Questions mQuestions;
    } const cases[] = {
        {"known type", u"first", 0x6B6E6F77, false, "by.type", {"type 6B6E6F77"}},
        {"unknown type",
         u"first",
         0x756E6B6E,
         false,
         "by.extension",
         {"type 756E6B6E", "extension first"}},
        {"unknown type of a folder",
         u"folder",
         0x756E6B6E,
         true,
         "by.package",
         {"type 756E6B6E", "package folder"}},
        {"no type", u"first", 0, false, "by.extension", {"extension first"}},
        {"blanks for a type", u"first", 0x20202020, false, "by.extension", {"extension first"}},
        {"nothing at all", u"", 0, false, "", {}},
        {"neither known",
         u"neither",
         0x756E6B6E,
         false,
         "",
         {"type 756E6B6E", "extension neither"}},
        {"text with a known extension",
         u"first",
         kText,
         false,
         "by.extension",
         {"extension first"}},
        {"text with an unknown extension",
         u"neither",
         kText,
         false,
         "by.text",
         {"extension neither", "type 54455854"}},
        {"text with no extension", u"", kText, false, "by.text", {"type 54455854"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedTypePlatform platform;
        platform.mAnswers = {{"type 6B6E6F77", u"by.type"},
                             {"type 54455854", u"by.text"},
                             {"extension first", u"by.extension"},
                             {"package folder", u"by.package"}};
        StTypePlatform const inUse(platform);
        EXPECT_EQ(TypeOf(c.mExtension, c.mFileType, c.mIsFolder), c.mType);
        EXPECT_EQ(platform.GetQuestions(), c.mQuestions);
        EXPECT_EQ(TypeOf(c.mExtension, c.mFileType, c.mIsFolder), c.mType) << "from memory";
        EXPECT_EQ(platform.GetQuestions(), c.mQuestions);
    }
}

TEST(CFileSpecMacOSXTypes, TriesNeitherTwiceForATextThatNobodyKnows)
{
    ScriptedTypePlatform platform;
    StTypePlatform const inUse(platform);
    EXPECT_EQ(TypeOf(u"nobody", kText), "");
    EXPECT_THAT(platform.GetQuestions(), ElementsAre("extension nobody", "type 54455854"));
}

TEST(CFileSpecMacOSXTypes, KeepsEmptyAnswers)
{
    ScriptedTypePlatform platform;
    StTypePlatform const inUse(platform);
    EXPECT_EQ(TypeOf(u"later", 0), "");
    platform.mAnswers = {{"extension later", u"known.by.now"}};
    EXPECT_EQ(TypeOf(u"later", 0), "");
    EXPECT_EQ(TypeOfExtension(u"later", false), "known.by.now");
}

TEST(CFileSpecMacOSXTypes, KeepsTheFirstAnswerWhateverElseIsAsked)
{
    ScriptedTypePlatform platform;
    platform.mAnswers = {{"extension fixed", u"first"}, {"package fixed", u"never"}};
    StTypePlatform const inUse(platform);
    EXPECT_EQ(TypeOf(u"fixed", 0, false), "first");
    EXPECT_EQ(TypeOf(u"fixed", 0, true), "first") << "the folder flag";
    std::string uti;
    CFileSpecMacOSX::GetUTIForAttributes(u"fixed", 0, 0x74747874, false, &uti);
    EXPECT_EQ(uti, "first") << "the creator";
    EXPECT_THAT(platform.GetQuestions(), ElementsAre("extension fixed"));
}

TEST(CFileSpecMacOSXTypes, RemembersByTypeAndExtensionInTheirCase)
{
    ScriptedTypePlatform platform;
    platform.mAnswers = {{"extension lower", u"lower"}, {"extension Lower", u"upper"}};
    StTypePlatform const inUse(platform);
    EXPECT_EQ(TypeOf(u"lower", 0), "lower");
    EXPECT_EQ(TypeOf(u"Lower", 0), "upper");
    EXPECT_EQ(TypeOf(u"lower", 0x6C6F7765), "lower");
    EXPECT_THAT(platform.GetQuestions(), ElementsAre("extension lower", "extension Lower",
                                                     "type 6C6F7765", "extension lower"));
}

TEST(CFileSpecMacOSXTypes, SpecifierAsksByItsExtension)
{
    ScriptedTypePlatform platform;
    platform.mAnswers = {{"extension ofspec", u"of.spec"}};
    StTypePlatform const inUse(platform);
    CFileSpec const spec(std::u16string(u"/nowhere/name.more.ofspec"), false);
    std::string uti = "old";
    spec.GetUTI(&uti);
    EXPECT_EQ(uti, "of.spec");
    uti = "old";
    CFileSpec::GetUTIForAttributes(u"ofspec", 0, 0, false, &uti);
    EXPECT_EQ(uti, "of.spec");
    EXPECT_THAT(platform.GetQuestions(), ElementsAre("extension ofspec"));
}

TEST(FileTypeAndExtension, OrderIsByTypeThenUnitByUnit)
{
    FileTypeAndExtension const inOrder[] = {
        {0, u""},
        {0, u"A"},
        {0, u"a"},
        {0, std::u16string(u"a\0", 2)},
        {0, u"aa"},
        {0, u"b"},
        {0, u"\xD83D\xDE00"},
        {0, u"\xFFFF"},
        {1, u""},
        {0x7FFFFFFF, u"z"},
        {0x80000000, u"a"},
        {0xFFFFFFFF, u""},
    };
    FileTypeAndExtensionComparator const isBefore;
    for (auto const& a : inOrder) {
        for (auto const& b : inOrder) {
            ASSERT_EQ(isBefore(a, b), &a < &b) << (&a - inOrder) << " and " << (&b - inOrder);
        }
    }
}
