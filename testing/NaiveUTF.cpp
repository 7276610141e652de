#include "testing/NaiveUTF.h"

#include <optional>

namespace {

// Unicode 13.0, table 3-7, but with surrogates (ED A0..BF) let in.
struct WellFormed
{
    int mFirstLead, mLastLead;
    int mFirstSecond, mLastSecond;
    size_t mLength;
};

constexpr WellFormed kWellFormed[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// The length that the high bits of a lead byte call for, whether such a sequence can be legal or
// not.
size_t PromisedLength(int lead)
{
    if ((lead & 0xC0) != 0xC0) return 1;
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if ((lead & 0xF8) == 0xF0) return 4;
    return (lead & 0xFC) == 0xF8 ? 5 : 6;
}

bool IsBetween(int value, int first, int last)
{
    return first <= value && value <= last;
}

bool IsWellFormedAt(std::vector<UTF8> const& source, size_t at)
{
    for (WellFormed const& row : kWellFormed) {
        if (!IsBetween(source[at], row.mFirstLead, row.mLastLead)) continue;
        if (at + row.mLength > source.size()) return false;
        if (row.mLength > 1 && !IsBetween(source[at + 1], row.mFirstSecond, row.mLastSecond))
            return false;
        for (size_t i = 2; i < row.mLength; ++i) {
            if (!IsBetween(source[at + i], 0x80, 0xBF)) return false;
        }
        return true;
    }
    return false;
}

bool IsHighUnit(UTF32 value)
{
    return value / 0x400 == 0x36;
}

bool IsLowUnit(UTF32 value)
{
    return value / 0x400 == 0x37;
}

bool IsSurrogateUnit(UTF32 value)
{
    return IsHighUnit(value) || IsLowUnit(value);
}

// What is to be written for a surrogate on its own; nothing where it is illegal.
std::optional<UTF32> Alone(UTF32 surrogate, ConversionFlags flags)
{
    switch (flags) {
    case strictConversion:
        return std::nullopt;
    case lenientConversion:
        return surrogate;
    case lenientReplaceConversion:
        return 0xFFFD;
    }
    return std::nullopt;
}

// One character of the source: its value and length, or why there is none.
struct Read
{
    ConversionResult mResult;
    UTF32 mValue;
    size_t mLength;
};

Read ReadUTF8At(std::vector<UTF8> const& source, size_t at)
{
    size_t const length = PromisedLength(source[at]);
    if (at + length > source.size()) return {sourceExhausted, 0, 0};
    if (!IsWellFormedAt(source, at)) return {sourceIllegal, 0, 0};
    if (length == 1) return {conversionOK, source[at], 1};
    UTF32 value = source[at] & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i)
        value = value * 64 + (source[at + i] & 0x3FU);
    return {conversionOK, value, length};
}

Read ReadUTF16At(std::vector<UTF16> const& source, size_t at, ConversionFlags flags)
{
    UTF32 const unit = source[at];
    if (!IsSurrogateUnit(unit)) return {conversionOK, unit, 1};
    bool const isLast = at + 1 == source.size();
    if (IsHighUnit(unit) && isLast) return {conversionOK, unit, 1};
    if (IsHighUnit(unit) && IsLowUnit(source[at + 1])) {
        return {conversionOK, 0x10000 + (unit & 0x3FF) * 0x400 + (source[at + 1] & 0x3FF), 2};
    }
    std::optional<UTF32> const value = Alone(unit, flags);
    if (!value) return {sourceIllegal, 0, 0};
    return {conversionOK, *value, 1};
}

std::vector<UTF16> UnitsOf(UTF32 value)
{
    if (value <= 0xFFFF) return {static_cast<UTF16>(value)};
    UTF32 const rest = value - 0x10000;
    return {static_cast<UTF16>(0xD800 | (rest / 0x400)),
            static_cast<UTF16>(0xDC00 | (rest % 0x400))};
}

std::vector<UTF8> BytesOf(UTF32 value)
{
    auto const bits = [value](int shift, UTF32 mask, UTF32 mark) {
        return static_cast<UTF8>(((value >> shift) & mask) | mark);
    };
    if (value <= 0x7F) return {bits(0, 0x7F, 0)};
    if (value <= 0x7FF) return {bits(6, 0x1F, 0xC0), bits(0, 0x3F, 0x80)};
    if (value <= 0xFFFF) return {bits(12, 0xF, 0xE0), bits(6, 0x3F, 0x80), bits(0, 0x3F, 0x80)};
    return {bits(18, 0x7, 0xF0), bits(12, 0x3F, 0x80), bits(6, 0x3F, 0x80), bits(0, 0x3F, 0x80)};
}

template <class Unit>
bool Append(Converted<Unit>& to, std::vector<Unit> const& units, size_t capacity)
{
    if (to.mWritten.size() + units.size() > capacity) return false;
    to.mWritten.insert(to.mWritten.end(), units.begin(), units.end());
    return true;
}

// Reads, encodes and appends until the source ends or something stops it.
template <class Unit, class Source, class ReadAt, class Encode>
Converted<Unit> Walk(Source const& source, size_t capacity, ReadAt readAt, Encode encode)
{
    Converted<Unit> done;
    while (done.mConsumed < source.size()) {
        Read const read = readAt(done.mConsumed);
        done.mResult = read.mResult;
        if (done.mResult == conversionOK && !Append(done, encode(read.mValue), capacity)) {
            done.mResult = targetExhausted;
        }
        if (done.mResult != conversionOK) break;
        done.mConsumed += read.mLength;
    }
    return done;
}

}  // namespace

Converted<UTF16>
NaiveUTF8toUTF16(std::vector<UTF8> const& source, size_t capacity, ConversionFlags flags)
{
    Converted<UTF16> done;
    while (done.mConsumed < source.size()) {
        Read const read = ReadUTF8At(source, done.mConsumed);
        done.mResult = read.mResult;
        if (done.mResult != conversionOK) return done;
        bool const isSurrogate = IsSurrogateUnit(read.mValue);
        std::optional<UTF32> const value = isSurrogate ? Alone(read.mValue, flags) : read.mValue;
        // Room is looked at before the flags are.
        bool const isFull = done.mWritten.size() == capacity;
        if (!isFull && !value) {
            done.mResult = sourceIllegal;
        } else if (isFull || !Append(done, UnitsOf(*value), capacity)) {
            done.mResult = targetExhausted;
        }
        if (done.mResult != conversionOK) return done;
        done.mConsumed += read.mLength;
    }
    return done;
}

Converted<UTF32> NaiveUTF8toUTF32(std::vector<UTF8> const& source, size_t capacity)
{
    return Walk<UTF32>(
        source, capacity, [&](size_t at) { return ReadUTF8At(source, at); },
        [](UTF32 value) { return std::vector<UTF32>{value}; });
}

Converted<UTF8>
NaiveUTF16toUTF8(std::vector<UTF16> const& source, size_t capacity, ConversionFlags flags)
{
    return Walk<UTF8>(
        source, capacity, [&](size_t at) { return ReadUTF16At(source, at, flags); }, BytesOf);
}

Converted<UTF32>
NaiveUTF16toUTF32(std::vector<UTF16> const& source, size_t capacity, ConversionFlags flags)
{
    return Walk<UTF32>(
        source, capacity, [&](size_t at) { return ReadUTF16At(source, at, flags); },
        [](UTF32 value) { return std::vector<UTF32>{value}; });
}

Converted<UTF8>
NaiveUTF32toUTF8(std::vector<UTF32> const& source, size_t capacity, ConversionFlags flags)
{
    auto const readAt = [&](size_t at) -> Read {
        if (!IsSurrogateUnit(source[at])) return {conversionOK, source[at], 1};
        std::optional<UTF32> const value = Alone(source[at], flags);
        if (!value) return {sourceIllegal, 0, 0};
        return {conversionOK, *value, 1};
    };
    auto const encode = [](UTF32 value) {
        return value > 0x1FFFFF ? std::vector<UTF8>{0xFF, 0xBD} : BytesOf(value);
    };
    return Walk<UTF8>(source, capacity, readAt, encode);
}

Converted<UTF16>
NaiveUTF32toUTF16(std::vector<UTF32> const& source, size_t capacity, ConversionFlags flags)
{
    Converted<UTF16> done;
    bool wasOneLeftOut = false;
    for (; done.mConsumed < source.size(); ++done.mConsumed) {
        UTF32 const value = source[done.mConsumed];
        done.mResult = targetExhausted;
        if (done.mWritten.size() == capacity) return done;
        if (value > 0x10FFFF) {
            if (flags == strictConversion) {
                wasOneLeftOut = true;
            } else {
                Append(done, {0xFFFD}, capacity);
            }
        } else if (IsSurrogateUnit(value)) {
            std::optional<UTF32> const written = Alone(value, flags);
            done.mResult = sourceIllegal;
            if (!written) return done;
            Append(done, UnitsOf(*written), capacity);
        } else if (!Append(done, UnitsOf(value), capacity)) {
            return done;
        }
    }
    done.mResult = wasOneLeftOut ? sourceIllegal : conversionOK;
    return done;
}

bool NaiveIsLegalUTF8(std::vector<UTF8> const& source)
{
    return !source.empty() && IsWellFormedAt(source, 0);
}

bool NaiveIsLegalUTF16(std::vector<UTF16> const& source)
{
    bool wantsLow = false;
    for (UTF16 const unit : source) {
        if (IsLowUnit(unit) != wantsLow) return false;
        wantsLow = IsHighUnit(unit);
    }
    return !wantsLow;
}

unsigned long NaiveUTF16Length(std::vector<UTF8> const& source, ConversionFlags flags)
{
    unsigned long count = 0;
    for (size_t at = 0; at < source.size();) {
        size_t const length = PromisedLength(source[at]);
        if (at + length > source.size() || length > 4) return 0;
        // The bytes and what their marks would be if they were well-formed; less than that is below
        // every value.
        long value = 0;
        long marks = 0;
        for (size_t i = 0; i < length; ++i) {
            value = value * 64 + source[at + i];
            marks = marks * 64 + (i > 0 ? 0x80 : length == 1 ? 0 : 0xFF & (0xF00 >> length));
        }
        value -= marks;
        bool const isScalar =
            IsBetween(static_cast<int>(value), 0, 0xD7FF) || (value > 0xDFFF && value <= 0x10FFFF);
        if (!isScalar && flags == strictConversion) return 0;
        count += isScalar && value > 0xFFFF ? 2 : 1;
        at += length;
    }
    return count;
}
