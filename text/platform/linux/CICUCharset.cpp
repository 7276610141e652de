#include "text/platform/linux/CICUCharset.h"

#include "text/SingleByteText.h"
#include "text/platform/linux/TextSinks.h"

#include <algorithm>
#include <iterator>

namespace {

// What ICU takes in one call is limited.
constexpr std::size_t kMostInCall = std::size_t{1} << 28;
constexpr std::size_t kScratch = 256;

UChar* Units(char16_t* text)
{
    return reinterpret_cast<UChar*>(text);
}

bool IsASCII(char const* source, std::size_t size)
{
    return std::all_of(source, source + size,
                       [](char c) { return static_cast<signed char>(c) >= 0; });
}

bool IsASCII(char16_t const* source, std::size_t length)
{
    return std::all_of(source, source + length, [](char16_t unit) { return unit < 0x80; });
}

UConverter* Open(char const* name, UErrorCode& error)
{
    constexpr UChar kLossUnit = static_cast<unsigned char>(kLossByte);
    UConverter* const converter = ucnv_open(name, &error);
    if (U_FAILURE(error)) return nullptr;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ucnv_setSubstString(converter, &kLossUnit, 1, &error);
    if (U_SUCCESS(error)) return converter;
    ucnv_close(converter);
    return nullptr;
}

// How far an attempt to encode a text came.
struct Attempt
{
    bool mIsDone = false;      // all of it is in the target
    bool mIsFailed = false;    // ICU has something against the text
    std::size_t mWritten = 0;  // bytes
    std::size_t mWhole = 0;    // if not: the units of which all bytes may be in the target
    bool mIsExact = false;     // and the target holds nothing else
};

std::size_t WithoutLastCharacter(char16_t const* text, std::size_t length)
{
    if (length == 0) return 0;
    bool const isPair =
        length > 1 && IsHighSurrogate(text[length - 2]) && IsLowSurrogate(text[length - 1]);
    return length - (isPair ? 2 : 1);
}

// Encodes from the initial state to the final one.
Attempt TryEncode(UConverter* converter,
                  char16_t const* source,
                  std::size_t length,
                  char* target,
                  std::size_t capacity)
{
    ucnv_resetFromUnicode(converter);
    auto const* cursor = reinterpret_cast<UChar const*>(source);
    UChar const* const end = cursor + length;
    char* place = target;
    Attempt attempt;
    for (;;) {
        auto const left = static_cast<std::size_t>(end - cursor);
        UChar const* const stop = cursor + std::min(left, kMostInCall);
        std::size_t const room = capacity - static_cast<std::size_t>(place - target);
        UErrorCode error = U_ZERO_ERROR;
        ucnv_fromUnicode(converter, &place, place + std::min(room, kMostInCall), &cursor, stop,
                         nullptr, stop == end, &error);
        attempt.mWritten = static_cast<std::size_t>(place - target);
        if (error == U_BUFFER_OVERFLOW_ERROR) {
            if (attempt.mWritten < capacity) continue;
            break;
        }
        attempt.mIsFailed = U_FAILURE(error);
        attempt.mIsDone = !attempt.mIsFailed && cursor == end;
        if (attempt.mIsFailed || attempt.mIsDone) return attempt;
    }
    // What ICU has consumed is whole unless it keeps bytes for which there was no room.
    auto const consumed = static_cast<std::size_t>(cursor - reinterpret_cast<UChar const*>(source));
    char scratch[kScratch];
    char* scratchEnd = scratch;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, &scratchEnd, scratch + kScratch, &cursor, cursor, nullptr, false,
                     &error);
    attempt.mIsExact = scratchEnd == scratch;
    attempt.mWhole = attempt.mIsExact ? consumed : WithoutLastCharacter(source, consumed);
    return attempt;
}

}  // namespace

// A converter for a scope, in the initial state.
class CICUCharset::StConverter
{
public:
    explicit StConverter(CICUCharset& charset)
        : mCharset(charset)
        , mConverter(charset.Take())
    {
    }

    StConverter(StConverter const&) = delete;
    StConverter& operator=(StConverter const&) = delete;

    ~StConverter()
    {
        if (mConverter) mCharset.GiveBack(mConverter);
    }

    UConverter* Get() const { return mConverter; }

private:
    CICUCharset& mCharset;
    UConverter* mConverter;  // owned
};

UConverter* CICUCharset::Take()
{
    {
        std::lock_guard<std::mutex> const lock(mMutex);
        if (mIsMissing) return nullptr;
        if (mIdleCount != 0) return mIdle[--mIdleCount];
    }
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = Open(mName, error);
    if (!converter && error != U_MEMORY_ALLOCATION_ERROR) {
        std::lock_guard<std::mutex> const lock(mMutex);
        mIsMissing = true;
    }
    return converter;
}

void CICUCharset::GiveBack(UConverter* converter)
{
    ucnv_reset(converter);
    {
        std::lock_guard<std::mutex> const lock(mMutex);
        if (mIdleCount < kMostIdle) {
            mIdle[mIdleCount++] = converter;
            return;
        }
    }
    ucnv_close(converter);
}

DecodeOutcome CICUCharset::Decode(char const* source,
                                  std::size_t size,
                                  char16_t* target,
                                  std::size_t capacity,
                                  std::size_t* length)
{
    *length = size;
    if (mKind == kASCIISuperset && IsASCII(source, size)) {
        if (size > capacity) return kDecodeNoRoom;
        SingleByteText::Widen<unsigned char>(size, source, target);
        return kDecoded;
    }

    StConverter const converter(*this);
    if (!converter.Get()) return kDecodeRefused;
    char const* const end = source + size;
    std::size_t done = 0;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR || source != end) {
        // What doesn't fit is converted nevertheless: bytes that are refused come first.
        char16_t scratch[kScratch];
        bool const isFull = done >= capacity;
        UChar* const start = Units(isFull ? scratch : target + done);
        std::size_t const room = isFull ? kScratch : std::min(capacity - done, kMostInCall);
        char const* const stop =
            source + std::min(static_cast<std::size_t>(end - source), kMostInCall);
        UChar* place = start;
        error = U_ZERO_ERROR;
        ucnv_toUnicode(converter.Get(), &place, start + room, &source, stop, nullptr, stop == end,
                       &error);
        done += static_cast<std::size_t>(place - start);
        if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR) return kDecodeRefused;
    }
    *length = done;
    return done <= capacity ? kDecoded : kDecodeNoRoom;
}

bool CICUCharset::Encode(char16_t const* source,
                         std::size_t length,
                         char* target,
                         std::size_t capacity,
                         std::size_t* count,
                         std::size_t* written)
{
    *count = 0;
    *written = 0;
    if (mKind == kASCIISuperset && IsASCII(source, length)) {
        *count = *written = std::min(length, capacity);
        SingleByteText::Narrow(*count, source, target);
        return true;
    }

    StConverter const converter(*this);
    if (!converter.Get()) return false;
    std::size_t whole = length;
    Attempt attempt = TryEncode(converter.Get(), source, whole, target, capacity);
    while (!attempt.mIsDone && !attempt.mIsFailed && whole != 0) {
        if (attempt.mIsExact && mKind != kStateful) {
            whole = attempt.mWhole;
            break;
        }
        // Each time the text is one character shorter at least, until what ends it fits too.
        whole = std::min(attempt.mWhole, WithoutLastCharacter(source, whole));
        attempt = TryEncode(converter.Get(), source, whole, target, capacity);
    }
    if (attempt.mIsFailed) return false;
    *count = whole;
    *written = whole != 0 ? attempt.mWritten : 0;
    return true;
}

namespace {

// By the desktop's numbers: ICU's converter of the same code page or name, in Debian's ICU 72.
constinit CICUCharset sCharsets[] = {
    {0x6, kASCIISuperset, "macos-6_2-10.4"},
    {0x7, kASCIISuperset, "macos-7_3-10.2"},
    {0x1D, kASCIISuperset, "macos-29-10.2"},
    {0x23, kASCIISuperset, "macos-35-10.2"},
    {0x98, kASCIISuperset, "macos-7_3-10.2"},  // since the euro sign the two are one charset
    {0x202, kASCIISuperset, "ibm-912_P100-1995"},
    {0x203, kASCIISuperset, "ibm-913_P100-2000"},
    {0x204, kASCIISuperset, "ibm-914_P100-1995"},
    {0x205, kASCIISuperset, "ibm-915_P100-1995"},
    {0x206, kASCIISuperset, "ibm-1089_P100-1995"},
    {0x207, kASCIISuperset, "ibm-9005_X110-2007"},
    {0x208, kASCIISuperset, "ibm-5012_P100-1999"},
    {0x209, kASCIISuperset, "ibm-920_P100-1995"},
    {0x20A, kASCIISuperset, "iso-8859_10-1998"},
    {0x20B, kASCIISuperset, "iso-8859_11-2001"},
    {0x20D, kASCIISuperset, "ibm-921_P100-1995"},
    {0x20E, kASCIISuperset, "iso-8859_14-1998"},
    {0x20F, kASCIISuperset, "ibm-923_P100-1998"},
    {0x400, kASCIISuperset, "ibm-437_P100-1995"},
    {0x405, kASCIISuperset, "ibm-737_P100-1997"},
    {0x406, kASCIISuperset, "ibm-775_P100-1996"},
    {0x410, kASCIISuperset, "ibm-850_P100-1995"},
    {0x411, kASCIISuperset, "ibm-851_P100-1995"},
    {0x412, kASCIISuperset, "ibm-852_P100-1995"},
    {0x413, kASCIISuperset, "ibm-855_P100-1995"},
    {0x414, kASCIISuperset, "ibm-857_P100-1995"},
    {0x415, kASCIISuperset, "ibm-860_P100-1995"},
    {0x416, kASCIISuperset, "ibm-861_P100-1995"},
    {0x417, kASCIISuperset, "ibm-862_P100-1995"},
    {0x418, kASCIISuperset, "ibm-863_P100-1995"},
    {0x419, kASCIISuperset, "ibm-864_X110-1999"},
    {0x41A, kASCIISuperset, "ibm-865_P100-1995"},
    {0x41B, kASCIISuperset, "ibm-866_P100-1995"},
    {0x41C, kASCIISuperset, "ibm-869_P100-1995"},
    {0x41D, kASCIISuperset, "windows-874-2000"},
    {0x420, kASCIISuperset, "ibm-943_P15A-2003"},
    {0x421, kASCIISuperset, "windows-936-2000"},
    {0x422, kASCIISuperset, "windows-949-2000"},
    {0x423, kASCIISuperset, "windows-950-2000"},
    {0x501, kASCIISuperset, "ibm-5346_P100-1998"},
    {0x502, kASCIISuperset, "ibm-5347_P100-1998"},
    {0x503, kASCIISuperset, "ibm-5349_P100-1998"},
    {0x504, kASCIISuperset, "ibm-5350_P100-1998"},
    {0x505, kASCIISuperset, "ibm-9447_P100-2002"},
    {0x506, kASCIISuperset, "ibm-9448_X100-2005"},
    {0x507, kASCIISuperset, "ibm-9449_P100-2002"},
    {0x508, kASCIISuperset, "ibm-5354_P100-1998"},
    {0x632, kASCIISuperset, "gb18030"},
    {0x820, kStateful, "ISO_2022,locale=ja,version=0"},
    {0x821, kStateful, "ISO_2022,locale=ja,version=2"},
    {0x822, kStateful, "ISO_2022,locale=ja,version=1"},
    {0x830, kStateful, "ISO_2022,locale=zh,version=0"},
    {0x831, kStateful, "ISO_2022,locale=zh,version=1"},
    {0x840, kStateful, "ISO_2022,locale=ko,version=0"},
    {0x920, kASCIISuperset, "euc-jp-2007"},
    {0x930, kASCIISuperset, "ibm-1383_P110-1999"},
    {0x931, kASCIISuperset, "euc-tw-2014"},
    {0x940, kASCIISuperset, "ibm-970_P110_P110-2006_U2"},
    {0xA01, kASCIISuperset, "ibm-943_P15A-2003"},
    {0xA02, kASCIISuperset, "ibm-878_P100-1996"},
    {0xA03, kASCIISuperset, "windows-950-2000"},
    {0xA05, kStateful, "HZ"},
    {0xA06, kStateful, "ibm-1375_P100-2008"},  // not so, but it has characters of two units
    {0xA08, kASCIISuperset, "ibm-1168_P100-2002"},
    {0xC02, kNoASCIISuperset, "ibm-37_P100-1995"},
    {0x4000100, kStateful, "UTF-7"},
};

}  // namespace

CICUCharset* FindICUCharset(unsigned int encoding)
{
    auto* const found =
        std::find_if(std::begin(sCharsets), std::end(sCharsets),
                     [&](CICUCharset const& charset) { return charset.GetEncoding() == encoding; });
    return found != std::end(sCharsets) ? found : nullptr;
}
