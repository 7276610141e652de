#include "loamctl/CharsetGuess.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "loamctl/CCharset.h"
#include "loamctl/CLetterFit.h"
#include "text/CCharsetConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/ConvertUTF.h"

namespace {

using Question = bool (*)(char const*, long long);

bool CanBeAnything(char const* /*data*/, long long /*size*/)
{
    return true;
}

// How much is decoded to see how it fits.
constexpr std::size_t kSampleSize = 8192;
constexpr std::size_t kLongestCharacter = 4;
// How much is looked at to tell bytes that were never text.
constexpr std::size_t kBinaryProbe = 4096;

// A text in the right charset stays well below so much for each unit beyond ASCII, and bytes that
// are no text stay above it. A few units may be anything.
constexpr long kHighestCostOfAUnit = 40;
constexpr long kHighestCostOfAFew = 150;

struct Candidate
{
    char const* mName;
    Question mQuestion;
    long mCost;  // the rarer, the higher
};

using C = CCharsetConverter;

// A charset that holds all of another one stands for both. The names are those of the library's
// platform.
constexpr Candidate kCandidates[] = {
    {"windows-1252", C::CanConvertFromCP_1252, 0},
    {"Shift_JIS", CanBeAnything, 6},
    {"EUC-JP", CanBeAnything, 6},
    {"GBK", CanBeAnything, 6},
    {"GB18030", CanBeAnything, 7},
    {"Big5", CanBeAnything, 6},
    {"EUC-KR", CanBeAnything, 6},
    {"windows-949", CanBeAnything, 7},
    {"windows-1251", C::CanConvertFromCP_1251, 4},
    {"windows-1256", C::CanConvertFromCP_1256, 4},
    {"KOI8-R", CanBeAnything, 4},
    {"windows-1250", C::CanConvertFromCP_1250, 9},
    {"ISO-8859-2", C::CanConvertFromISO_8859_2, 9},
    {"ISO-8859-7", C::CanConvertFromISO_8859_7, 9},
    {"windows-1253", C::CanConvertFromCP_1253, 9},
    {"windows-1254", C::CanConvertFromCP_1254, 9},
    {"windows-1255", C::CanConvertFromCP_1255, 9},
    {"windows-874", CanBeAnything, 9},
    {"KOI8-U", CanBeAnything, 9},
    {"windows-1257", C::CanConvertFromCP_1257, 13},
    {"ISO-8859-5", C::CanConvertFromISO_8859_5, 13},
    {"ISO-8859-6", C::CanConvertFromISO_8859_6, 13},
    {"ISO-8859-8", C::CanConvertFromISO_8859_8, 13},
    {"ISO-8859-15", C::CanConvertFromISO_8859_15, 13},
    {"windows-1258", C::CanConvertFromCP_1258, 17},
    {"ISO-8859-13", C::CanConvertFromISO_8859_13, 17},
    {"ISO-8859-4", C::CanConvertFromISO_8859_4, 22},
    {"cp866", CanBeAnything, 22},
    {"macintosh", CanBeAnything, 26},
    {"x-mac-cyrillic", CanBeAnything, 26},
    {"ISO-8859-3", C::CanConvertFromISO_8859_3, 26},
    {"ISO-8859-10", C::CanConvertFromISO_8859_10, 26},
    {"ISO-8859-14", C::CanConvertFromISO_8859_14, 26},
    {"ISO-8859-16", C::CanConvertFromISO_8859_16, 26},
    {"cp437", CanBeAnything, 30},
    {"x-mac-centraleurroman", CanBeAnything, 30},
    {"x-mac-greek", CanBeAnything, 30},
    {"x-mac-turkish", CanBeAnything, 35},
};

// Converters are made once, in the order of the candidates.
std::vector<CCharset> const& Charsets()
{
    static std::vector<CCharset> const charsets = [] {
        std::vector<CCharset> made;
        for (Candidate const& candidate : kCandidates)
            made.emplace_back(candidate.mName);
        return made;
    }();
    return charsets;
}

bool IsASCII(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

bool HasBeyondASCII(std::string_view bytes)
{
    return !std::all_of(bytes.begin(), bytes.end(), IsASCII);
}

// Whole lines from the first one on that says something, as far as there are any.
std::string_view SampleOf(std::string_view bytes)
{
    if (bytes.size() <= kSampleSize) return bytes;
    auto const first = std::find_if_not(bytes.begin(), bytes.end(), IsASCII);
    auto const at = static_cast<std::size_t>(first - bytes.begin());
    std::size_t const lineEnd = bytes.substr(0, at).rfind('\n');
    std::string_view sample = bytes.substr(lineEnd == bytes.npos ? 0 : lineEnd + 1);
    if (first - sample.begin() > static_cast<std::ptrdiff_t>(kSampleSize / 2))
        sample = bytes.substr(at);
    sample = sample.substr(0, kSampleSize);
    std::size_t const lastEnd = sample.rfind('\n');
    return lastEnd == sample.npos || lastEnd < kSampleSize / 2 ? sample
                                                               : sample.substr(0, lastEnd + 1);
}

// What is cut off within its last character decodes without it, if there is another one to say
// something of the charset.
bool DecodeStart(CCharset const& charset, std::string_view bytes, std::u16string& text)
{
    if (charset.Decode(bytes, text)) return true;
    for (std::size_t cut = 1; cut < kLongestCharacter && cut <= bytes.size(); ++cut) {
        if (charset.Decode(bytes.substr(0, bytes.size() - cut), text))
            return !C::CanConvertLosslesslyToUSASCII(text);
    }
    return false;
}

bool IsPlausible(CLetterFit const& fit, LanguageFit const& language)
{
    return language.mCost <=
           kHighestCostOfAFew + kHighestCostOfAUnit * static_cast<long>(fit.GetCount());
}

// Control bytes that no text holds in any charset; tabs, line ends, page breaks, backspaces, the
// old end-of-file mark and terminal colours are all found in texts.
bool IsBinaryControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 && !std::strchr("\t\n\v\f\r\b\x1a\x1b", c);
}

// Only wide characters hold null bytes in a text.
CharsetGuess RefuseNull(std::string_view bytes)
{
    std::size_t const null = bytes.find('\0');
    if (null == bytes.npos) return {};
    return {"", "", fmt::format("a null byte at offset {}", null), true};
}

CharsetGuess RefuseControls(std::string_view bytes)
{
    std::string_view const probe = bytes.substr(0, kBinaryProbe);
    auto const control = std::find_if(probe.begin(), probe.end(), IsBinaryControl);
    if (control == probe.end()) return {};
    return {"", "",
            fmt::format("control byte 0x{:02X} at offset {}", static_cast<unsigned char>(*control),
                        control - probe.begin()),
            true};
}

CharsetGuess GuessByMark(std::string_view bytes)
{
    using namespace std::string_view_literals;

    struct Mark
    {
        std::string_view mBytes;
        char const* mCharset;
    };

    constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";
    if (bytes.starts_with(kUTF8Mark) && bytes.find('\0') != bytes.npos) return RefuseNull(bytes);
    // Those of UTF-32 first: one begins like UTF-16's.
    constexpr Mark kMarks[] = {
        {"\xFF\xFE\0\0"sv, "UTF-32LE"}, {"\0\0\xFE\xFF"sv, "UTF-32BE"}, {"\xFF\xFE"sv, "UTF-16LE"},
        {"\xFE\xFF"sv, "UTF-16BE"},     {kUTF8Mark, "UTF-8"},
    };
    for (Mark const& mark : kMarks) {
        if (bytes.starts_with(mark.mBytes))
            return {mark.mCharset, "", "its byte-order mark", false, true};
    }
    return {};
}

bool IsTextCharacter(char16_t unit)
{
    using Categories = CUnicodeCategoriesTable;
    switch (Categories::sTable[unit] & Categories::kCategoryBits) {
    case Categories::kCc:
        return unit < 0x80 && !IsBinaryControl(static_cast<char>(unit));
    case Categories::kCn:
    case Categories::kCo:
        return false;
    default:
        return true;
    }
}

// Of what is no text, many units are no characters; of a text in any language, hardly one is.
bool IsMadeOfCharacters(std::u16string_view text)
{
    auto const others = static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char16_t unit) { return !IsTextCharacter(unit); }));
    return others <= text.size() / 64;
}

CharsetGuess GuessUTF16(std::string_view bytes)
{
    bool bigEndian = false;
    bool littleEndian = false;
    bool notUTF16 = false;
    C::SniffUTF16(bytes.data(), static_cast<long long>(bytes.size()), &bigEndian, &littleEndian,
                  &notUTF16);
    if (!bigEndian && !littleEndian) return {};
    CCharset const charset(bigEndian ? "UTF-16BE" : "UTF-16LE");
    std::u16string text;
    if (!DecodeStart(charset, bytes.substr(0, kSampleSize), text) || !IsMadeOfCharacters(text))
        return {};
    return {charset.GetName(), "", "zero bytes where UTF-16 in that order has them"};
}

CharsetGuess GuessISO2022(std::string_view bytes)
{
    auto number = CCharsetSelector::kCharsetNone;
    if (HasBeyondASCII(bytes) || !C::SniffISO2022(std::string(bytes), number)) return {};
    CCharset const charset(C::GetCharsetName(number));
    std::u16string text;
    if (!DecodeStart(charset, bytes, text)) return {};
    // Terminals switch to ASCII by the same sequences.
    bool const isASCII = C::CanConvertLosslesslyToUSASCII(text);
    if (isASCII) return {};
    return {charset.GetName(), "", "its escape sequences"};
}

struct UTF8Tally
{
    std::size_t mCharacters = 0;  // beyond ASCII
    std::size_t mBadBytes = 0;
};

// A character that is cut off at the end counts as neither.
UTF8Tally TallyUTF8(std::string_view bytes)
{
    UTF8Tally tally;
    auto const* at = reinterpret_cast<UTF8 const*>(bytes.data());
    UTF8 const* const end = at + bytes.size();
    while (at < end) {
        if (*at < 0x80) {
            ++at;
            continue;
        }
        std::ptrdiff_t const size = *at < 0xE0 ? 2 : *at < 0xF0 ? 3 : 4;
        bool const isSurrogate = *at == 0xED && end - at > 1 && at[1] >= 0xA0;
        if (!isSurrogate && isLegalUTF8Sequence(at, end)) {
            ++tally.mCharacters;
            at += size;
        } else if (*at >= 0xC2 && *at < 0xF5 && end - at < size) {
            break;
        } else {
            ++tally.mBadBytes;
            ++at;
        }
    }
    return tally;
}

// What is damaged in a few places is UTF-8 all the same: no other charset looks like it.
CharsetGuess GuessUTF8(std::string_view bytes)
{
    if (!HasBeyondASCII(bytes)) return {"US-ASCII", "", "no byte of 0x80 and above"};
    UTF8Tally const tally = TallyUTF8(bytes);
    if (tally.mCharacters <= 2 * tally.mBadBytes) return {};
    if (tally.mBadBytes == 0) return {"UTF-8", "", "well-formed UTF-8"};
    return {"UTF-8", "", fmt::format("UTF-8, but for {} bytes", tally.mBadBytes)};
}

// The two readings that cost least, of those that differ.
class CContest
{
public:
    explicit CContest(std::string_view sample)
        : mSample(sample)
        , mFit(sample)
    {
    }

    void Try(CCharset const& charset, long cost);

    CharsetGuess GetGuess() const;

private:
    struct Reading
    {
        CCharset const* mCharset = nullptr;
        LanguageFit mFit = {0, ""};
        std::u16string mText;
    };

    std::string_view mSample;
    CLetterFit mFit;
    std::u16string mText;
    Reading mBest;
    Reading mSecond;
};

void CContest::Try(CCharset const& charset, long cost)
{
    if (!DecodeStart(charset, mSample, mText)) return;
    if (mBest.mCharset && mText == mBest.mText) return;
    if (mSecond.mCharset && mText == mSecond.mText) return;
    mFit.SetText(mText);
    if (mSecond.mCharset && mFit.GetLeastCost() + cost >= mSecond.mFit.mCost) return;
    LanguageFit fit = mFit.FindLanguage();
    if (!IsPlausible(mFit, fit)) return;
    fit.mCost += cost;
    if (!mBest.mCharset || fit.mCost < mBest.mFit.mCost) {
        mSecond = std::move(mBest);
        mBest = {&charset, fit, mText};
    } else if (!mSecond.mCharset || fit.mCost < mSecond.mFit.mCost) {
        mSecond = {&charset, fit, mText};
    }
}

CharsetGuess CContest::GetGuess() const
{
    if (!mBest.mCharset) return {"", "", "no charset makes a text of it"};
    CharsetGuess guess = {mBest.mCharset->GetName(), "", ""};
    bool const hasLanguage = *mBest.mFit.mLanguage != '\0';
    guess.mReason =
        hasLanguage ? fmt::format("letters as in {}", mBest.mFit.mLanguage) : "symbols of texts";
    if (mSecond.mCharset) {
        guess.mRunnerUp = mSecond.mCharset->GetName();
        // Costs are in thirds of a bit.
        guess.mReason += fmt::format(", {} bits better than the next",
                                     (mSecond.mFit.mCost - mBest.mFit.mCost) / 3);
    }
    return guess;
}

CharsetGuess GuessByLetters(std::string_view bytes)
{
    CContest contest(SampleOf(bytes));
    std::vector<CCharset> const& charsets = Charsets();
    for (std::size_t i = 0; i < charsets.size(); ++i) {
        Candidate const& candidate = kCandidates[i];
        if (candidate.mQuestion(bytes.data(), static_cast<long long>(bytes.size())))
            contest.Try(charsets[i], candidate.mCost);
    }
    return contest.GetGuess();
}

}  // namespace

CharsetGuess GuessCharset(std::string_view bytes)
{
    for (auto const ask :
         {GuessByMark, GuessUTF16, RefuseNull, GuessISO2022, GuessUTF8, RefuseControls}) {
        CharsetGuess guess = ask(bytes);
        if (!guess.mReason.empty()) return guess;
    }
    return GuessByLetters(bytes);
}
