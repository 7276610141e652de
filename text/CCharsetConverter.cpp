#include "text/CCharsetConverter.h"

#include "foundation/FirstUse.h"
#include "marl/progressive_lock.h"
#include "marl/stringhelpers.h"
#include "text/CCharsetConverterCoreFoundation.h"
#include "text/CharsetNames.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <memory>
#include <shared_mutex>
#include <string_view>

namespace {

typedef CCharsetSelector Charsets;
typedef CCharsetSelector::CharsetEnum CharsetEnum;

// By number.
constexpr char const* kNames[] = {
    "",                     // kCharsetNone
    "UTF-16",               // kUTF_16
    "UTF-8",                // kUTF_8
    "UTF-7",                // kUTF_7
    "UNICODE-1-1",          // kUNICODE_1_1
    "UNICODE-1-1-UTF-8",    // kUNICODE_1_1_UTF_8
    "UNICODE-1-1-UTF-7",    // kUNICODE_1_1_UTF_7
    "US-ASCII",             // kUS_ASCII
    "ISO-8859-1",           // kISO_8859_1
    cCP1252,                // kCP1252
    cCP437,                 // kCP437
    cMacOSRoman,            // kMac_roman
    cMacOSIcelandic,        // kMac_icelandic
    cMacOSLatin_1,          // kMac_latin1
    cCP037,                 // kCP037
    "ISO-8859-6",           // kISO_8859_6
    cCP1256,                // kCP1256
    cCP864,                 // kCP864
    cMacOSArabic,           // kMac_arabic
    cMacOSFarsi,            // kMac_farsi
    "ISO-8859-2",           // kISO_8859_2
    cCP1250,                // kCP1250
    cMacOSCentralEuropean,  // kMac_centraleurroman
    cMacOSCroatian,         // kMac_croatian
    cMacOSRomanian,         // kMac_romanian
    "GB2312",               // kGB2312
    "ISO-2022-CN",          // kISO_2022_CN
    "HZ-GB-2312",           // kHZ_GB_2312
    "X-EUC-TW",             // kEUC_TW
    cBig_5,                 // kBig5
    cMacOSChineseTrad,      // kMac_chinesetrad
    cMacOShineseSimp,       // kMac_chinesesimp
    "ISO-8859-5",           // kISO_8859_5
    "KOI8-R",               // kKOI8_R
    cCP1251,                // kCP1251
    cMacOSCyrillic,         // kMac_cyrillic
    cMacOSUkrainian,        // kMac_ukrainian
    "ISO-8859-7",           // kISO_8859_7
    cCP1253,                // kCP1253
    cMacOSGreek,            // kMac_greek
    "ISO-8859-8",           // kISO_8859_8
    cCP1255,                // kCP1255
    cMacOSHebrew,           // kMac_hebrew
    "EUC-JP",               // kEUC_JP
    "ISO-2022-JP",          // kISO_2022_JP
    cShift_JIS,             // kShift_JIS
    cMacOSJapanese,         // kMac_japanese
    "EUC-KR",               // kEUC_KR
    "ISO-2022-KR",          // kISO_2022_KR
    cMacOSKorean,           // kMac_korean
    cISO8859_9,             // kISO_8859_9
    cCP1254,                // kCP1254
    cMacOSTurkish,          // kMac_turkish
    cCP1257,                // kCP1257
    "ISO-8859-3",           // kISO_8859_3
    "ISO-8859-4",           // kISO_8859_4
    "ISO-8859-10",          // kISO_8859_10
    "ISO-8859-13",          // kISO_8859_13
    "ISO-8859-14",          // kISO_8859_14
    "ISO-8859-15",          // kISO_8859_15
};
static_assert(std::size(kNames) == Charsets::kISO_8859_15 + 1);

struct InetName
{
    std::string_view mName;  // in upper case
    CharsetEnum mCharset;
};

// Kept on purpose: "LATIN5" is the Cyrillic charset, not the Turkish one, and the Ukrainian name,
// with a letter in lower case, is never found.
constexpr InetName kInetNames[] = {
    {"UTF-16", Charsets::kUTF_16},
    {"UTF16", Charsets::kUTF_16},
    {"UTF-16BE", Charsets::kUTF_16},
    {"UTF16BE", Charsets::kUTF_16},
    {"UTF-8", Charsets::kUTF_8},
    {"UTF8", Charsets::kUTF_8},
    {"UTF-7", Charsets::kUTF_7},
    {"UTF7", Charsets::kUTF_7},
    {"X-UNICODE-2-0-UTF-7", Charsets::kUTF_7},
    {"UNICODE-1-1", Charsets::kUNICODE_1_1},
    {"UNICODE-1-1-UTF-8", Charsets::kUNICODE_1_1_UTF_8},
    {"UNICODE-1-1-UTF-7", Charsets::kUNICODE_1_1_UTF_7},
    {"ASCII", Charsets::kUS_ASCII},
    {"US-ASCII", Charsets::kUS_ASCII},
    {"USASCII", Charsets::kUS_ASCII},
    {"ISO-8859-1", Charsets::kISO_8859_1},
    {"LATIN1", Charsets::kISO_8859_1},
    {"WINDOWS-1252", Charsets::kCP1252},
    {"CP1252", Charsets::kCP1252},
    {"CP437", Charsets::kCP437},
    {"MAC", Charsets::kMac_roman},
    {"MACINTOSH", Charsets::kMac_roman},
    {"X-MAC-ROMAN", Charsets::kMac_roman},
    {"X-MAC-ICELANDIC", Charsets::kMac_icelandic},
    {"X-MAC-LATIN1", Charsets::kMac_latin1},
    {"CP037", Charsets::kCP037},
    {"ARABIC", Charsets::kISO_8859_6},
    {"ISO-8859-6", Charsets::kISO_8859_6},
    {"WINDOWS-1256", Charsets::kCP1256},
    {"CP1256", Charsets::kCP1256},
    {"CP864", Charsets::kCP864},
    {"X-MAC-ARABIC", Charsets::kMac_arabic},
    {"X-MAC-FARSI", Charsets::kMac_farsi},
    {"ISO-8859-2", Charsets::kISO_8859_2},
    {"LATIN2", Charsets::kISO_8859_2},
    {"WINDOWS-1250", Charsets::kCP1250},
    {"CP1250", Charsets::kCP1250},
    {"X-MAC-CENTRALEURROMAN", Charsets::kMac_centraleurroman},
    {"X-MAC-CROATIAN", Charsets::kMac_croatian},
    {"X-MAC-ROMANIAN", Charsets::kMac_romanian},
    {"GB2312", Charsets::kGB2312},
    {"X-EUC-CN", Charsets::kGB2312},
    {"ISO-2022-CN", Charsets::kISO_2022_CN},
    {"HZ-GB-2312", Charsets::kHZ_GB_2312},
    {"X-EUC-TW", Charsets::kEUC_TW},
    {"BIG5", Charsets::kBig5},
    {"X-MAC-CHINESETRAD", Charsets::kMac_chinesetrad},
    {"X-MAC-CHINESESIMP", Charsets::kMac_chinesesimp},
    {"ISO-8859-5", Charsets::kISO_8859_5},
    {"LATIN5", Charsets::kISO_8859_5},
    {"CYRILLIC", Charsets::kISO_8859_5},
    {"KOI8-R", Charsets::kKOI8_R},
    {"KOI8R", Charsets::kKOI8_R},
    {"WINDOWS-1251", Charsets::kCP1251},
    {"CP1251", Charsets::kCP1251},
    {"X-MAC-CYRILLIC", Charsets::kMac_cyrillic},
    {"x-MAC-UKRAINIAN", Charsets::kMac_ukrainian},
    {"GREEK", Charsets::kISO_8859_7},
    {"ISO-8859-7", Charsets::kISO_8859_7},
    {"WINDOWS-1253", Charsets::kCP1253},
    {"CP1253", Charsets::kCP1253},
    {"X-MAC-GREEK", Charsets::kMac_greek},
    {"HEBREW", Charsets::kISO_8859_8},
    {"ISO-8859-8", Charsets::kISO_8859_8},
    {"WINDOWS-1255", Charsets::kCP1255},
    {"CP1255", Charsets::kCP1255},
    {"X-MAC-HEBREW", Charsets::kMac_hebrew},
    {"EUC-JP", Charsets::kEUC_JP},
    {"X-EUC-JP", Charsets::kEUC_JP},
    {"ISO-2022-JP", Charsets::kISO_2022_JP},
    {"SHIFT-JIS", Charsets::kShift_JIS},
    {"SHIFT_JIS", Charsets::kShift_JIS},
    {"X-SHIFT-JIS", Charsets::kShift_JIS},
    {"X-SJIS", Charsets::kShift_JIS},
    {"X-MAC-JAPANESE", Charsets::kMac_japanese},
    {"EUC-KR", Charsets::kEUC_KR},
    {"ISO-2022-KR", Charsets::kISO_2022_KR},
    {"X-MAC-KOREAN", Charsets::kMac_korean},
    {"ISO-8859-9", Charsets::kISO_8859_9},
    {"WINDOWS-1254", Charsets::kCP1254},
    {"CP1254", Charsets::kCP1254},
    {"X-MAC-TURKISH", Charsets::kMac_turkish},
    {"WINDOWS-1257", Charsets::kCP1257},
    {"CP1257", Charsets::kCP1257},
    {"ISO-8859-3", Charsets::kISO_8859_3},
    {"ISO-8859-4", Charsets::kISO_8859_4},
    {"ISO-8859-10", Charsets::kISO_8859_10},
    {"ISO-8859-13", Charsets::kISO_8859_13},
    {"ISO-8859-14", Charsets::kISO_8859_14},
    {"ISO-8859-15", Charsets::kISO_8859_15},
};
static_assert(std::size(kInetNames) == 90);

// `upperName` is in upper case.
CharsetEnum FindInetName(std::string_view upperName, CharsetEnum otherwise)
{
    auto const found = std::find_if(std::begin(kInetNames), std::end(kInetNames),
                                    [&](InetName const& row) { return row.mName == upperName; });
    return found != std::end(kInetNames) ? found->mCharset : otherwise;
}

// The charset that has the same characters as one that isn't supported; `otherwise` if none has.
CharsetEnum SubstituteFor(CharsetEnum charset, CharsetEnum otherwise)
{
    switch (charset) {
    case Charsets::kUNICODE_1_1:
        return Charsets::kUTF_16;
    case Charsets::kUNICODE_1_1_UTF_8:
        return Charsets::kUTF_8;
    case Charsets::kUNICODE_1_1_UTF_7:
        return Charsets::kUTF_7;
    case Charsets::kISO_8859_15:
        return Charsets::kISO_8859_1;
    default:
        return otherwise;
    }
}

// What names gave, by the name as it was asked for.
struct CharsetFromInetNameCache
{
    std::shared_mutex mMutex;
    std::map<std::string, CharsetEnum> mMap;  // guarded by mMutex
};

std::atomic<CharsetFromInetNameCache*> sCharsetFromInetNameCacheMap{nullptr};

}  // namespace

CCharsetConverter::CCharsetConverter()
    : CCharsetConverter(Charsets::kCharsetNone)
{
}

CCharsetConverter::CCharsetConverter(CharsetEnum charset)
    : mCharset(charset)
    , mImp(new CCharsetConverterCoreFoundation(charset))
{
}

CCharsetConverter::~CCharsetConverter()
{
    delete mImp;
}

void CCharsetConverter::SetCharset(CharsetEnum charset)
{
    mCharset = charset;
    CreateConverter();
}

void CCharsetConverter::CreateConverter()
{
    auto fresh = std::make_unique<CCharsetConverterCoreFoundation>(mCharset);
    delete mImp;
    mImp = fresh.release();
}

bool CCharsetConverter::SetCharset(std::string const& name)
{
    static_cast<CCharsetConverterCoreFoundation*>(mImp)->SetCharset(name);
    return true;
}

char const* CCharsetConverter::GetCharsetName(CharsetEnum charset)
{
    return charset < std::size(kNames) ? kNames[charset] : "";
}

CCharsetConverter::CharsetEnum CCharsetConverter::GetCharsetFromInetName(std::string const& name,
                                                                         bool asciiFallback) const
{
    CharsetFromInetNameCache& cache = *GetOrMake(
        sCharsetFromInetNameCacheMap, [] { return std::make_unique<CharsetFromInetNameCache>(); });
    progressive_lock lock(&cache.mMutex, progressive_lock::shared);
    if (auto const found = cache.mMap.find(name); found != cache.mMap.end()) return found->second;

    CharsetEnum const otherwise = asciiFallback ? Charsets::kUS_ASCII : Charsets::kCharsetNone;
    std::string upperName = name;
    ConvToUpper(upperName);
    CharsetEnum charset = FindInetName(upperName, otherwise);
    // Two steps at most: a substitute, and the default.
    while (charset != otherwise && !mImp->IsCharsetSupportedForDecoding(charset) &&
           !mImp->IsCharsetSupportedForEncoding(charset)) {
        charset = SubstituteFor(charset, otherwise);
    }
    // Of two threads that meet in the same name the first one's answer is everybody's.
    lock.lock_exclusive();
    return cache.mMap.emplace(name, charset).first->second;
}
