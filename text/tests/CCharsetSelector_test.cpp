#include "text/CCharsetSelector.h"

#include "text/CCharsetConverter.h"
#include "text/CharsetNames.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

typedef CCharsetSelector Charsets;
typedef Charsets::CharsetEnum CharsetEnum;
typedef Charsets::LangEnum LangEnum;
typedef std::vector<CharsetEnum> List;

struct Charset
{
    unsigned int mNumber;
    char const* mName;
    LangEnum mLang;
};

constexpr Charset kCharsets[] = {
    {0, "", Charsets::kLangWestern},                                // kCharsetNone
    {1, "UTF-16", Charsets::kLangUnicode},                          // kUTF_16
    {2, "UTF-8", Charsets::kLangUnicode},                           // kUTF_8
    {3, "UTF-7", Charsets::kLangUnicode},                           // kUTF_7
    {4, "UNICODE-1-1", Charsets::kLangUnicode},                     // kUNICODE_1_1
    {5, "UNICODE-1-1-UTF-8", Charsets::kLangUnicode},               // kUNICODE_1_1_UTF_8
    {6, "UNICODE-1-1-UTF-7", Charsets::kLangUnicode},               // kUNICODE_1_1_UTF_7
    {7, "US-ASCII", Charsets::kLangWestern},                        // kUS_ASCII
    {8, "ISO-8859-1", Charsets::kLangWestern},                      // kISO_8859_1
    {9, "cp1252", Charsets::kLangWestern},                          // kCP1252
    {10, "cp437", Charsets::kLangWestern},                          // kCP437
    {11, "x-mac-roman", Charsets::kLangWestern},                    // kMac_roman
    {12, "x-mac-icelandic", Charsets::kLangNorthernEuropean},       // kMac_icelandic
    {13, "x-mac-latin1", Charsets::kLangWestern},                   // kMac_latin1
    {14, "cp037", Charsets::kLangWestern},                          // kCP037
    {15, "ISO-8859-6", Charsets::kLangArabic},                      // kISO_8859_6
    {16, "cp1256", Charsets::kLangArabic},                          // kCP1256
    {17, "cp864", Charsets::kLangArabic},                           // kCP864
    {18, "x-mac-arabic", Charsets::kLangArabic},                    // kMac_arabic
    {19, "x-mac-farsi", Charsets::kLangArabic},                     // kMac_farsi
    {20, "ISO-8859-2", Charsets::kLangCentralEuropean},             // kISO_8859_2
    {21, "cp1250", Charsets::kLangCentralEuropean},                 // kCP1250
    {22, "x-mac-centraleurroman", Charsets::kLangCentralEuropean},  // kMac_centraleurroman
    {23, "x-mac-croatian", Charsets::kLangCentralEuropean},         // kMac_croatian
    {24, "x-mac-romanian", Charsets::kLangCentralEuropean},         // kMac_romanian
    {25, "GB2312", Charsets::kLangChineseTraditional},              // kGB2312
    {26, "ISO-2022-CN", Charsets::kLangChineseTraditional},         // kISO_2022_CN
    {27, "HZ-GB-2312", Charsets::kLangChineseTraditional},          // kHZ_GB_2312
    {28, "X-EUC-TW", Charsets::kLangChineseTraditional},            // kEUC_TW
    {29, "Big5", Charsets::kLangChineseTraditional},                // kBig5
    {30, "x-mac-chinesetrad", Charsets::kLangChineseTraditional},   // kMac_chinesetrad
    {31, "x-mac-chinesesimp", Charsets::kLangChineseTraditional},   // kMac_chinesesimp
    {32, "ISO-8859-5", Charsets::kLangCyrillic},                    // kISO_8859_5
    {33, "KOI8-R", Charsets::kLangCyrillic},                        // kKOI8_R
    {34, "cp1251", Charsets::kLangCyrillic},                        // kCP1251
    {35, "x-mac-cyrillic", Charsets::kLangCyrillic},                // kMac_cyrillic
    {36, "x-mac-ukrainian", Charsets::kLangCyrillic},               // kMac_ukrainian
    {37, "ISO-8859-7", Charsets::kLangGreek},                       // kISO_8859_7
    {38, "cp1253", Charsets::kLangGreek},                           // kCP1253
    {39, "x-mac-greek", Charsets::kLangGreek},                      // kMac_greek
    {40, "ISO-8859-8", Charsets::kLangHebrew},                      // kISO_8859_8
    {41, "cp1255", Charsets::kLangHebrew},                          // kCP1255
    {42, "x-mac-hebrew", Charsets::kLangHebrew},                    // kMac_hebrew
    {43, "EUC-JP", Charsets::kLangJapanese},                        // kEUC_JP
    {44, "ISO-2022-JP", Charsets::kLangJapanese},                   // kISO_2022_JP
    {45, "Shift_JIS", Charsets::kLangJapanese},                     // kShift_JIS
    {46, "x-mac-japanese", Charsets::kLangJapanese},                // kMac_japanese
    {47, "EUC-KR", Charsets::kLangKorean},                          // kEUC_KR
    {48, "ISO-2022-KR", Charsets::kLangKorean},                     // kISO_2022_KR
    {49, "x-mac-korean", Charsets::kLangKorean},                    // kMac_korean
    {50, "ISO-8859-5", Charsets::kLangTurkish},                     // kISO_8859_9
    {51, "cp1254", Charsets::kLangTurkish},                         // kCP1254
    {52, "x-mac-turkish", Charsets::kLangTurkish},                  // kMac_turkish
    {53, "cp1257", Charsets::kLangNorthernEuropean},                // kCP1257
    {54, "ISO-8859-3", Charsets::kLangTurkish},                     // kISO_8859_3
    {55, "ISO-8859-4", Charsets::kLangNorthernEuropean},            // kISO_8859_4
    {56, "ISO-8859-10", Charsets::kLangNorthernEuropean},           // kISO_8859_10
    {57, "ISO-8859-13", Charsets::kLangNorthernEuropean},           // kISO_8859_13
    {58, "ISO-8859-14", Charsets::kLangWestern},                    // kISO_8859_14
    {59, "ISO-8859-15", Charsets::kLangWestern},                    // kISO_8859_15
};

CharsetEnum Number(unsigned int number)
{
    return static_cast<CharsetEnum>(number);
}

List FirstOf(LangEnum lang)
{
    List first{Charsets::kCP1252};
    List second{Charsets::kCP1252};
    Charsets::GetCharsetList(lang, &first, &second);
    return first;
}

List SecondOf(LangEnum lang)
{
    List first;
    List second;
    Charsets::GetCharsetList(lang, &first, &second);
    return second;
}

}  // namespace

TEST(CCharsetSelector, GivesEachNumberItsNameAndLanguage)
{
    unsigned int number = 0;
    for (Charset const& c : kCharsets) {
        SCOPED_TRACE(c.mName);
        EXPECT_EQ(c.mNumber, number++);
        EXPECT_STREQ(CCharsetConverter::GetCharsetName(Number(c.mNumber)), c.mName);
        EXPECT_EQ(Charsets::GetLangFromCharset(Number(c.mNumber)), c.mLang);
    }
    EXPECT_EQ(number, 60U);
    EXPECT_EQ(Charsets::kISO_8859_15, 59);
}

TEST(CCharsetSelector, HasDefaultsForOtherNumbers)
{
    for (unsigned int const number : {60U, 255U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(number);
        EXPECT_STREQ(CCharsetConverter::GetCharsetName(Number(number)), "");
        EXPECT_EQ(Charsets::GetLangFromCharset(Number(number)), Charsets::kLangWestern);
        EXPECT_TRUE(Charsets::IsQPprefered(Number(number)));
        EXPECT_FALSE(Charsets::Is7bits(Number(number)));
    }
}

TEST(CCharsetSelector, KeepsTheTurkishCharsetsName)
{
    EXPECT_STREQ(cISO8859_9, "ISO-8859-5");
    EXPECT_STREQ(CCharsetConverter::GetCharsetName(Charsets::kISO_8859_9), "ISO-8859-5");
    EXPECT_STREQ(CCharsetConverter::GetCharsetName(Charsets::kISO_8859_5), "ISO-8859-5");
}

TEST(CCharsetSelector, KeepsSimplifiedChineseWithTheTraditional)
{
    for (CharsetEnum const charset : {Charsets::kGB2312, Charsets::kISO_2022_CN,
                                      Charsets::kHZ_GB_2312, Charsets::kMac_chinesesimp}) {
        EXPECT_EQ(Charsets::GetLangFromCharset(charset), Charsets::kLangChineseTraditional);
    }
}

TEST(CCharsetSelector, KnowsTheCharsetsOfSevenBits)
{
    List sevenBits;
    for (unsigned int number = 0; number < 100; ++number) {
        if (Charsets::Is7bits(Number(number))) sevenBits.push_back(Number(number));
    }
    EXPECT_EQ(sevenBits, (List{Charsets::kUTF_7, Charsets::kUNICODE_1_1_UTF_7, Charsets::kUS_ASCII,
                               Charsets::kISO_2022_CN, Charsets::kHZ_GB_2312,
                               Charsets::kISO_2022_JP, Charsets::kISO_2022_KR}));
}

TEST(CCharsetSelector, PrefersQuotedPrintableForLatinScripts)
{
    for (Charset const& c : kCharsets) {
        SCOPED_TRACE(c.mName);
        bool const isLatin =
            c.mLang == Charsets::kLangWestern || c.mLang == Charsets::kLangCentralEuropean ||
            c.mLang == Charsets::kLangNorthernEuropean || c.mLang == Charsets::kLangTurkish;
        EXPECT_EQ(Charsets::IsQPprefered(Number(c.mNumber)), isLatin);
    }
}

TEST(CCharsetSelector, ListsAllLanguagesButNone)
{
    std::vector<LangEnum> langs{Charsets::kLangNone};
    Charsets::GetLangList(&langs);
    ASSERT_EQ(langs.size(), 17U);
    for (unsigned int i = 0; i < langs.size(); ++i)
        EXPECT_EQ(langs[i], static_cast<LangEnum>(i + 1));
}

TEST(CCharsetSelector, ListsWhatIsEncodedByNumber)
{
    struct
    {
        LangEnum mLang;
        List mFirst;
        List mSecond;
    } const cases[] = {
        {Charsets::kLangNone, {Charsets::kUS_ASCII, Charsets::kUTF_8}, {}},
        {Charsets::kLangWestern,
         {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kISO_8859_15, Charsets::kUTF_8},
         {Charsets::kCP1252, Charsets::kMac_roman}},
        {Charsets::kLangReserved2, {Charsets::kUTF_8}, {}},
        {Charsets::kLangReserved5, {Charsets::kUTF_8}, {}},
        {Charsets::kLangJapanese, {Charsets::kUTF_8}, {}},
        {Charsets::kLangChineseSimplified, {Charsets::kUTF_8}, {}},
        {Charsets::kLangCentralEuropean, {Charsets::kUS_ASCII, Charsets::kUTF_8}, {}},
        {Charsets::kLangUnicode, {Charsets::kUTF_8}, {}},
        {Charsets::kLangNorthernEuropean,
         {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kUTF_8},
         {}},
        {Charsets::kLangTurkish,
         {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kUTF_8},
         {}},
        {static_cast<LangEnum>(18), {Charsets::kUTF_8}, {}},
        {static_cast<LangEnum>(0xFFFFFFFF), {Charsets::kUTF_8}, {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mLang);
        EXPECT_EQ(FirstOf(c.mLang), c.mFirst);
        EXPECT_EQ(SecondOf(c.mLang), c.mSecond);
    }
}
