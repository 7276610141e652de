#include "loamctl/KnownCharsets.h"

#include <algorithm>
#include <string>
#include <utility>

#include "text/CCharsetConverter.h"

namespace {

// Whether each byte stands for a unit whatever stands beside it.
enum Width
{
    kByte,
    kWide,
};

struct Candidate
{
    char const* mName;
    bool (*mCanHold)(char const*, long long);
    long mCost;
    Width mWidth;
};

using C = CCharsetConverter;

// A charset that holds all of another one stands for both. The names are those of the library's
// platform.
constexpr Candidate kCandidates[] = {
    {"windows-1252", C::CanConvertFromCP_1252, 0, kByte},
    {"Shift_JIS", nullptr, 6, kWide},
    {"EUC-JP", nullptr, 6, kWide},
    {"GBK", nullptr, 6, kWide},
    {"GB18030", nullptr, 7, kWide},
    {"Big5", nullptr, 6, kWide},
    {"EUC-KR", nullptr, 6, kWide},
    {"windows-949", nullptr, 7, kWide},
    {"windows-1251", C::CanConvertFromCP_1251, 4, kByte},
    {"windows-1256", C::CanConvertFromCP_1256, 4, kByte},
    {"KOI8-R", nullptr, 4, kByte},
    {"windows-1250", C::CanConvertFromCP_1250, 9, kByte},
    {"ISO-8859-2", C::CanConvertFromISO_8859_2, 9, kByte},
    {"ISO-8859-7", C::CanConvertFromISO_8859_7, 9, kByte},
    {"windows-1253", C::CanConvertFromCP_1253, 9, kByte},
    {"windows-1254", C::CanConvertFromCP_1254, 9, kByte},
    {"windows-1255", C::CanConvertFromCP_1255, 9, kByte},
    {"windows-874", nullptr, 9, kByte},
    {"KOI8-U", nullptr, 9, kByte},
    {"windows-1257", C::CanConvertFromCP_1257, 13, kByte},
    {"ISO-8859-5", C::CanConvertFromISO_8859_5, 13, kByte},
    {"ISO-8859-6", C::CanConvertFromISO_8859_6, 13, kByte},
    {"ISO-8859-8", C::CanConvertFromISO_8859_8, 13, kByte},
    {"ISO-8859-15", C::CanConvertFromISO_8859_15, 13, kByte},
    {"windows-1258", C::CanConvertFromCP_1258, 17, kByte},
    {"ISO-8859-13", C::CanConvertFromISO_8859_13, 17, kByte},
    {"ISO-8859-4", C::CanConvertFromISO_8859_4, 22, kByte},
    {"cp866", nullptr, 22, kByte},
    {"macintosh", nullptr, 26, kByte},
    {"x-mac-cyrillic", nullptr, 26, kByte},
    {"ISO-8859-3", C::CanConvertFromISO_8859_3, 26, kByte},
    {"ISO-8859-10", C::CanConvertFromISO_8859_10, 26, kByte},
    {"ISO-8859-14", C::CanConvertFromISO_8859_14, 26, kByte},
    {"ISO-8859-16", C::CanConvertFromISO_8859_16, 26, kByte},
    {"cp437", nullptr, 30, kByte},
    {"x-mac-centraleurroman", nullptr, 30, kByte},
    {"x-mac-greek", nullptr, 30, kByte},
    {"x-mac-turkish", nullptr, 35, kByte},
};

KnownCharset Make(Candidate const& candidate)
{
    KnownCharset known{CCharset(candidate.mName), candidate.mCanHold, candidate.mCost, nullptr,
                       nullptr};
    if (candidate.mWidth == kWide) return known;
    auto table = std::make_unique<CByteTable const>(known.mCharset);
    // A platform may see more in a byte than others do.
    if (!table->IsWhole()) return known;
    known.mLetters = std::make_unique<CByteLetters const>(*table);
    known.mTable = std::move(table);
    return known;
}

}  // namespace

std::vector<KnownCharset> const& KnownCharsets()
{
    static std::vector<KnownCharset> const charsets = [] {
        std::vector<KnownCharset> made;
        for (Candidate const& candidate : kCandidates)
            made.push_back(Make(candidate));
        return made;
    }();
    return charsets;
}

KnownCharset const* FindKnownCharset(std::string_view name)
{
    std::vector<KnownCharset> const& all = KnownCharsets();
    auto const found = std::find_if(all.begin(), all.end(), [name](KnownCharset const& known) {
        return known.mCharset.GetName() == name;
    });
    return found == all.end() ? nullptr : &*found;
}
