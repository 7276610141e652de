#include "text/platform/linux/EncodingNames.h"

#include "text/platform/CBasicCharsetPlatform.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string_view>

#include <unicode/ucnv.h>

namespace {

constexpr unsigned int kInvalid = CBasicCharsetPlatform::kInvalidEncoding;

struct NamedEncoding
{
    std::string_view mName;
    unsigned int mEncoding;
};

struct CodePage
{
    long mNumber;
    unsigned int mEncoding;
};

constexpr CodePage kCodePages[] = {
    {37, 0xC02},         {437, 0x400},   {737, 0x405},       {775, 0x406},       {850, 0x410},
    {851, 0x411},        {852, 0x412},   {855, 0x413},       {857, 0x414},       {860, 0x415},
    {861, 0x416},        {862, 0x417},   {863, 0x418},       {864, 0x419},       {865, 0x41A},
    {866, 0x41B},        {869, 0x41C},   {874, 0x41D},       {932, 0x420},       {936, 0x421},
    {949, 0x422},        {950, 0x423},   {1200, 0x100},      {1201, 0x10000100}, {1250, 0x501},
    {1251, 0x502},       {1252, 0x500},  {1253, 0x503},      {1254, 0x504},      {1255, 0x505},
    {1256, 0x506},       {1257, 0x507},  {1258, 0x508},      {1361, 0x510},      {10000, 0x0},
    {10001, 0x1},        {10002, 0x2},   {10003, 0x3},       {10004, 0x4},       {10005, 0x5},
    {10006, 0x6},        {10007, 0x7},   {10008, 0x19},      {10010, 0x26},      {10017, 0x98},
    {10021, 0x15},       {10029, 0x1D},  {10079, 0x25},      {10081, 0x23},      {10082, 0x24},
    {20127, 0x600},      {20866, 0xA02}, {21866, 0xA08},     {28591, 0x201},     {28592, 0x202},
    {28593, 0x203},      {28594, 0x204}, {28595, 0x205},     {28596, 0x206},     {28597, 0x207},
    {28598, 0x208},      {28599, 0x209}, {28600, 0x20A},     {28601, 0x20B},     {28603, 0x20D},
    {28604, 0x20E},      {28605, 0x20F}, {28606, 0x210},     {50221, 0x820},     {50225, 0x840},
    {50227, 0x830},      {51932, 0x920}, {51936, 0x930},     {51949, 0x940},     {51950, 0x931},
    {52936, 0xA05},      {54936, 0x632}, {65000, 0x4000100}, {65001, 0x8000100}, {65005, 0xC000100},
    {65006, 0x18000100},
};

// Behind "x-mac-", which may be left out.
constexpr NamedEncoding kMacEncodings[] = {
    {"arabic", 0x4},
    {"armenian", 0x18},
    {"bengali", 0xD},
    {"burmese", 0x13},
    {"celtic", 0x27},
    {"centraleurroman", 0x1D},
    {"croatian", 0x24},
    {"cyrillic", 0x7},
    {"devanagari", 0x9},
    {"dingbats", 0x22},
    {"ethiopic", 0x1C},
    {"farsi", 0x8C},
    {"gaelic", 0x28},
    {"georgian", 0x17},
    {"greek", 0x6},
    {"gujarati", 0xB},
    {"gurmukhi", 0xA},
    {"hebrew", 0x5},
    {"icelandic", 0x25},
    {"inuit", 0xEC},
    {"japanese", 0x1},
    {"kannada", 0x10},
    {"khmer", 0x14},
    {"korean", 0x3},
    {"laotian", 0x16},
    {"malayalam", 0x11},
    {"mongolian", 0x1B},
    {"oriya", 0xC},
    {"roman-latin1", 0xA04},
    {"romanian", 0x26},
    {"simp-chinese", 0x19},
    {"sinhalese", 0x12},
    {"symbol", 0x21},
    {"tamil", 0xE},
    {"telugu", 0xF},
    {"thai", 0x15},
    {"tibetan", 0x1A},
    {"trad-chinese", 0x2},
    {"turkish", 0x23},
    {"ukrainian", 0x98},
    {"vietnamese", 0x1E},
    // Names that are our own, not the desktop's.
    {"chinesesimp", 0x19},
    {"chinesetrad", 0x2},
};

constexpr NamedEncoding kOtherEncodings[] = {
    {"macintosh", 0x0},
    {"big5", 0xA03},
    {"big5-hkscs", 0xA06},
    {"euc-jp", 0x920},
    {"euc-kr", 0x940},
    {"euc-tw", 0x931},
    {"gb18030", 0x632},
    {"gb2312", 0x930},
    {"hz-gb-2312", 0xA05},
    {"ibm037", 0xC02},
    {"iso-2022-cn", 0x830},
    {"iso-2022-cn-ext", 0x831},
    {"iso-2022-jp", 0x820},
    {"iso-2022-jp-1", 0x822},
    {"iso-2022-jp-2", 0x821},
    {"iso-2022-jp-3", 0x823},
    {"iso-2022-kr", 0x840},
    {"koi8-r", 0xA02},
    {"koi8-u", 0xA08},
    {"shift_jis", 0xA01},
    {"us-ascii", 0x600},
    {"utf-16", 0x100},
    {"utf-16be", 0x10000100},
    {"utf-16le", 0x14000100},
    {"utf-32", 0xC000100},
    {"utf-32be", 0x18000100},
    {"utf-32le", 0x1C000100},
    {"utf-7", 0x4000100},
    {"utf-8", 0x8000100},
    {"utf7-imap", 0xA10},
    {"viscii", 0xA07},
    {"x-nextstep", 0xB01},
    // Names that are our own, not the desktop's.
    {"unicode-1-1", 0x100},
    {"unicode-1-1-utf-7", 0x4000100},
    {"x-euc-tw", 0x931},
    {"x-mac-latin1", 0xA04},
};

// What follows `prefix` in `text`; none if it begins otherwise.
std::optional<std::string_view> Behind(std::string_view prefix, std::string_view text)
{
    if (text.substr(0, prefix.size()) != prefix) return {};
    return text.substr(prefix.size());
}

template <class Table>
unsigned int Find(Table const& table, std::string_view name)
{
    auto const found =
        std::find_if(std::begin(table), std::end(table),
                     [&](NamedEncoding const& encoding) { return encoding.mName == name; });
    return found != std::end(table) ? found->mEncoding : kInvalid;
}

// The argument of these two ends with a null character.
unsigned int FindISO8859(std::string_view part)
{
    constexpr unsigned int kBeforeFirst = 0x200;
    long const number = std::strtol(part.data(), nullptr, 10);
    return number >= 1 && number <= 16 ? kBeforeFirst + static_cast<unsigned int>(number)
                                       : kInvalid;
}

unsigned int FindCodePage(std::string_view page)
{
    long const number = std::strtol(page.data(), nullptr, 10);
    auto const found = std::find_if(std::begin(kCodePages), std::end(kCodePages),
                                    [&](CodePage const& row) { return row.mNumber == number; });
    return found != std::end(kCodePages) ? found->mEncoding : kInvalid;
}

// By the desktop's own names, without its aliases. `name` is in lower case.
unsigned int FindCanonical(std::string const& name)
{
    if (auto const part = Behind("iso-8859-", name)) return FindISO8859(*part);
    for (std::string_view const prefix : {"cp", "windows-"}) {
        auto const page = Behind(prefix, name);
        if (!page) continue;
        unsigned int const encoding = FindCodePage(*page);
        if (encoding != kInvalid) return encoding;
    }
    unsigned int const encoding = Find(kOtherEncodings, name);
    if (encoding != kInvalid) return encoding;
    return Find(kMacEncodings, Behind("x-mac-", name).value_or(name));
}

std::string LowerCase(std::string_view name)
{
    std::string lower(name);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return lower;
}

}  // namespace

unsigned int EncodingOfName(std::string const& name)
{
    // ICU and the numbers' parser end at a null character, and ICU overlooks what isn't ASCII.
    bool const isASCII = std::all_of(name.begin(), name.end(),
                                     [](char c) { return static_cast<signed char>(c) > 0; });
    if (name.empty() || !isASCII) return kInvalid;
    std::string const lower = LowerCase(name);
    unsigned int encoding = FindCanonical(lower);
    for (char const* const standard : {"WINDOWS", "JAVA", "MIME"}) {
        if (encoding != kInvalid) break;
        UErrorCode error = U_ZERO_ERROR;
        char const* const alias = ucnv_getStandardName(lower.c_str(), standard, &error);
        if (U_SUCCESS(error) && alias) encoding = FindCanonical(LowerCase(alias));
    }
    return encoding;
}
