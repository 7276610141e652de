#include "text/CLanguageServices.h"

#include "files/CFileSpec.h"
#include "testing/ScriptedLanguagePlatform.h"
#include "testing/StTempDir.h"
#include "text/CLanguageServicesGeneric.h"
#include "text/CLanguageServicesMacOS.h"
#include "text/CUTFConverter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Names = std::vector<std::string>;

struct Answer
{
    std::string mLanguage = "former";
    float mConfidence = 7;

    bool operator==(Answer const& other) const
    {
        return mLanguage == other.mLanguage && mConfidence == other.mConfidence;
    }
};

std::ostream& operator<<(std::ostream& out, Answer const& answer)
{
    return out << answer.mLanguage << ' ' << answer.mConfidence;
}

template <class Services, class Text>
Answer Identify(Services& services, Text const& text)
{
    Answer answer;
    services.IdentifyLanguage(text, answer.mLanguage, answer.mConfidence);
    return answer;
}

template <class Services>
Answer IdentifyBytes(Services& services, char const* text, int length)
{
    Answer answer;
    services.IdentifyLanguage(text, length, answer.mLanguage, answer.mConfidence);
    return answer;
}

CFileSpec FolderOf(StTempDir const& folder)
{
    return CFileSpec(folder.Path(), false);
}

// Two profiles: what each is given says so by its first letter.
void WriteProfiles(StTempDir const& folder)
{
    folder.Write("alpha.lm", "Language: alpha\nCharset: utf-8\na\t9\n\xC3\xA4\t9\n");
    folder.Write("beta.utf8.lm", "Language: beta\nCharset: utf-8\nb\t9\n");
}

}  // namespace

TEST(CLanguageServices, HasOneObject)
{
    CLanguageServices* const services = CLanguageServices::GetLanguageServices();
    EXPECT_EQ(CLanguageServices::GetLanguageServices(), services);
    EXPECT_EQ(Identify(*services, std::string("text")), (Answer{"", 0}));
}

TEST(CLanguageServices, ForwardsToTheGenericImplementation)
{
    StTempDir const folder;
    WriteProfiles(folder);
    CLanguageServices services;
    EXPECT_NE(dynamic_cast<CLanguageServicesGeneric*>(services.mImp), nullptr);
    services.LoadLanguageDefinitions(FolderOf(folder), nullptr);
    EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"alpha", 1}));
    EXPECT_EQ(Identify(services, std::u16string(u"bbb")), (Answer{"beta", 1}));
    EXPECT_EQ(IdentifyBytes(services, "bbaaa", 2), (Answer{"beta", 1}));
    Answer answer;
    services.IdentifyLanguage(u"bbaaa", 2, answer.mLanguage, answer.mConfidence);
    EXPECT_EQ(answer, (Answer{"beta", 1}));
}

TEST(CLanguageServicesGeneric, KnowsNothingWithoutProfiles)
{
    StTempDir const folder;

    struct
    {
        char const* mWhat;
        CFileSpec mFolder;
    } const cases[] = {
        {"nothing there", CFileSpec(folder.Path("missing"), false)},
        {"a file", CFileSpec(folder.Write("file", ""), false)},
        {"no profile in it", CFileSpec(folder.MakeFolder("empty"), false)},
        {"a profile without a name",
         CFileSpec((folder.Write("bad/a.lm", "a\t1\n"), folder.Path("bad")), false)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CLanguageServicesGeneric services;
        EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"", 0}));
        services.LoadLanguageDefinitions(c.mFolder, nullptr);
        EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"", 0}));
        EXPECT_EQ(Identify(services, std::u16string(u"aaa")), (Answer{"", 0}));
    }
}

TEST(CLanguageServicesGeneric, LoadsTheLanguagesAskedFor)
{
    StTempDir const folder;
    WriteProfiles(folder);

    struct
    {
        char const* mWhat;
        Names mLanguages;
        Answer mAnswer;
    } const cases[] = {
        {"one", {"beta"}, {"beta", 1}},
        {"both", {"beta", "alpha"}, {"alpha", 1}},
        {"inside another name", {"alphabet"}, {"alpha", 1}},
        {"across two names", {"al", "pha"}, {"", 0}},
        {"an unknown one", {"gamma"}, {"", 0}},
        {"none", {}, {"", 0}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CLanguageServicesGeneric services;
        services.LoadLanguageDefinitions(FolderOf(folder), &c.mLanguages);
        EXPECT_EQ(Identify(services, std::string("aaa")), c.mAnswer);
    }
}

TEST(CLanguageServicesGeneric, ForgetsWhatItLoadedBefore)
{
    StTempDir const folder;
    WriteProfiles(folder);
    Names const alpha{"alpha"};
    Names const beta{"beta"};
    CLanguageServicesGeneric services;
    services.LoadLanguageDefinitions(FolderOf(folder), &alpha);
    services.LoadLanguageDefinitions(FolderOf(folder), &beta);
    EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"beta", 1}));
    services.LoadLanguageDefinitions(CFileSpec(folder.Path("missing"), false), nullptr);
    EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"", 0}));
}

TEST(CLanguageServicesGeneric, ForgetsWhatFailedToLoadBefore)
{
    StTempDir const folder;
    folder.Write("bad/a.lm", "Language: bad\nz\t9\n");
    folder.Write("good/b.lm", "Language: contrary\nCharset: utf-8\na\t-9\n");
    CLanguageServicesGeneric services;
    services.LoadLanguageDefinitions(CFileSpec(folder.Path("bad"), false), nullptr);
    services.LoadLanguageDefinitions(CFileSpec(folder.Path("good"), false), nullptr);
    // Scores below 0, where what failed would have had 0 and come first.
    EXPECT_EQ(Identify(services, std::string("aaa")), (Answer{"contrary", 1}));
}

TEST(CLanguageServicesGeneric, TakesTextInBothForms)
{
    StTempDir const folder;
    WriteProfiles(folder);
    CLanguageServicesGeneric services;
    services.LoadLanguageDefinitions(FolderOf(folder), nullptr);
    EXPECT_EQ(Identify(services, std::string("\xC3\xA4\xC3\xA4")).mLanguage, "alpha");
    EXPECT_EQ(Identify(services, std::u16string(u"\u00E4\u00E4")).mLanguage, "alpha");
    EXPECT_EQ(IdentifyBytes(services, "bb\0aaa", -1), (Answer{"beta", 1}));
    EXPECT_TRUE(std::isnan(Identify(services, std::string()).mConfidence));
    EXPECT_TRUE(std::isnan(Identify(services, std::u16string()).mConfidence));
    // Malformed bytes reach the guesser as they are.
    EXPECT_EQ(Identify(services, std::string("bbb\xFF")).mLanguage, "beta");
}

TEST(CLanguageServicesGeneric, TakesMalformedUTF16)
{
    StTempDir const folder;
    WriteProfiles(folder);
    CLanguageServicesGeneric services;
    services.LoadLanguageDefinitions(FolderOf(folder), nullptr);
    EXPECT_EQ(Identify(services, std::u16string{0xDC00, u'b', u'b', 0xD800}).mLanguage, "beta");
    Answer answer;
    services.IdentifyLanguage(u"bbb", -1, answer.mLanguage, answer.mConfidence);
    EXPECT_TRUE(std::isnan(answer.mConfidence));
}

TEST(CLanguageServicesMacOS, ChoosesARecognizer)
{
    struct
    {
        char const* mWhat;
        bool mPreference;
        LanguageSystemVersion mVersion;
        Names mTrace;
    } const cases[] = {
        {"asked for", true, {10, 14, 0}, {"make", "recognizer"}},
        {"asked for, a later system", true, {11, 0, 0}, {"make", "recognizer"}},
        {"asked for, too old a system", true, {10, 13, 6}, {"tagger"}},
        {"asked for, older still", true, {10, 12, 6}, {"tokenizer"}},
        {"not asked for", false, {14, 0, 0}, {"tagger"}},
        {"the first system with the tagger", false, {10, 13, 0}, {"tagger"}},
        {"the last one without", false, {10, 12, 9}, {"tokenizer"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedLanguagePlatform platform;
        platform.mPreference = c.mPreference;
        platform.mVersion = c.mVersion;
        platform.mLanguage = "en-US";
        StLanguagePlatform const use(platform);
        CLanguageServicesMacOS services;
        EXPECT_EQ(Identify(services, std::u16string(u"text")), (Answer{"en-US", 1}));
        Names expected{"preference UseNaturalLanguageIdentification"};
        expected.insert(expected.end(), c.mTrace.begin(), c.mTrace.end());
        EXPECT_EQ(platform.mTrace, expected);
        EXPECT_EQ(platform.mSuites.size(), 3U);
        EXPECT_EQ(platform.mText, u"text");
    }
}

TEST(CLanguageServicesMacOS, ChoosesOnceAndKeepsItsRecognizer)
{
    ScriptedLanguagePlatform platform;
    platform.mPreference = true;
    platform.mLanguage = "de";
    StLanguagePlatform const use(platform);
    CLanguageServicesMacOS services;
    Identify(services, std::u16string(u"one"));
    platform.mPreference = false;
    Identify(services, std::u16string(u"two"));
    CLanguageServicesMacOS others;
    Identify(others, std::u16string(u"three"));
    EXPECT_THAT(platform.mTrace, ElementsAre("preference UseNaturalLanguageIdentification", "make",
                                             "recognizer", "recognizer", "make", "recognizer"));
}

TEST(CLanguageServicesMacOS, CallsNoRecognizerThatTheSystemLacks)
{
    for (bool const isAskedFor : {true, false}) {
        SCOPED_TRACE(isAskedFor);
        ScriptedLanguagePlatform platform;
        platform.mPreference = isAskedFor;
        platform.mLanguage = "de";
        StLanguagePlatform const use(platform);
        CLanguageServicesMacOS services;
        CLanguageServicesMacOS::ChooseImplementation();
        platform.mVersion = {10, 12, 0};
        platform.mTrace.clear();
        EXPECT_EQ(Identify(services, std::u16string(u"text")), (Answer{"", 0}));
        EXPECT_THAT(platform.mTrace, IsEmpty());
    }
}

TEST(CLanguageServicesMacOS, FiltersLanguages)
{
    struct
    {
        char const* mWhat;
        bool mIsFiltering;
        Names mAccepted;
        char const* mLanguage;
        Answer mAnswer;
    } const cases[] = {
        {"no filter", false, {}, "fr", {"fr", 1}},
        {"accepted", true, {"en", "de"}, "en", {"en", 1}},
        {"refused", true, {"en", "de"}, "fr", {"", 0}},
        {"a region", true, {"en"}, "en-US", {"", 0}},
        {"another case", true, {"EN"}, "en", {"", 0}},
        {"an empty filter", true, {}, "en", {"", 0}},
        {"undetermined", false, {}, "und", {"", 0}},
        {"undetermined and accepted", true, {"und"}, "und", {"", 0}},
        {"an empty name", false, {}, "", {"", 0}},
        {"an empty name, accepted", true, {""}, "", {"", 0}},
        {"no answer", false, {}, nullptr, {"", 0}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedLanguagePlatform platform;
        platform.mLanguage = c.mLanguage;
        StLanguagePlatform const use(platform);
        CLanguageServicesMacOS services;
        services.LoadLanguageDefinitions(CFileSpec(), c.mIsFiltering ? &c.mAccepted : nullptr);
        EXPECT_EQ(Identify(services, std::u16string(u"text")), c.mAnswer);
    }
}

TEST(CLanguageServicesMacOS, LiftsTheFilter)
{
    ScriptedLanguagePlatform platform;
    platform.mLanguage = "fr";
    StLanguagePlatform const use(platform);
    CLanguageServicesMacOS services;
    Names const english{"en"};
    services.LoadLanguageDefinitions(CFileSpec(), &english);
    EXPECT_EQ(Identify(services, std::u16string(u"text")), (Answer{"", 0}));
    services.LoadLanguageDefinitions(CFileSpec(), nullptr);
    EXPECT_EQ(Identify(services, std::u16string(u"text")), (Answer{"fr", 1}));

    std::string language = "fr";
    float confidence = 0;
    EXPECT_TRUE(services.IsAcceptableLanguage(language, confidence));
    language = "und";
    EXPECT_FALSE(services.IsAcceptableLanguage(language, confidence));
    EXPECT_EQ(language, "");
}

TEST(CLanguageServicesMacOS, AsksAlsoForAnEmptyText)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        char16_t const* mText;
    } const cases[] = {
        {"text", "\xC3\xA9t\xC3\xA9", u"\u00E9t\u00E9"},
        {"empty", "", u""},
        {"malformed", "abc\xFF", u""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedLanguagePlatform platform;
        StLanguagePlatform const use(platform);
        CLanguageServicesMacOS services;
        EXPECT_EQ(Identify(services, c.mBytes), (Answer{"", 0}));
        EXPECT_EQ(platform.mTrace.back(), "tagger");
        EXPECT_EQ(platform.mText, c.mText);
    }
}

TEST(CLanguageServicesMacOS, TakesANegativeLengthForThatOfAnEmptyText)
{
    ScriptedLanguagePlatform platform;
    StLanguagePlatform const use(platform);
    CLanguageServicesMacOS services;
    platform.mText = u"former";
    Answer answer;
    services.IdentifyLanguage(u"text", -1, answer.mLanguage, answer.mConfidence);
    EXPECT_EQ(answer, (Answer{"", 0}));
    EXPECT_EQ(platform.mText, u"");
    platform.mText = u"former";
    EXPECT_EQ(IdentifyBytes(services, "text", -1), (Answer{"", 0}));
    EXPECT_EQ(platform.mText, u"");
}

TEST(CLanguageServicesMacOS, HasNothingToAskOnOtherSystems)
{
    CLanguageServicesMacOS::ForgetImplementation();
    CLanguageServicesMacOS services;
    EXPECT_EQ(Identify(services, std::u16string(u"text")), (Answer{"", 0}));
    CBasicLanguagePlatform& platform = LanguagePlatform();
    std::string language = "former";
    EXPECT_EQ(platform.MakeRecognizer(), nullptr);
    EXPECT_FALSE(platform.AskRecognizer(nullptr, u"", 0, language));
    EXPECT_FALSE(platform.AskTagger(u"", 0, language));
    EXPECT_FALSE(platform.AskTokenizer(u"", 0, language));
    EXPECT_EQ(language, "former");
    CLanguageServicesMacOS::ForgetImplementation();
}
