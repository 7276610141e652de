#include "loamctl/CharsetGuess.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "loamctl/CCharset.h"
#include "loamctl/CLetterFit.h"
#include "loamctl/Interruption.h"
#include "loamctl/KnownCharsets.h"
#include "text/CCharsetConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/ConvertUTF.h"

namespace {

// How much is decoded to see how it fits.
constexpr std::size_t kSampleSize = 8192;
// How much is looked at to tell bytes that were never text.
constexpr std::size_t kBinaryProbe = 4096;
// So much of a large file is looked at byte by byte before somebody may want to stop: a few
// milliseconds.
constexpr std::size_t kStep = 8UL << 20;

// A text in the right charset stays well below so much for each unit beyond ASCII, and bytes that
// are no text stay above it. A few units may be anything.
constexpr long kHighestCostOfAUnit = 40;
constexpr long kHighestCostOfAFew = 150;

using C = CCharsetConverter;

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

// At so much a reading is no text.
long CostOfNoText(CLetterFit const& fit)
{
    return kHighestCostOfAFew + kHighestCostOfAUnit * static_cast<long>(fit.GetCount()) + 1;
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

    // What is damaged in a few places is UTF-8 all the same: no other charset looks like it.
    bool IsUTF8(std::size_t furtherCharacters) const
    {
        return mCharacters + furtherCharacters > 2 * mBadBytes;
    }
};

UTF8 const* BehindASCII(UTF8 const* at, UTF8 const* end)
{
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    std::uint64_t eight = 0;
    for (; end - at >= static_cast<std::ptrdiff_t>(sizeof eight); at += sizeof eight) {
        std::memcpy(&eight, at, sizeof eight);
        if ((eight & kHighBits) != 0) break;
    }
    while (at < end && *at < 0x80)
        ++at;
    return at;
}

// A character that is cut off at the end counts as neither. Stops where what is left can't make
// UTF-8 of it any more.
UTF8Tally TallyUTF8(std::string_view bytes)
{
    UTF8Tally tally;
    auto const* at = reinterpret_cast<UTF8 const*>(bytes.data());
    UTF8 const* const end = at + bytes.size();
    UTF8 const* lastCheck = at;
    while (at < end) {
        if (at - lastCheck >= static_cast<std::ptrdiff_t>(kStep)) {
            ThrowIfInterrupted();
            lastCheck = at;
        }
        if (*at < 0x80) {
            at = BehindASCII(at, end);
            continue;
        }
        std::ptrdiff_t const size = *at < 0xE0 ? 2 : *at < 0xF0 ? 3 : 4;
        bool const isLead = *at >= 0xC2 && *at < 0xF5;
        bool const isStart = isLead && end - at > 1 && (at[1] & 0xC0) == 0x80;
        bool const isSurrogate = isStart && *at == 0xED && at[1] >= 0xA0;
        if (isStart && !isSurrogate && isLegalUTF8Sequence(at, end)) {
            ++tally.mCharacters;
            at += size;
        } else if (isLead && end - at < size) {
            break;
        } else {
            ++tally.mBadBytes;
            ++at;
            if (!tally.IsUTF8(static_cast<std::size_t>(end - at) / 2)) break;
        }
    }
    return tally;
}

CharsetGuess GuessUTF8(std::string_view bytes)
{
    if (!HasBeyondASCII(bytes)) return {"US-ASCII", "", "no byte of 0x80 and above"};
    UTF8Tally const tally = TallyUTF8(bytes);
    if (!tally.IsUTF8(0)) return {};
    if (tally.mBadBytes == 0) return {"UTF-8", "", "well-formed UTF-8"};
    return {"UTF-8", "", fmt::format("UTF-8, but for {} bytes", tally.mBadBytes)};
}

// Each of them once.
std::string BytesIn(std::string_view bytes)
{
    std::array<bool, 256> isThere{};
    while (!bytes.empty()) {
        ThrowIfInterrupted();
        std::string_view const step = bytes.substr(0, kStep);
        for (char const c : step)
            isThere[static_cast<unsigned char>(c)] = true;
        bytes.remove_prefix(step.size());
    }
    std::string found;
    for (std::size_t code = 0; code < isThere.size(); ++code) {
        if (isThere[code]) found += static_cast<char>(code);
    }
    return found;
}

// The two readings that cost least, of those that differ.
class CContest
{
public:
    explicit CContest(std::string_view sample)
        : mSample(sample)
        , mBytes(BytesIn(sample))
        , mFit(sample)
    {
    }

    void Try(KnownCharset const& charset);

    CharsetGuess GetGuess() const;

private:
    struct Reading
    {
        KnownCharset const* mCharset = nullptr;
        LanguageFit mFit = {0, ""};
        CByteTable const* mTable = nullptr;  // not owned; null if the text is in mText
        std::u16string mText;
    };

    void TryTable(KnownCharset const& charset);
    void TryText(KnownCharset const& charset);
    long GetLimit(KnownCharset const& charset) const;
    void Enter(KnownCharset const& charset, Reading& reading);
    bool IsKnown(Reading const& reading) const;
    bool IsSame(Reading const& a, Reading const& b) const;
    bool IsSame(CByteTable const& table, std::u16string_view text) const;

    std::string_view mSample;
    std::string mBytes;  // of the sample, each once
    CLetterFit mFit;
    Reading mReading;  // the one in work
    Reading mBest;
    Reading mSecond;
};

void CContest::Try(KnownCharset const& charset)
{
    if (!charset.mTable) return TryText(charset);
    CByteTable const& table = *charset.mTable;
    auto const isMissing = [&table](char c) { return table[c] == CByteTable::kNoUnit; };
    if (std::none_of(mBytes.begin(), mBytes.end(), isMissing)) return TryTable(charset);
    // A missing one at the end may be cut off.
    auto const first = std::find_if(mSample.begin(), mSample.end(), isMissing);
    if (mSample.end() - first < static_cast<std::ptrdiff_t>(kLongestCharacter)) TryText(charset);
}

void CContest::TryTable(KnownCharset const& charset)
{
    mReading.mTable = charset.mTable.get();
    mReading.mText.clear();
    if (IsKnown(mReading)) return;
    mFit.SetBytes(*charset.mLetters);
    Enter(charset, mReading);
}

void CContest::TryText(KnownCharset const& charset)
{
    mReading.mTable = nullptr;
    if (!DecodeStart(charset.mCharset, mSample, mReading.mText) || IsKnown(mReading)) return;
    mFit.SetText(mReading.mText);
    Enter(charset, mReading);
}

// Where the reading costs so much, it comes in behind the others or is no text.
long CContest::GetLimit(KnownCharset const& charset) const
{
    long const noText = CostOfNoText(mFit);
    return mSecond.mCharset ? std::min(noText, mSecond.mFit.mCost - charset.mCost) : noText;
}

void CContest::Enter(KnownCharset const& charset, Reading& reading)
{
    long const limit = GetLimit(charset);
    if (mFit.FindLeastCost(limit) >= limit) return;
    reading.mFit = mFit.FindLanguage(limit);
    if (reading.mFit.mCost >= limit) return;
    reading.mFit.mCost += charset.mCost;
    reading.mCharset = &charset;
    if (!mBest.mCharset || reading.mFit.mCost < mBest.mFit.mCost) {
        std::swap(mSecond, mBest);
        std::swap(mBest, reading);
    } else {
        std::swap(mSecond, reading);
    }
}

bool CContest::IsKnown(Reading const& reading) const
{
    return (mBest.mCharset && IsSame(reading, mBest)) ||
           (mSecond.mCharset && IsSame(reading, mSecond));
}

bool CContest::IsSame(Reading const& a, Reading const& b) const
{
    if (!a.mTable && !b.mTable) return a.mText == b.mText;
    if (!a.mTable) return IsSame(*b.mTable, a.mText);
    if (!b.mTable) return IsSame(*a.mTable, b.mText);
    return std::all_of(mBytes.begin(), mBytes.end(),
                       [&](char c) { return (*a.mTable)[c] == (*b.mTable)[c]; });
}

bool CContest::IsSame(CByteTable const& table, std::u16string_view text) const
{
    return std::equal(mSample.begin(), mSample.end(), text.begin(), text.end(),
                      [&table](char c, char16_t unit) { return table[c] == unit; });
}

CharsetGuess CContest::GetGuess() const
{
    if (!mBest.mCharset) return {"", "", "no charset makes a text of it"};
    CharsetGuess guess = {mBest.mCharset->mCharset.GetName(), "", ""};
    bool const hasLanguage = *mBest.mFit.mLanguage != '\0';
    guess.mReason =
        hasLanguage ? fmt::format("letters as in {}", mBest.mFit.mLanguage) : "symbols of texts";
    if (mSecond.mCharset) {
        guess.mRunnerUp = mSecond.mCharset->mCharset.GetName();
        // Costs are in thirds of a bit.
        guess.mReason += fmt::format(", {} bits better than the next",
                                     (mSecond.mFit.mCost - mBest.mFit.mCost) / 3);
    }
    return guess;
}

// No charset is asked for a byte twice: the tests look at each by itself.
CharsetGuess GuessByLetters(std::string_view bytes)
{
    CContest contest(SampleOf(bytes));
    std::string const found = BytesIn(bytes);
    auto const count = static_cast<long long>(found.size());
    for (KnownCharset const& charset : KnownCharsets()) {
        if (!charset.mCanHold || charset.mCanHold(found.data(), count)) contest.Try(charset);
    }
    return contest.GetGuess();
}

}  // namespace

CharsetGuess GuessCharset(std::string_view bytes)
{
    for (auto const ask :
         {GuessByMark, GuessUTF16, RefuseNull, GuessISO2022, GuessUTF8, RefuseControls}) {
        ThrowIfInterrupted();
        CharsetGuess guess = ask(bytes);
        if (!guess.mReason.empty()) return guess;
    }
    return GuessByLetters(bytes);
}
