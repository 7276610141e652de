#include "text/CCharsetSelector.h"

#include "text/CCharsetConverter.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

typedef CCharsetSelector Charsets;
typedef CCharsetSelector::CharsetEnum CharsetEnum;
typedef CCharsetSelector::LangEnum LangEnum;

// The language of each charset, by number.
constexpr LangEnum kLangs[] = {
    Charsets::kLangWestern,             // kCharsetNone
    Charsets::kLangUnicode,             // kUTF_16
    Charsets::kLangUnicode,             // kUTF_8
    Charsets::kLangUnicode,             // kUTF_7
    Charsets::kLangUnicode,             // kUNICODE_1_1
    Charsets::kLangUnicode,             // kUNICODE_1_1_UTF_8
    Charsets::kLangUnicode,             // kUNICODE_1_1_UTF_7
    Charsets::kLangWestern,             // kUS_ASCII
    Charsets::kLangWestern,             // kISO_8859_1
    Charsets::kLangWestern,             // kCP1252
    Charsets::kLangWestern,             // kCP437
    Charsets::kLangWestern,             // kMac_roman
    Charsets::kLangNorthernEuropean,    // kMac_icelandic
    Charsets::kLangWestern,             // kMac_latin1
    Charsets::kLangWestern,             // kCP037
    Charsets::kLangArabic,              // kISO_8859_6
    Charsets::kLangArabic,              // kCP1256
    Charsets::kLangArabic,              // kCP864
    Charsets::kLangArabic,              // kMac_arabic
    Charsets::kLangArabic,              // kMac_farsi
    Charsets::kLangCentralEuropean,     // kISO_8859_2
    Charsets::kLangCentralEuropean,     // kCP1250
    Charsets::kLangCentralEuropean,     // kMac_centraleurroman
    Charsets::kLangCentralEuropean,     // kMac_croatian
    Charsets::kLangCentralEuropean,     // kMac_romanian
    Charsets::kLangChineseTraditional,  // kGB2312, and the other simplified ones
    Charsets::kLangChineseTraditional,  // kISO_2022_CN
    Charsets::kLangChineseTraditional,  // kHZ_GB_2312
    Charsets::kLangChineseTraditional,  // kEUC_TW
    Charsets::kLangChineseTraditional,  // kBig5
    Charsets::kLangChineseTraditional,  // kMac_chinesetrad
    Charsets::kLangChineseTraditional,  // kMac_chinesesimp
    Charsets::kLangCyrillic,            // kISO_8859_5
    Charsets::kLangCyrillic,            // kKOI8_R
    Charsets::kLangCyrillic,            // kCP1251
    Charsets::kLangCyrillic,            // kMac_cyrillic
    Charsets::kLangCyrillic,            // kMac_ukrainian
    Charsets::kLangGreek,               // kISO_8859_7
    Charsets::kLangGreek,               // kCP1253
    Charsets::kLangGreek,               // kMac_greek
    Charsets::kLangHebrew,              // kISO_8859_8
    Charsets::kLangHebrew,              // kCP1255
    Charsets::kLangHebrew,              // kMac_hebrew
    Charsets::kLangJapanese,            // kEUC_JP
    Charsets::kLangJapanese,            // kISO_2022_JP
    Charsets::kLangJapanese,            // kShift_JIS
    Charsets::kLangJapanese,            // kMac_japanese
    Charsets::kLangKorean,              // kEUC_KR
    Charsets::kLangKorean,              // kISO_2022_KR
    Charsets::kLangKorean,              // kMac_korean
    Charsets::kLangTurkish,             // kISO_8859_9
    Charsets::kLangTurkish,             // kCP1254
    Charsets::kLangTurkish,             // kMac_turkish
    Charsets::kLangNorthernEuropean,    // kCP1257
    Charsets::kLangTurkish,             // kISO_8859_3
    Charsets::kLangNorthernEuropean,    // kISO_8859_4
    Charsets::kLangNorthernEuropean,    // kISO_8859_10
    Charsets::kLangNorthernEuropean,    // kISO_8859_13
    Charsets::kLangWestern,             // kISO_8859_14
    Charsets::kLangWestern,             // kISO_8859_15
};
static_assert(std::size(kLangs) == Charsets::kISO_8859_15 + 1);

constexpr LangEnum kLastLang = Charsets::kLangTurkish;

// The charsets of a language, as many as there are: what follows the last one is `kCharsetNone`.
struct CharsetLists
{
    LangEnum mLang;
    std::array<CharsetEnum, 5> mFirst;
    std::array<CharsetEnum, 6> mSecond;
};

constexpr CharsetLists kCharsetLists[] = {
    {Charsets::kLangNone, {Charsets::kUS_ASCII}, {}},
    {Charsets::kLangWestern,
     {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kISO_8859_15},
     {Charsets::kISO_8859_14, Charsets::kCP1252, Charsets::kCP437, Charsets::kMac_roman,
      Charsets::kMac_latin1, Charsets::kCP037}},
    {Charsets::kLangJapanese,
     {Charsets::kEUC_JP, Charsets::kISO_2022_JP, Charsets::kShift_JIS},
     {Charsets::kMac_japanese}},
    {Charsets::kLangChineseTraditional,
     {Charsets::kEUC_TW, Charsets::kBig5},
     {Charsets::kMac_chinesetrad}},
    {Charsets::kLangChineseSimplified,
     {Charsets::kGB2312, Charsets::kISO_2022_CN, Charsets::kHZ_GB_2312},
     {Charsets::kMac_chinesesimp}},
    {Charsets::kLangKorean, {Charsets::kEUC_KR, Charsets::kISO_2022_KR}, {Charsets::kMac_korean}},
    {Charsets::kLangArabic,
     {Charsets::kISO_8859_6},
     {Charsets::kCP1256, Charsets::kCP864, Charsets::kMac_arabic, Charsets::kMac_farsi}},
    {Charsets::kLangHebrew, {Charsets::kISO_8859_8}, {Charsets::kCP1255, Charsets::kMac_hebrew}},
    {Charsets::kLangGreek, {Charsets::kISO_8859_7}, {Charsets::kCP1253, Charsets::kMac_greek}},
    {Charsets::kLangCyrillic,
     {Charsets::kISO_8859_5, Charsets::kKOI8_R},
     {Charsets::kCP1251, Charsets::kMac_cyrillic, Charsets::kMac_ukrainian}},
    {Charsets::kLangCentralEuropean,
     {Charsets::kUS_ASCII, Charsets::kISO_8859_2},
     {Charsets::kCP1250, Charsets::kMac_centraleurroman, Charsets::kMac_croatian,
      Charsets::kMac_romanian}},
    {Charsets::kLangNorthernEuropean,
     {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kISO_8859_10, Charsets::kISO_8859_4,
      Charsets::kISO_8859_13},
     {Charsets::kCP1257, Charsets::kMac_icelandic}},
    {Charsets::kLangTurkish,
     {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kISO_8859_9, Charsets::kISO_8859_3},
     {Charsets::kCP1254, Charsets::kMac_turkish}},
};

constexpr CharsetEnum kFirstOfAll[] = {Charsets::kUTF_16, Charsets::kUTF_8, Charsets::kUTF_7};
constexpr CharsetEnum kSecondOfAll[] = {Charsets::kUNICODE_1_1, Charsets::kUNICODE_1_1_UTF_8,
                                        Charsets::kUNICODE_1_1_UTF_7};

template <class List>
void Append(std::vector<CharsetEnum>& list, List const& charsets)
{
    list.insert(list.end(), std::begin(charsets),
                std::find(std::begin(charsets), std::end(charsets), Charsets::kCharsetNone));
}

void RemoveUnsupported(std::vector<CharsetEnum>& list)
{
    CCharsetConverter const converter;
    std::erase_if(list, [&](CharsetEnum charset) {
        return !converter.mImp->IsCharsetSupportedForEncoding(charset);
    });
}

}  // namespace

void CCharsetSelector::GetLangList(std::vector<LangEnum>* list)
{
    list->clear();
    for (unsigned int lang = kLangNone + 1; lang <= kLastLang; ++lang)
        list->push_back(static_cast<LangEnum>(lang));
}

void CCharsetSelector::GetCharsetList(LangEnum lang,
                                      std::vector<CharsetEnum>* first,
                                      std::vector<CharsetEnum>* second)
{
    first->clear();
    second->clear();
    for (CharsetLists const& lists : kCharsetLists) {
        if (lists.mLang != lang) continue;
        Append(*first, lists.mFirst);
        Append(*second, lists.mSecond);
    }
    Append(*first, kFirstOfAll);
    Append(*second, kSecondOfAll);
    RemoveUnsupported(*first);
    RemoveUnsupported(*second);
}

bool CCharsetSelector::Is7bits(CharsetEnum charset)
{
    switch (charset) {
    case kUTF_7:
    case kUNICODE_1_1_UTF_7:
    case kUS_ASCII:
    case kISO_2022_CN:
    case kHZ_GB_2312:
    case kISO_2022_JP:
    case kISO_2022_KR:
        return true;
    default:
        return false;
    }
}

bool CCharsetSelector::IsQPprefered(CharsetEnum charset)
{
    switch (GetLangFromCharset(charset)) {
    case kLangNone:
    case kLangWestern:
    case kLangCentralEuropean:
    case kLangNorthernEuropean:
    case kLangTurkish:
        return true;
    default:
        return false;
    }
}

CCharsetSelector::LangEnum CCharsetSelector::GetLangFromCharset(CharsetEnum charset)
{
    return charset < std::size(kLangs) ? kLangs[charset] : kLangWestern;
}
