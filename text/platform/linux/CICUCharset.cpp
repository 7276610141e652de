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

// Where an encoder is in its text and in its target.
struct Cursors
{
    UChar const* mSource;
    UChar const* mSourceEnd;
    char* mTarget;
    char* mTargetEnd;
};

// Encodes to the end of the text, or to that of the target, which is `U_BUFFER_OVERFLOW_ERROR`: ICU
// may have consumed a character then of which it keeps bytes back.
UErrorCode EncodeFrom(Cursors& at, UConverter* converter)
{
    for (;;) {
        auto const left = static_cast<std::size_t>(at.mSourceEnd - at.mSource);
        auto const room = static_cast<std::size_t>(at.mTargetEnd - at.mTarget);
        UChar const* const stop = at.mSource + std::min(left, kMostInCall);
        UErrorCode error = U_ZERO_ERROR;
        ucnv_fromUnicode(converter, &at.mTarget, at.mTarget + std::min(room, kMostInCall),
                         &at.mSource, stop, nullptr, static_cast<UBool>(stop == at.mSourceEnd),
                         &error);
        bool const isAtEnd = error == U_BUFFER_OVERFLOW_ERROR
                                 ? at.mTarget == at.mTargetEnd
                                 : U_FAILURE(error) || at.mSource == at.mSourceEnd;
        if (isAtEnd) return error;
    }
}

// The bytes of a few units, after those that were kept back before.
struct FewBytes
{
    FewBytes(UConverter* converter, UChar const* source, UChar const* end)
    {
        Cursors at{source, end, mBytes, mBytes + kScratch};
        EncodeFrom(at, converter);
        mCount = static_cast<std::size_t>(at.mTarget - mBytes);
    }

    char mBytes[kScratch];
    std::size_t mCount;
};

// Goes back to the initial state at the end of a text, for a converter that doesn't by itself: by
// what it would write in front of an ASCII character. False if that doesn't fit.
bool Close(UConverter* converter, Cursors& at)
{
    constexpr UChar kNext = u' ';
    FewBytes const bytes(converter, &kNext, &kNext + 1);
    std::size_t const count = bytes.mCount - std::min<std::size_t>(bytes.mCount, 1);
    if (count > static_cast<std::size_t>(at.mTargetEnd - at.mTarget)) return false;
    at.mTarget = std::copy_n(bytes.mBytes, count, at.mTarget);
    return true;
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
        ucnv_toUnicode(converter.Get(), &place, start + room, &source, stop, nullptr,
                       static_cast<UBool>(stop == end), &error);
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
    if (length == 0) return true;
    auto const* const units = reinterpret_cast<UChar const*>(source);
    Cursors at{units, units + length, target, target + capacity};
    UErrorCode const error = EncodeFrom(at, converter.Get());
    bool isWhole = U_SUCCESS(error);
    if (isWhole && mKind == kLeftOpen) isWhole = Close(converter.Get(), at);
    if (isWhole) {
        *count = length;
        *written = static_cast<std::size_t>(at.mTarget - target);
        return true;
    }
    if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR) return false;
    if (mKind == kWholeOnly || mKind == kLeftOpen) return true;

    // Of the last character only a part is in the target if ICU has kept bytes of it back.
    *count = static_cast<std::size_t>(at.mSource - units);
    *written = capacity;
    std::size_t const kept = FewBytes(converter.Get(), at.mSource, at.mSource).mCount;
    if (kept == 0) return true;
    UChar const* const last = at.mSource - LastCharacterLength(source, *count);
    std::size_t const size = FewBytes(converter.Get(), last, at.mSource).mCount;
    *count = static_cast<std::size_t>(last - units);
    *written -= size - kept;
    return true;
}

namespace {

// By the desktop's numbers, in rising order: ICU's converter of the same code page or name, in
// Debian's ICU 72.
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
    {0x820, kWholeOnly, "ISO_2022,locale=ja,version=0"},
    {0x821, kWholeOnly, "ISO_2022,locale=ja,version=2"},
    {0x822, kWholeOnly, "ISO_2022,locale=ja,version=1"},
    {0x830, kWholeOnly, "ISO_2022,locale=zh,version=0"},
    {0x831, kWholeOnly, "ISO_2022,locale=zh,version=1"},
    {0x840, kWholeOnly, "ISO_2022,locale=ko,version=0"},
    {0x920, kASCIISuperset, "euc-jp-2007"},
    {0x930, kASCIISuperset, "ibm-1383_P110-1999"},
    {0x931, kASCIISuperset, "euc-tw-2014"},
    {0x940, kASCIISuperset, "ibm-970_P110_P110-2006_U2"},
    {0xA01, kASCIISuperset, "ibm-943_P15A-2003"},
    {0xA02, kASCIISuperset, "ibm-878_P100-1996"},
    {0xA03, kASCIISuperset, "windows-950-2000"},
    {0xA05, kLeftOpen, "HZ"},
    {0xA06, kWholeOnly, "ibm-1375_P100-2008"},  // for its characters of two units
    {0xA08, kASCIISuperset, "ibm-1168_P100-2002"},
    {0xC02, kNoASCIISuperset, "ibm-37_P100-1995"},
    {0x4000100, kWholeOnly, "UTF-7"},
};

}  // namespace

CICUCharset* FindICUCharset(unsigned int encoding)
{
    auto* const found = std::lower_bound(
        std::begin(sCharsets), std::end(sCharsets), encoding,
        [](CICUCharset const& charset, unsigned int of) { return charset.GetEncoding() < of; });
    return found != std::end(sCharsets) && found->GetEncoding() == encoding ? found : nullptr;
}
